// Operations that move pixels: turning and mirroring a page, and laying it on a larger canvas.
#include <cstring>
#include <limits>

#include "imaging/kernels/tones.h"
#include "imaging/paletteimage/palette_image.h"

namespace kestra {

// a b c      f e d
// d e f  ->  c b a
bool PaletteImage::Rotate180(PaletteImage* destination) {
  if (!IsValid()) return false;
  PaletteImage turned;
  createDerived(turned, GetWidth(), GetHeight(), 8);
  if (!turned.IsValid()) {
    setLastError(turned.GetLastError());
    return false;
  }
  turned.SetPalette(GetPalette(), GetNumColors());
  if (header_.bitCount == 8) {
    for (std::uint32_t y = 0; y < GetHeight(); ++y) {
      std::uint8_t* row = turned.GetBits(GetHeight() - 1 - y);
      std::memcpy(row, GetBits(y), GetWidth());
      reverseLevels(row, GetWidth());
    }
    return (destination == nullptr ? this : destination)->Transfer(turned, true);
  }
  for (std::int64_t y = 0; y < header_.height; ++y) {
    for (std::int64_t x = 0; x < header_.width; ++x) {
      turned.BlindSetPixelIndex(header_.width - 1 - x, header_.height - 1 - y,
                                BlindGetPixelIndex(x, y));
    }
  }
  return (destination == nullptr ? this : destination)->Transfer(turned, true);
}

// a b c      c b a
// d e f  ->  f e d
//
// An 8-bit image is mirrored in its own block. At other depths rows are stepped by the source's row
// length on both sides, so that rows of the two images drift apart: bytes that would be read behind
// the source's rows are 0, bytes that would be written behind the result's rows are dropped.
void PaletteImage::Mirror() {
  if (!IsValid()) return;
  if (header_.bitCount == 8) {
    for (std::uint32_t y = 0; y < GetHeight(); ++y) {
      std::uint8_t* row = GetBits(y);
      reverseLevels(row, GetWidth());
      std::memset(row + GetWidth(), 0, info_.effWidth - GetWidth());  // padding is not mirrored
    }
    return;
  }
  PaletteImage mirrored;
  createDerived(mirrored, GetWidth(), GetHeight(), 8);
  if (!mirrored.IsValid()) {
    setLastError(mirrored.GetLastError());
    return;
  }
  mirrored.SetPalette(GetPalette(), GetNumColors());

  const std::size_t span = std::size_t{GetWidth() - 1} * (header_.bitCount == 24 ? 3 : 1);
  const std::size_t stride = info_.effWidth;
  const std::size_t sourceSize = header_.imageSize;
  const std::size_t resultSize = mirrored.header_.imageSize;
  const std::uint8_t* source = GetBits(0);
  std::uint8_t* result = mirrored.GetBits(0);
  for (std::size_t y = 0; y < GetHeight(); ++y) {
    for (std::size_t i = 0; i <= span && y * stride + i < resultSize; ++i) {
      const std::size_t from = y * stride + span - i;
      result[y * stride + i] = from < sourceSize ? source[from] : 0;
    }
  }
  Transfer(mirrored, true);
}

// left = 1, bottom = 1, top = 2, right = 1 around a b (storage order, . is the canvas):
//
//   . . . .
//   . a b .
//   . . . .
//   . . . .
bool PaletteImage::Expand(std::int64_t left, std::int64_t top, std::int64_t right,
                          std::int64_t bottom, tagRGBQUAD canvasColor) {
  if (!IsValid() || left < 0 || top < 0 || right < 0 || bottom < 0) return false;
  constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
  // Each margin by itself first, so that their sums stay far below 64 bits.
  const bool fits = left <= kMost && top <= kMost && right <= kMost && bottom <= kMost &&
                    header_.width + left + right <= kMost && header_.height + top + bottom <= kMost;
  if (!fits) {
    setLastError("PALETTEIMAGE_MAX_MEMORY exceeded");
    return false;
  }

  PaletteImage canvas;
  createDerived(canvas, static_cast<std::uint32_t>(header_.width + left + right),
                static_cast<std::uint32_t>(header_.height + top + bottom), header_.bitCount);
  if (!canvas.IsValid()) {
    setLastError(canvas.GetLastError());
    return false;
  }
  canvas.SetPalette(GetPalette(), GetNumColors());

  const std::uint16_t depth = header_.bitCount;
  if (depth < 8) {
    const std::uint8_t fill = canvas.GetNearestIndex(canvasColor);
    for (std::int64_t y = 0; y < canvas.header_.height; ++y) {
      for (std::int64_t x = 0; x < canvas.header_.width; ++x) {
        const bool old = isInside(x - left, y - bottom);
        canvas.BlindSetPixelIndex(x, y, old ? BlindGetPixelIndex(x - left, y - bottom) : fill);
      }
    }
    return Transfer(canvas, true);
  }

  if (depth == 8) {
    std::memset(canvas.GetBits(0), canvas.GetNearestIndex(canvasColor), canvas.header_.imageSize);
  } else {
    for (std::int64_t y = 0; y < canvas.header_.height; ++y) {
      for (std::int64_t x = 0; x < canvas.header_.width; ++x) {
        canvas.BlindSetPixelColor(x, y, canvasColor, false);
      }
    }
  }
  const std::size_t pixelBytes = depth / 8U;
  for (std::uint32_t r = 0; r < GetHeight(); ++r) {
    std::uint8_t* row = canvas.GetBits(static_cast<std::uint32_t>(bottom) + r);
    std::memcpy(row + static_cast<std::size_t>(left) * pixelBytes, GetBits(r),
                pixelBytes * GetWidth());
  }
  return Transfer(canvas, true);
}

}  // namespace kestra
