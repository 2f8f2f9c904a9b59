// The story of a job: pages of grey pixels in, a setting command per page on standard output and
// frames in the spool.
#include "filter/job.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "filter/base/file.h"
#include "filter/base/job_settings.h"
#include "filter/base/log.h"
#include "filter/base/number.h"
#include "filter/base/page_size.h"
#include "filter/base/text.h"
#include "filter/header_log.h"
#include "filter/raster_input.h"
#include "printer/kestra_printer.h"

namespace kestra {
namespace {

constexpr const char* sVersion = "1.0.0";

constexpr int kFailed = 1;
constexpr int kDone = 0;

// The job's printer object, for as long as `runJob` owns it.
KestraPrinter* sPrinter = nullptr;

void printUsage(const char* program) {
  const char* name = program == nullptr ? "" : wrenPathGetBasename(program);
  std::fprintf(stderr, "%s v%s\n\nUsage:\n\n    %s job_id user title copyies options [file]\n\n",
               name, sVersion, name);
}

// The text says "not less", and yet a side of exactly 1.0 mm is refused.
bool isPaperLargeEnough(const Settings& settings) {
  const auto width = static_cast<double>(settings.pageWidth);
  const auto height = static_cast<double>(settings.pageHeight);
  if (width > 1.0 && height > 1.0) return true;
  std::fprintf(stderr, "ERROR: Paper size must not less than 1.0 : (%f, %f)\n", width, height);
  return false;
}

void openOutputCopy(const Settings& settings, KestraPrinter* printer, FilePtr* copy) {
  if (settings.outputFile[0] == '\0') return;
  copy->reset(std::fopen(settings.outputFile, "w"));
  wrenLogCommon(kLogDebug, "Filter data output to: %s", settings.outputFile);
  if (*copy != nullptr) printer->getOutputStreams()->push_back(copy->get());
}

// Refuses a page whose header values cannot belong to one.
bool isPageAccepted(int page, const cups_page_header2_t& header) {
  if (isPrintablePage(header.cupsWidth, header.cupsBytesPerLine, header.cupsHeight)) return true;
  wrenLogCommon(kLogError,
                "Page %d cannot be printed: %u pixels in %u bytes per line and %u lines. A line "
                "needs a byte for each pixel, and a page may have at most %llu bytes. Choose a "
                "smaller page size or a lower resolution.",
                page, header.cupsWidth, header.cupsBytesPerLine, header.cupsHeight,
                static_cast<unsigned long long>(kMaxPageBytes));
  return false;
}

// Lengths of this page. `MaxMediaWidth` changes from millimetres to dots, each time from the
// millimetres that the printer description gave.
void setPageLengths(Settings* settings, const cups_page_header2_t& header, float maxMediaWidthMm) {
  settings->pageWidth = toFloat(header.cupsWidth * kMillimetresPerInch / header.HWResolution[0]);
  settings->pageHeight = toFloat(header.cupsHeight * kMillimetresPerInch / header.HWResolution[1]);
  settings->MaxMediaWidth =
      toFloat(static_cast<double>(maxMediaWidthMm) / kMillimetresPerInch * header.HWResolution[0]);
}

void configurePrinter(KestraPrinter* printer, const Settings& settings,
                      cups_page_header2_t* header) {
  printer->setPageHeader(header);
  printer->setBrightness(settings.Brightness);
  printer->setVBarcodeOpt(settings.VBarcodeOpt);
  printer->setPrintSpeed(settings.PrintSpeed);
  printer->setPrintDensity(settings.Darkness);
  printer->setHalftoneType(settings.halftoneType);
  printer->setMirrorPrint(settings.MirrorImage != 0);
  printer->setNegativePrint(settings.NegativeImage != 0);
  printer->SetPrintWidth(truncateToInt64(static_cast<double>(settings.MaxMediaWidth)));
}

// Prints one page, or leaves it out where its pixels cannot be read. False where there is no memory
// for it.
bool printPage(int page, cups_page_header2_t* header, RasterInput* input, KestraPrinter* printer,
               Settings* settings, float maxMediaWidthMm) {
  writeSideFile(*header);
  PageRows rows =
      printer->beginPage(header->cupsBytesPerLine, header->cupsHeight, header->cupsWidth);
  if (rows.pixels == nullptr) return false;

  setPageLengths(settings, *header, maxMediaWidthMm);
  wrenLogCommon(kLogDebug, "pageWidth: %f,pageHeight: %f", static_cast<double>(settings->pageWidth),
                static_cast<double>(settings->pageHeight));
  configurePrinter(printer, *settings, header);
  jobSetup(printer, settings);

  logPageHeader(page, *header);
  if (input->readPixels(rows)) printer->printPage(std::move(rows));
  return true;
}

// Prints page after page until the stream ends. False where a page ends the job: pages already
// printed stay printed, and no job end follows.
bool printPages(RasterInput* input, KestraPrinter* printer, Settings* settings,
                const PageDone& pageDone) {
  const float maxMediaWidthMm = settings->MaxMediaWidth;
  cups_page_header2_t header = {};
  int page = 0;
  while (input->readHeader(&header)) {
    if (header.cupsBitsPerPixel != 8) {
      wrenLogCommon(kLogError, "Unsupported bits per pixel : %d ! Requires 8 bits per pixel!",
                    static_cast<int>(header.cupsBitsPerPixel));
      return false;
    }
    if (header.cupsHeight == 0 || header.cupsBytesPerLine == 0) return true;
    if (!isPageAccepted(++page, header)) return false;
    if (!printPage(page, &header, input, printer, settings, maxMediaWidthMm)) return false;
    if (pageDone) pageDone(page, printer->takeFramePath());
  }
  return true;
}

}  // namespace

// Everything that a job opens is closed in reverse order at its end.
int runJob(int argc, char* argv[], const PageDone& pageDone) {
  if (argc < 6) {
    printUsage(argc > 0 ? argv[0] : nullptr);
    return kFailed;
  }
  FilePtr outputCopy;  // outlives the printer, which writes to it
  RasterInput input;
  if (argc > 6 && !input.openFile(argv[6])) {
    std::fputs("ERROR: Unable to open raster file - ", stderr);
    return kFailed;
  }

  Settings settings;
  const auto printer = std::make_unique<KestraPrinter>();
  sPrinter = printer.get();
  parseSettings(&settings, argv[5]);
  // An id that fills the field has no end in it.
  std::memcpy(settings.jobId, argv[1], strnlen(argv[1], sizeof settings.jobId));
  printer->setSettings(&settings);
  openOutputCopy(settings, printer.get(), &outputCopy);

  int status = kFailed;
  if (isPaperLargeEnough(settings)) {
    input.startStream();
    if (printPages(&input, printer.get(), &settings, pageDone)) {
      jobEnd(printer.get(), &settings);
      status = kDone;
    }
  }
  sPrinter = nullptr;
  return status;
}

}  // namespace kestra
