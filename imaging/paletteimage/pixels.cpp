// Single pixels at every depth: where an index lies in its row, and what happens at the edges.
#include <cstring>

#include "imaging/paletteimage/palette_image.h"

namespace kestra {
namespace {

// 1 bit:  the leftmost pixel of a byte is its most significant bit.
// 4 bits: even columns are the high nibble, odd ones the low nibble.
unsigned bitShift(std::int64_t x) { return static_cast<unsigned>(7 - x % 8); }
unsigned nibbleShift(std::int64_t x) { return static_cast<unsigned>((1 - x % 2) * 4); }

std::uint8_t replaceBits(std::uint8_t byte, unsigned mask, unsigned shift, std::uint8_t value) {
  return static_cast<std::uint8_t>((byte & ~(mask << shift)) | ((value & mask) << shift));
}

}  // namespace

bool PaletteImage::isInside(std::int64_t x, std::int64_t y) const {
  return x >= 0 && x < header_.width && y >= 0 && y < header_.height;
}

std::uint8_t PaletteImage::GetPixelIndex(std::int64_t x, std::int64_t y) const {
  if (!IsValid() || header_.colorsUsed == 0) return 0;
  if (!isInside(x, y)) return *info_.pixels;
  return BlindGetPixelIndex(x, y);
}

void PaletteImage::SetPixelIndex(std::int64_t x, std::int64_t y, std::uint8_t index) {
  if (!IsValid() || header_.colorsUsed == 0 || !isInside(x, y)) return;
  BlindSetPixelIndex(x, y, index);
}

std::uint8_t PaletteImage::BlindGetPixelIndex(std::int64_t x, std::int64_t y) const {
  const std::uint8_t* row = info_.pixels + std::int64_t{info_.effWidth} * y;
  switch (header_.bitCount) {
    case 8:
      return row[x];
    case 4:
      return static_cast<std::uint8_t>((row[x / 2] >> nibbleShift(x)) & 0x0F);
    case 1:
      return static_cast<std::uint8_t>((row[x / 8] >> bitShift(x)) & 0x01);
    default:
      return 0;
  }
}

void PaletteImage::BlindSetPixelIndex(std::int64_t x, std::int64_t y, std::uint8_t index) {
  std::uint8_t* row = info_.pixels + std::int64_t{info_.effWidth} * y;
  switch (header_.bitCount) {
    case 8:
      row[x] = index;
      break;
    case 4:
      row[x / 2] = replaceBits(row[x / 2], 0x0F, nibbleShift(x), index);
      break;
    case 1:
      row[x / 8] = replaceBits(row[x / 8], 0x01, bitShift(x), index);
      break;
    default:
      break;
  }
}

tagRGBQUAD PaletteImage::BlindGetPixelColor(std::int64_t x, std::int64_t y,
                                            bool /*getAlpha*/) const {
  if (header_.colorsUsed != 0) return GetPaletteColor(BlindGetPixelIndex(x, y));
  const std::uint8_t* pixel = info_.pixels + std::int64_t{info_.effWidth} * y + 3 * x;
  return {pixel[0], pixel[1], pixel[2], 0};
}

void PaletteImage::BlindSetPixelColor(std::int64_t x, std::int64_t y, tagRGBQUAD color,
                                      bool /*setAlpha*/) {
  if (header_.colorsUsed != 0) {
    BlindSetPixelIndex(x, y, GetNearestIndex(color));
    return;
  }
  std::memcpy(info_.pixels + std::int64_t{info_.effWidth} * y + 3 * x, &color, 3);
}

}  // namespace kestra
