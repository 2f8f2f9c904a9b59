// Finds the numbers of a page header by their places in the print system's own structure.
#include "tools/fit/raster_header.h"

#include <cups/raster.h>

#include <cstring>

#include "filter/base/page_size.h"

namespace kestra {
namespace {

constexpr std::uint32_t kBitsPerDot = 8;

std::uint32_t swapBytes(std::uint32_t value) { return __builtin_bswap32(value); }

std::uint32_t numberAt(const std::uint8_t* header, std::size_t place, RasterForm form) {
  std::uint32_t value = 0;
  std::memcpy(&value, header + place, sizeof value);
  return form.swapped ? swapBytes(value) : value;
}

void putNumber(std::uint8_t* header, std::size_t place, RasterForm form, std::uint32_t value) {
  if (form.swapped) value = swapBytes(value);
  std::memcpy(header + place, &value, sizeof value);
}

// Colours that are light have paper at full light, inks at no ink. The raster library fills the
// rest of a compressed row by the same rule.
std::uint8_t paperOf(std::uint32_t colourSpace) {
  constexpr std::uint8_t kFullLight = 255;
  switch (colourSpace) {
    case CUPS_CSPACE_W:
    case CUPS_CSPACE_RGB:
    case CUPS_CSPACE_RGBW:
    case CUPS_CSPACE_SW:
    case CUPS_CSPACE_SRGB:
    case CUPS_CSPACE_ADOBERGB:
      return kFullLight;
    default:
      return 0;
  }
}

}  // namespace

std::optional<RasterForm> rasterForm(const std::uint8_t* sync) {
  std::uint32_t word = 0;
  std::memcpy(&word, sync, sizeof word);
  RasterForm form;
  form.header = sizeof(cups_page_header2_t);
  switch (word) {
    case CUPS_RASTER_REVSYNCv1:
      form.swapped = true;
      [[fallthrough]];
    case CUPS_RASTER_SYNCv1:
      form.header = sizeof(cups_page_header_t);
      return form;
    case CUPS_RASTER_REVSYNCv2:
      form.swapped = true;
      [[fallthrough]];
    case CUPS_RASTER_SYNCv2:
      form.packed = true;
      return form;
    case CUPS_RASTER_REVSYNC:
      form.swapped = true;
      [[fallthrough]];
    case CUPS_RASTER_SYNC:
      return form;
    default:
      return std::nullopt;
  }
}

std::optional<PageShape> pageShape(const std::uint8_t* header, RasterForm form) {
  using Header = cups_page_header2_t;  // the older one is its beginning
  const auto number = [&](std::size_t place) { return numberAt(header, place, form); };
  PageShape shape;
  shape.dotsPerInch = number(offsetof(Header, HWResolution));
  shape.width = number(offsetof(Header, cupsWidth));
  shape.bytesPerLine = number(offsetof(Header, cupsBytesPerLine));
  shape.height = number(offsetof(Header, cupsHeight));
  shape.paper = paperOf(number(offsetof(Header, cupsColorSpace)));
  const bool oneByteADot = number(offsetof(Header, cupsBitsPerPixel)) == kBitsPerDot &&
                           number(offsetof(Header, cupsColorOrder)) == CUPS_ORDER_CHUNKED;
  if (!oneByteADot || shape.width == 0 || shape.height == 0 ||
      !isPrintablePage(shape.width, shape.bytesPerLine, shape.height)) {
    return std::nullopt;
  }
  return shape;
}

void setWidth(std::uint8_t* header, RasterForm form, std::uint32_t width) {
  putNumber(header, offsetof(cups_page_header2_t, cupsWidth), form, width);
  putNumber(header, offsetof(cups_page_header2_t, cupsBytesPerLine), form, width);
}

}  // namespace kestra
