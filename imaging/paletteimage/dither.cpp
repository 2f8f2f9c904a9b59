// Turns a grey page into the two levels that a thermal head can print.
#include <array>

#include "imaging/paletteimage/error_diffusion.h"
#include "imaging/paletteimage/palette_image.h"

namespace kestra {
namespace {

// Ordered dither of 17 levels (after Bayer, 1973): the cells of a 4x4 square turn white in this
// order as a level rises from 0 to 16 sixteenths.
constexpr std::uint8_t BayerLevels[4][4] = {
    {0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

// Thresholds of the generated matrix, [y % 4][x % 4]: the bits of x ^ y and y, interleaved from the
// lowest, four pairs deep.
//
//     0  192   48  240
//   128   64  176  112
//    32  224   16  208
//   160   96  144   80
using GeneratedMatrix = std::array<std::array<std::uint8_t, 4>, 4>;

constexpr GeneratedMatrix generateMatrix() {
  constexpr unsigned kOrder = 4;
  GeneratedMatrix matrix = {};
  for (unsigned y = 0; y < kOrder; ++y) {
    for (unsigned x = 0; x < kOrder; ++x) {
      unsigned a = y;
      unsigned b = x;
      unsigned threshold = 0;
      for (unsigned i = 0; i < kOrder; ++i) {
        threshold = (((threshold * 2) | ((a ^ b) & 1U)) * 2) | (b & 1U);
        a /= 2;
        b /= 2;
      }
      matrix[y][x] = static_cast<std::uint8_t>(threshold);
    }
  }
  return matrix;
}

constexpr GeneratedMatrix kGeneratedMatrix = generateMatrix();

bool isWhiteByThreshold(std::uint8_t level) { return level >= kFirstWhiteLevel; }

bool isWhiteByBayer(std::uint8_t level, std::int64_t x, std::int64_t y) {
  const int sixteenths = level * 16 / 255;  // 16 for level 255 alone: white everywhere
  return sixteenths > BayerLevels[y & 3][x & 3];
}

bool isWhiteByGeneratedMatrix(std::uint8_t level, std::int64_t x, std::int64_t y) {
  return level > kGeneratedMatrix[static_cast<std::size_t>(y & 3)][static_cast<std::size_t>(x & 3)];
}

}  // namespace

bool PaletteImage::Dither(std::int64_t method) {
  if (!IsValid()) return false;
  if (header_.bitCount == 1) return true;

  PaletteImage dots;
  createDerived(dots, GetWidth(), GetHeight(), 1);
  if (!dots.IsValid()) {
    setLastError(dots.GetLastError());
    return false;
  }

  // Unsigned, so that negative numbers select the last method as well.
  const auto number = static_cast<std::uint64_t>(method);
  const auto ditherByPixel = [&](auto isWhite) {
    for (std::int64_t y = 0; y < header_.height; ++y) {
      for (std::int64_t x = 0; x < header_.width; ++x) {
        if (isWhite(BlindGetPixelIndex(x, y), x, y)) dots.BlindSetPixelIndex(x, y, 1);
      }
    }
  };
  switch (number) {
    case 0:
      ditherByPixel(
          [](std::uint8_t level, std::int64_t, std::int64_t) { return isWhiteByThreshold(level); });
      break;
    case 1:
      ditherByPixel(isWhiteByBayer);
      break;
    case 7:
      ditherByPixel(isWhiteByGeneratedMatrix);
      break;
    default:
      // Indices of 4-bit images end at 15 and 24-bit images read as 0: with nothing near white all
      // of their dots stay black, whatever error they pass on.
      if (header_.bitCount == 8) {
        diffuseErrors(diffusionKernel(number), GetBits(0), info_.effWidth, dots.GetBits(0),
                      dots.info_.effWidth, header_.width, header_.height);
      }
      break;
  }

  dots.SetPaletteColor(0, 0, 0, 0, 0);
  dots.SetPaletteColor(1, 255, 255, 255, 0);
  return Transfer(dots, true);
}

}  // namespace kestra
