// Images for tests, and their pixels as a list.
// Why: a test compares what an image holds with what was worked out, a level after the other.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "imaging/paletteimage/palette_image.h"

namespace kestra {

using Bytes = std::vector<std::uint8_t>;

/// An image that releases its block at the end of its scope.
struct OwnedImage : PaletteImage {
  OwnedImage() = default;
  ~OwnedImage() { Destroy(); }
};

/// An image of zeros, its palette too.
struct BlackImage : OwnedImage {
  BlackImage(std::uint32_t width, std::uint32_t height, std::uint32_t depth,
             std::uint32_t type = 0) {
    EXPECT_NE(nullptr, Create(width, height, depth, type));
  }
};

/// Makes an 8-bit grey image of rows without padding.
inline bool makeGrey(PaletteImage& image, const Bytes& levels, std::uint32_t width,
                     std::uint32_t height) {
  return image.CreateFromArray(levels.data(), width, height, 8, width, false);
}

/// An image made of rows as they lie in an array.
struct ArrayImage : OwnedImage {
  ArrayImage(const Bytes& rows, std::uint32_t width, std::uint32_t height, std::uint32_t depth,
             std::uint32_t bytesPerLine, bool flip = false) {
    EXPECT_TRUE(CreateFromArray(rows.data(), width, height, depth, bytesPerLine, flip));
  }
};

struct GreyImage : OwnedImage {
  GreyImage(const Bytes& levels, std::uint32_t width, std::uint32_t height) {
    EXPECT_TRUE(makeGrey(*this, levels, width, height));
  }
};

/// All pixel indices, first row first.
inline Bytes indicesOf(const PaletteImage& image) {
  Bytes indices;
  for (std::int64_t y = 0; y < static_cast<std::int64_t>(image.GetHeight()); ++y) {
    for (std::int64_t x = 0; x < static_cast<std::int64_t>(image.GetWidth()); ++x) {
      indices.push_back(image.GetPixelIndex(x, y));
    }
  }
  return indices;
}

/// All bytes of the pixel rows, padding included.
inline Bytes rowBytesOf(const PaletteImage& image) {
  const std::uint8_t* first = image.GetBits(0);
  return Bytes(first, first + std::size_t{image.GetEffWidth()} * image.GetHeight());
}

inline bool sameColor(tagRGBQUAD a, std::uint8_t blue, std::uint8_t green, std::uint8_t red,
                      std::uint8_t reserved) {
  return a.blue == blue && a.green == green && a.red == red && a.reserved == reserved;
}

}  // namespace kestra
