// Tone operations: they change what a pixel is worth, never where it lies.
#include <algorithm>
#include <array>

#include "filter/base/number.h"
#include "imaging/kernels/tones.h"
#include "imaging/paletteimage/palette_image.h"

namespace kestra {

void PaletteImage::Negative() {
  if (!IsValid()) return;
  std::uint8_t* pixels = GetBits(0);
  std::transform(pixels, pixels + header_.imageSize, pixels,
                 [](std::uint8_t byte) { return static_cast<std::uint8_t>(~byte); });
}

bool PaletteImage::Light(int brightness, int contrast) {
  if (!IsValid()) return false;
  // Single precision throughout, rounded after every operation in the order written.
  const float factor = static_cast<float>(std::int64_t{contrast} + 100) / 100.0F;
  const auto offset = static_cast<float>(std::int64_t{brightness} + 128);
  std::array<std::uint8_t, 256> table = {};
  for (int i = 0; i < 256; ++i) {
    const float scaled = static_cast<float>(i - 128) * factor;
    const float shifted = scaled + offset;
    const float rounded = shifted + 0.5F;
    const int level = std::clamp(truncateToInt32(static_cast<double>(rounded)), 0, 255);
    table[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(level);
  }
  return Lut(table.data());
}

bool PaletteImage::Lut(const std::uint8_t* table) {
  if (!IsValid() || table == nullptr) return false;
  if (header_.bitCount == 8) {
    // Rows without padding are one long row.
    const bool gapless = GetWidth() == info_.effWidth;
    const std::size_t run = gapless ? header_.imageSize : GetWidth();
    for (std::size_t at = 0; at < header_.imageSize; at += gapless ? run : info_.effWidth) {
      std::uint8_t* levels = GetBits(0) + at;
      lookUpLevels(table, levels, levels, run);
    }
    return true;
  }
  for (std::int64_t y = 0; y < header_.height; ++y) {
    for (std::int64_t x = 0; x < header_.width; ++x) {
      BlindSetPixelIndex(x, y, table[BlindGetPixelIndex(x, y)]);
    }
  }
  return true;
}

bool PaletteImage::IncreaseBpp(unsigned int bitsPerPixel) {
  if (!IsValid()) return false;
  if (bitsPerPixel != 4 && bitsPerPixel != 8 && bitsPerPixel != 24) return false;
  if (bitsPerPixel == header_.bitCount) return true;
  if (bitsPerPixel < header_.bitCount) return false;

  PaletteImage deeper;
  createDerived(deeper, GetWidth(), GetHeight(), bitsPerPixel);
  if (!deeper.IsValid()) {
    setLastError(deeper.GetLastError());
    return false;
  }
  deeper.SetPalette(GetPalette(), GetNumColors());
  for (std::int64_t y = 0; y < header_.height; ++y) {
    for (std::int64_t x = 0; x < header_.width; ++x) {
      const std::uint8_t index = BlindGetPixelIndex(x, y);
      if (bitsPerPixel == 24) {
        deeper.BlindSetPixelColor(x, y, GetPaletteColor(index), false);
      } else {
        deeper.BlindSetPixelIndex(x, y, index);
      }
    }
  }
  return Transfer(deeper, true);
}

}  // namespace kestra
