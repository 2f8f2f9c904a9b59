// The names are read by the print system's own library, which also made most of them.
#include "tools/size/page_measure.h"

#include <cups/cups.h>
#include <cups/pwg.h>

#include <cstdio>
#include <cstdlib>

namespace kestra {
namespace {

constexpr int kHundredths = 100;

std::string millimetres(int hundredths) {
  char text[32];
  const int rest = hundredths % kHundredths;
  std::snprintf(text, sizeof text, "%d.%02d", hundredths / kHundredths, rest);
  std::string number = text;
  while (number.back() == '0') number.pop_back();
  if (number.back() == '.') number.pop_back();
  return number;
}

const pwg_media_t* mediaOf(const std::string& name) {
  const pwg_media_t* media = pwgMediaForPWG(name.c_str());
  if (media == nullptr) media = pwgMediaForPPD(name.c_str());
  return media != nullptr ? media : pwgMediaForLegacy(name.c_str());
}

}  // namespace

std::optional<PageMeasure> measureOfName(const std::string& name) {
  const pwg_media_t* media = mediaOf(name);
  // "A4.Borderless" is A4 where the printer has no margins.
  const std::size_t dot = name.rfind('.');
  if (media == nullptr && dot != std::string::npos) media = mediaOf(name.substr(0, dot));
  if (media == nullptr || media->width <= 0 || media->length <= 0) return std::nullopt;
  return PageMeasure{media->width, media->length};
}

bool isNear(const PageMeasure& one, const PageMeasure& other, int tolerance) {
  return std::abs(one.width - other.width) <= tolerance &&
         std::abs(one.height - other.height) <= tolerance;
}

std::string measureWords(const PageMeasure& measure) {
  return millimetres(measure.width) + " x " + millimetres(measure.height) + " mm";
}

std::string customSize(const PageMeasure& measure) {
  return "Custom." + millimetres(measure.width) + "x" + millimetres(measure.height) + "mm";
}

}  // namespace kestra
