// Images for tests, and their pixels as a list.
// Why: a test compares what an image holds with what was worked out, a level after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "imaging/paletteimage/palette_image.h"

namespace kestra {

/// An image that releases its block at the end of its scope.
struct OwnedImage : PaletteImage {
  OwnedImage() = default;
  ~OwnedImage() { Destroy(); }
};

/// Makes an 8-bit grey image of rows without padding.
inline bool makeGrey(PaletteImage& image, const std::vector<std::uint8_t>& levels,
                     std::uint32_t width, std::uint32_t height) {
  return image.CreateFromArray(levels.data(), width, height, 8, width, false);
}

/// All pixel indices, first row first.
inline std::vector<std::uint8_t> indicesOf(const PaletteImage& image) {
  std::vector<std::uint8_t> indices;
  for (std::int64_t y = 0; y < static_cast<std::int64_t>(image.GetHeight()); ++y) {
    for (std::int64_t x = 0; x < static_cast<std::int64_t>(image.GetWidth()); ++x) {
      indices.push_back(image.GetPixelIndex(x, y));
    }
  }
  return indices;
}

/// All bytes of the pixel rows, padding included.
inline std::vector<std::uint8_t> rowBytesOf(const PaletteImage& image) {
  const std::uint8_t* first = image.GetBits(0);
  return std::vector<std::uint8_t>(first,
                                   first + std::size_t{image.GetEffWidth()} * image.GetHeight());
}

inline bool sameColor(tagRGBQUAD a, std::uint8_t blue, std::uint8_t green, std::uint8_t red,
                      std::uint8_t reserved) {
  return a.blue == blue && a.green == green && a.red == red && a.reserved == reserved;
}

}  // namespace kestra
