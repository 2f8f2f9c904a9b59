// Writes the setting and header messages one by one.
// Why: the list is long and fixed; it is easier to check as a list of its own.
#include "tests/plain/page_log.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace kestra::plain {

std::string Format(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vector<char> buffer(4096);
  std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  va_end(arguments);
  std::string text(buffer.data());
  for (std::size_t at = text.find("-nan"); at != std::string::npos; at = text.find("-nan")) {
    text.erase(at, 1);
  }
  return text;
}

std::string SettingsLog(const Settings& s, float widthMm, float heightMm, float maxMediaMm) {
  const auto wide = [](float value) { return static_cast<double>(value); };
  std::string log = "DEBUG:PageSizeName: " + s.pageSize + "\n";
  if (s.pageSizeKnown) {
    log += Format("DEBUG:Custom Size: (%f,%f,%f,%f,%f,%f)\n", wide(s.points[0]), wide(s.points[1]),
                  wide(s.points[2]), wide(s.points[3]), wide(s.points[4]), wide(s.points[5]));
    log +=
        Format("DEBUG:Set page size: width %f mm, height %f mm\n", wide(widthMm), wide(heightMm));
  }
  log += "DEBUG:settings->Resolution:" + s.resolution + "\n";
  log += "DEBUG:settings->MediaMethod:" + s.mediaMethod + "\n";
  log += "DEBUG:settings->PaperType:" + s.paperType + "\n";
  log += Format("DEBUG:settings->GapsHeight:%d\n", s.gapsHeight);
  log += "DEBUG:settings->PostAction:\n";
  log += "DEBUG:settings->Occurrence:\n";
  log += "DEBUG:settings->Origin:" + s.origin + "\n";
  log += Format("DEBUG:settings->MirrorImage:%d\n", s.mirrorImage);
  log += Format("DEBUG:settings->NegativeImage:%d\n", s.negativeImage);
  log += "DEBUG:settings->PrintSpeed:" + s.printSpeed + "\n";
  log += Format("DEBUG:settings->Darkness:%d\n", s.darkness);
  log += Format("DEBUG:settings->halftoneType:%d\n", s.halftone);
  log += "DEBUG:settings->PageSize:" + s.pageSize + "\n";
  log += Format("DEBUG:settings->pageWidth:%f\n", wide(widthMm));
  log += Format("DEBUG:settings->pageHeight:%f\n", wide(heightMm));
  log += Format("DEBUG:settings->MaxMediaWidth:%f\n", wide(maxMediaMm));
  log += "DEBUG:settings->VBarcodeOpt:#\n";
  return log;
}

std::string HeaderLog(const Header& h, int pageCount) {
  const auto number = [](std::uint32_t value) { return static_cast<int>(value); };
  std::string log = Format("DEBUG:PAGE: %d %d\n\n", pageCount, number(h.copies));
  log += Format("DEBUG:header.HWResolution[0]:%d\n\n", number(h.resolution[0]));
  log += Format("DEBUG:header.HWResolution[1]:%d\n", number(h.resolution[1]));
  log += Format("DEBUG:header.cupsWidth:%d\n", number(h.width));
  log += Format("DEBUG:header.cupsHeight:%d\n", number(h.height));
  log += Format("DEBUG:header.cupsMediaType:%d\n", number(h.mediaType));
  log += Format("DEBUG:header.cupsBitsPerColor:%d\n", number(h.bitsPerColor));
  log += Format("DEBUG:header.cupsBitsPerPixel:%d\n", number(h.bitsPerPixel));
  log += Format("DEBUG:header.cupsBytesPerLine:%d\n", number(h.bytesPerLine));
  log += Format("DEBUG:header.cupsColorOrder:%d\n", number(h.colorOrder));
  log += Format("DEBUG:header.cupsColorSpace:%d\n", number(h.colorSpace));
  log += Format("DEBUG:header.cupsCompression:%d\n", number(h.compression));
  log += Format("DEBUG:header.cupsRowCount:%d\n", number(h.rowCount));
  log += Format("DEBUG:header.cupsRowFeed:%d\n", number(h.rowFeed));
  log += Format("DEBUG:header.cupsRowStep:%d\n", number(h.rowStep));
  return log;
}

}  // namespace kestra::plain
