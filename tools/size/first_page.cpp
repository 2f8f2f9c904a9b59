// Dots and dots per inch count: the size in points of such a stream is rounded, or not there.
#include "tools/size/first_page.h"

#include <cups/raster.h>

#include <cmath>

namespace kestra {
namespace {

constexpr double kHundredthsPerInch = 2540;
constexpr double kLargest = 1e6;  // 10 metres

int hundredths(unsigned dots, unsigned dotsPerInch) {
  if (dotsPerInch == 0) return 0;
  const double length = kHundredthsPerInch * dots / dotsPerInch;
  return length < kLargest ? static_cast<int>(std::lround(length)) : 0;
}

}  // namespace

std::optional<PageMeasure> measureOfFirstPage(int input) {
  cups_raster_t* raster = cupsRasterOpen(input, CUPS_RASTER_READ);
  if (raster == nullptr) return std::nullopt;
  cups_page_header2_t header;
  const bool isRead = cupsRasterReadHeader2(raster, &header) != 0;
  cupsRasterClose(raster);
  if (!isRead) return std::nullopt;
  const PageMeasure measure = {hundredths(header.cupsWidth, header.HWResolution[0]),
                               hundredths(header.cupsHeight, header.HWResolution[1])};
  if (measure.width <= 0 || measure.height <= 0) return std::nullopt;
  return measure;
}

}  // namespace kestra
