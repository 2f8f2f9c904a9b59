// The palette of an image: the two levels of a dithered page, the grey ramp of a page as it comes.
#include <algorithm>
#include <cstring>

#include "imaging/paletteimage/palette_image.h"

namespace kestra {
namespace {

constexpr std::size_t kPaletteOffset = 40;  // behind the header in the block

int squared(int value) { return value * value; }

bool equal(const tagRGBQUAD& a, const tagRGBQUAD& b) {
  return a.blue == b.blue && a.green == b.green && a.red == b.red && a.reserved == b.reserved;
}

}  // namespace

tagRGBQUAD* PaletteImage::GetPalette() {
  if (!IsValid() || header_.colorsUsed == 0) return nullptr;
  return reinterpret_cast<tagRGBQUAD*>(dib_ + kPaletteOffset);
}

const tagRGBQUAD* PaletteImage::GetPalette() const {
  return const_cast<PaletteImage*>(this)->GetPalette();
}

void PaletteImage::SetPalette(const tagRGBQUAD* colors, std::uint32_t count) {
  tagRGBQUAD* palette = GetPalette();
  if (colors == nullptr || palette == nullptr) return;
  std::memcpy(palette, colors, std::size_t{std::min(count, header_.colorsUsed)} * 4);
}

tagRGBQUAD PaletteImage::GetPaletteColor(std::uint8_t index) const {
  const tagRGBQUAD* palette = GetPalette();
  return palette == nullptr || index >= header_.colorsUsed ? tagRGBQUAD{} : palette[index];
}

void PaletteImage::SetPaletteColor(std::uint8_t index, std::uint8_t red, std::uint8_t green,
                                   std::uint8_t blue, std::uint8_t alpha) {
  tagRGBQUAD* palette = GetPalette();
  if (palette == nullptr || index >= header_.colorsUsed) return;
  palette[index] = {blue, green, red, alpha};
}

void PaletteImage::SetGrayPalette() {
  tagRGBQUAD* palette = GetPalette();
  if (palette == nullptr) return;
  const std::uint32_t step = 255 / (header_.colorsUsed - 1);
  for (std::uint32_t i = 0; i < header_.colorsUsed; ++i) {
    const auto level = static_cast<std::uint8_t>(i * step);
    palette[i] = {level, level, level, palette[i].reserved};
  }
}

std::uint8_t PaletteImage::GetNearestIndex(tagRGBQUAD color) {
  const tagRGBQUAD* palette = GetPalette();
  if (palette == nullptr) return 0;
  if (info_.lastColorValid && equal(color, info_.lastColor)) return info_.lastColorIndex;
  info_.lastColor = color;
  info_.lastColorValid = true;

  const std::uint32_t searched = header_.colorsImportant == 0
                                     ? header_.colorsUsed
                                     : std::min(header_.colorsImportant, header_.colorsUsed);
  int bestDistance = 200000;  // more than any two colours are apart
  std::uint32_t best = 0;
  for (std::uint32_t i = 0; i < searched && bestDistance > 0; ++i) {
    const int distance = squared(palette[i].blue - color.blue) +
                         squared(palette[i].green - color.green) +
                         squared(palette[i].red - color.red);
    if (distance < bestDistance) {
      bestDistance = distance;
      best = i;
    }
  }
  info_.lastColorIndex = static_cast<std::uint8_t>(best);
  return info_.lastColorIndex;
}

}  // namespace kestra
