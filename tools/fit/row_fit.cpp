// Works out where a row is cut and filled, and says so.
#include "tools/fit/row_fit.h"

#include <cstdio>

#include "filter/base/number.h"
#include "filter/base/page_size.h"

namespace kestra {
namespace {

constexpr std::uint32_t kRowUnit = 4;  // dots
constexpr double kMostDots = 65535;    // a frame's width is a number of 16 bits

constexpr std::uint32_t roundedDown(std::uint32_t dots) { return dots / kRowUnit * kRowUnit; }

// "12.5 mm (100 dots)"
std::string length(std::uint32_t dots, std::uint32_t dotsPerInch) {
  const double millimetres = dotsPerInch == 0 ? 0 : dots * kMillimetresPerInch / dotsPerInch;
  char text[64];
  std::snprintf(text, sizeof text, "%.1f mm (%u %s)", millimetres, dots,
                dots == 1 ? "dot" : "dots");
  return text;
}

}  // namespace

RowFit rowFit(std::uint32_t width, std::uint32_t headDots) {
  const std::uint32_t most = roundedDown(headDots);
  RowFit fit;
  if (most > 0 && width > most) {
    fit.keep = most;
    fit.skip = (width - most) / 2;
    fit.cutRight = width - most - fit.skip;
  } else {
    fit.keep = width;
    fit.fill = static_cast<std::uint32_t>(paddedRowBytes(width)) - width;  // a dot is a byte
  }
  return fit;
}

std::uint32_t headDots(double points, std::uint32_t dotsPerInch) {
  const double dots = points / static_cast<double>(kPointsPerInch) * dotsPerInch;
  return dots >= kRowUnit && dots <= kMostDots ? static_cast<std::uint32_t>(dots) : 0;
}

std::string cutWords(const RowFit& fit, std::uint32_t dotsPerInch) {
  return "is " + length(fit.skip + fit.cutRight, dotsPerInch) +
         " wider than the print head: " + length(fit.skip, dotsPerInch) + " on the left and " +
         length(fit.cutRight, dotsPerInch) +
         " on the right are not printed; choose a narrower page size";
}

std::string cutWarning(const PageChange& change) {
  return "WARNING: Page " + std::to_string(change.page) + " " +
         cutWords(change.fit, change.dotsPerInch);
}

std::string fillMessage(const PageChange& change) {
  return "DEBUG: Page " + std::to_string(change.page) + " is " + std::to_string(change.fit.keep) +
         " dots wide and gets " + length(change.fit.fill, change.dotsPerInch) +
         " of paper on the right, so that it prints straight";
}

}  // namespace kestra
