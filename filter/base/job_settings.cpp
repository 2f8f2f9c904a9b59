// Turns the choices of a print dialog into the settings record, so that the page loop and the
// printer need to know nothing of printer descriptions.
#include "filter/base/job_settings.h"

#include <cups/cups.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "filter/base/log.h"
#include "filter/base/number.h"
#include "filter/base/ppd_lookup.h"
#include "filter/base/text.h"

namespace kestra {
namespace {

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using PpdPtr = std::unique_ptr<ppd_file_t, PpdCloser>;

// Millimetres per point as page sizes are converted, deliberately not 25.4 / 72.
constexpr double kPageSizeMmPerPoint = 0.3528;

PpdPtr openMarkedDescription(const char* options) {
  const char* path = std::getenv("PPD");
  PpdPtr ppd(path == nullptr ? nullptr : ppdOpenFile(path));
  ppdMarkDefaults(ppd.get());

  cups_option_t* parsed = nullptr;
  const int count = cupsParseOptions(options, 0, &parsed);
  if (count > 0) {
    cupsMarkOptions(ppd.get(), count, parsed);
    cupsFreeOptions(count, parsed);
  }
  return ppd;
}

template <std::size_t Size>
void fillText(char (&field)[Size], ppd_file_t* ppd, const char* keyword) {
  wrenStrCpy(field, wrenPpdGetChoiceAsStrDefault(ppd, keyword, ""), Size);
}

// The queue name becomes part of a file name: what does not print in the C locale is replaced.
void fillPrinterName(Settings* settings) {
  const char* queue = std::getenv("PRINTER");
  wrenStrCpy(settings->printerName, queue == nullptr ? "" : queue, sizeof settings->printerName);
  for (char* c = settings->printerName; *c != '\0'; ++c) {
    if (*c < 0x20 || *c > 0x7E) *c = '_';
  }
}

float maxMediaWidthMm(ppd_file_t* ppd) {
  const float points = toFloat(wrenPpdGetAttrAsFloatDefault(ppd, "MaxMediaWidth", nullptr, 0.0));
  const float inches = points / kPointsPerInch;
  return toFloat(static_cast<double>(inches) * kMillimetresPerInch);
}

std::int32_t darknessLevel(const char* name) {
  if (std::strcmp(name, "Middle") == 0) return 1;
  if (std::strcmp(name, "Dark") == 0) return 2;
  return 0;  // "Light", and any other name
}

void logSettings(const Settings& settings) {
  wrenLogCommon(kLogDebug, "settings->Resolution:%s", settings.Resolution);
  wrenLogCommon(kLogDebug, "settings->MediaMethod:%s", settings.MediaMethod);
  wrenLogCommon(kLogDebug, "settings->PaperType:%s", settings.PaperType);
  wrenLogCommon(kLogDebug, "settings->GapsHeight:%d", settings.GapsHeight);
  wrenLogCommon(kLogDebug, "settings->PostAction:%s", settings.PostAction);
  wrenLogCommon(kLogDebug, "settings->Occurrence:%s", settings.Occurrence);
  wrenLogCommon(kLogDebug, "settings->Origin:%s", settings.Origin);
  wrenLogCommon(kLogDebug, "settings->MirrorImage:%d", settings.MirrorImage);
  wrenLogCommon(kLogDebug, "settings->NegativeImage:%d", settings.NegativeImage);
  wrenLogCommon(kLogDebug, "settings->PrintSpeed:%s", settings.PrintSpeed);
  wrenLogCommon(kLogDebug, "settings->Darkness:%d", settings.Darkness);
  wrenLogCommon(kLogDebug, "settings->halftoneType:%d",
                static_cast<std::int32_t>(settings.halftoneType));
  wrenLogCommon(kLogDebug, "settings->PageSize:%s", settings.PageSize);
  wrenLogCommon(kLogDebug, "settings->pageWidth:%f", static_cast<double>(settings.pageWidth));
  wrenLogCommon(kLogDebug, "settings->pageHeight:%f", static_cast<double>(settings.pageHeight));
  wrenLogCommon(kLogDebug, "settings->MaxMediaWidth:%f",
                static_cast<double>(settings.MaxMediaWidth));
  wrenLogCommon(kLogDebug, "settings->VBarcodeOpt:%f", kMeaninglessNumber);
}

}  // namespace

void parseSettings(Settings* settings, const char* options) {
  const PpdPtr owner = openMarkedDescription(options);
  ppd_file_t* ppd = owner.get();

  *settings = Settings{};
  fillText(settings->PageSize, ppd, "PageSize");
  fillText(settings->Resolution, ppd, "Resolution");
  settings->MaxMediaWidth = maxMediaWidthMm(ppd);
  fillText(settings->MediaMethod, ppd, "MediaMethod");
  fillText(settings->PaperType, ppd, "PaperType");
  settings->GapsHeight = wrenPpdGetChoiceAsIntDefault(ppd, "GapsHeight", 0);
  fillPrinterName(settings);
  fillText(settings->Origin, ppd, "Origin");
  settings->halftoneType =
      wrenHalftoneTypeFromStr(wrenPpdGetChoiceAsStrDefault(ppd, "HalftoneType", ""));
  settings->MirrorImage = wrenPpdGetChoiceAsBoolDefault(ppd, "MirrorImage", false) ? 1 : 0;
  settings->NegativeImage = wrenPpdGetChoiceAsBoolDefault(ppd, "NegativeImage", false) ? 1 : 0;
  fillText(settings->PrintSpeed, ppd, "PrintSpeed");
  settings->Darkness = darknessLevel(wrenPpdGetChoiceAsStrDefault(ppd, "Darkness", ""));
  settings->Brightness = wrenPpdGetChoiceAsIntDefault(ppd, "Brightness", 0);
  settings->VBarcodeOpt = wrenPpdGetChoiceAsIntDefault(ppd, "VBarcodeDensity", 0);

  getPageWidthPageHeight(ppd, settings);
  logSettings(*settings);
}

void getPageWidthPageHeight(ppd_file_t* ppd, Settings* settings) {
  const char* name = wrenPpdGetChoiceAsStrDefault(ppd, "PageSize", "");
  settings->pageWidth = 0;
  settings->pageHeight = 0;
  wrenLogCommon(kLogDebug, "PageSizeName: %s", name);

  const ppd_size_t* size = ppdPageSize(ppd, name);
  if (size == nullptr) return;
  const auto points = [](float value) { return static_cast<double>(value); };
  // The text says "Custom" for named sizes as well.
  wrenLogCommon(kLogDebug, "Custom Size: (%f,%f,%f,%f,%f,%f)", points(size->width),
                points(size->length), points(size->left), points(size->bottom), points(size->right),
                points(size->top));
  settings->pageWidth = toFloat(points(size->width) * kPageSizeMmPerPoint);
  settings->pageHeight = toFloat(points(size->length) * kPageSizeMmPerPoint);
  wrenLogCommon(kLogDebug, "Set page size: width %f mm, height %f mm",
                static_cast<double>(settings->pageWidth),
                static_cast<double>(settings->pageHeight));
}

}  // namespace kestra
