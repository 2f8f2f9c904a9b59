// Writes the setting and header messages one by one.
// Why: the list is long and fixed; it is easier to check as a list of its own.
#include "tests/plain/page_log.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace kestra::plain {

std::string format(const char* format, ...) {
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

std::string settingsLog(const Settings& s, float widthMm, float heightMm, float maxMediaMm) {
  const auto wide = [](float value) { return static_cast<double>(value); };
  std::string log = "DEBUG:PageSizeName: " + s.pageSize + "\n";
  if (s.pageSizeKnown) {
    log += format("DEBUG:Custom Size: (%f,%f,%f,%f,%f,%f)\n", wide(s.points[0]), wide(s.points[1]),
                  wide(s.points[2]), wide(s.points[3]), wide(s.points[4]), wide(s.points[5]));
    log +=
        format("DEBUG:Set page size: width %f mm, height %f mm\n", wide(widthMm), wide(heightMm));
  }
  log += "DEBUG:settings->Resolution:" + s.resolution + "\n";
  log += "DEBUG:settings->MediaMethod:" + s.mediaMethod + "\n";
  log += "DEBUG:settings->PaperType:" + s.paperType + "\n";
  log += format("DEBUG:settings->GapsHeight:%d\n", s.gapsHeight);
  log += "DEBUG:settings->PostAction:\n";
  log += "DEBUG:settings->Occurrence:\n";
  log += "DEBUG:settings->Origin:" + s.origin + "\n";
  log += format("DEBUG:settings->MirrorImage:%d\n", s.mirrorImage);
  log += format("DEBUG:settings->NegativeImage:%d\n", s.negativeImage);
  log += "DEBUG:settings->PrintSpeed:" + s.printSpeed + "\n";
  log += format("DEBUG:settings->Darkness:%d\n", s.darkness);
  log += format("DEBUG:settings->halftoneType:%d\n", s.halftone);
  log += "DEBUG:settings->PageSize:" + s.pageSize + "\n";
  log += format("DEBUG:settings->pageWidth:%f\n", wide(widthMm));
  log += format("DEBUG:settings->pageHeight:%f\n", wide(heightMm));
  log += format("DEBUG:settings->MaxMediaWidth:%f\n", wide(maxMediaMm));
  log += "DEBUG:settings->VBarcodeOpt:#\n";
  return log;
}

std::string headerLog(const Header& h, int pageCount) {
  const auto number = [](std::uint32_t value) { return static_cast<int>(value); };
  std::string log = format("DEBUG:PAGE: %d %d\n\n", pageCount, number(h.copies));
  log += format("DEBUG:header.HWResolution[0]:%d\n\n", number(h.resolution[0]));
  log += format("DEBUG:header.HWResolution[1]:%d\n", number(h.resolution[1]));
  log += format("DEBUG:header.cupsWidth:%d\n", number(h.width));
  log += format("DEBUG:header.cupsHeight:%d\n", number(h.height));
  log += format("DEBUG:header.cupsMediaType:%d\n", number(h.mediaType));
  log += format("DEBUG:header.cupsBitsPerColor:%d\n", number(h.bitsPerColor));
  log += format("DEBUG:header.cupsBitsPerPixel:%d\n", number(h.bitsPerPixel));
  log += format("DEBUG:header.cupsBytesPerLine:%d\n", number(h.bytesPerLine));
  log += format("DEBUG:header.cupsColorOrder:%d\n", number(h.colorOrder));
  log += format("DEBUG:header.cupsColorSpace:%d\n", number(h.colorSpace));
  log += format("DEBUG:header.cupsCompression:%d\n", number(h.compression));
  log += format("DEBUG:header.cupsRowCount:%d\n", number(h.rowCount));
  log += format("DEBUG:header.cupsRowFeed:%d\n", number(h.rowFeed));
  log += format("DEBUG:header.cupsRowStep:%d\n", number(h.rowStep));
  return log;
}

}  // namespace kestra::plain
