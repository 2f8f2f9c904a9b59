// Turns a grey page into the two levels that a thermal head can print.
#include <array>
#include <cstring>

#include "imaging/kernels/diffusion.h"
#include "imaging/kernels/dots.h"
#include "imaging/paletteimage/palette_image.h"

namespace kestra {
namespace {

// Lowest white level of each cell of a 4x4 square, [y % 4][x % 4]. None is 0: padding stays black.
using Matrix = std::array<RowThresholds, 4>;

constexpr RowThresholds kFlatRow = {kFirstWhiteLevel, kFirstWhiteLevel, kFirstWhiteLevel,
                                    kFirstWhiteLevel};
constexpr Matrix kThreshold = {kFlatRow, kFlatRow, kFlatRow, kFlatRow};

// Ordered dither of 17 levels (after Bayer, 1973): the cells of a 4x4 square turn white in this
// order as a level rises from 0 to 16 sixteenths.
constexpr std::uint8_t BayerLevels[4][4] = {
    {0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

constexpr Matrix bayerMatrix() {
  Matrix matrix = {};
  for (unsigned y = 0; y < 4; ++y) {
    for (unsigned x = 0; x < 4; ++x) {
      unsigned level = 0;
      // Sixteenths of 255, cut to whole ones: 16 for level 255 alone, which is white everywhere.
      while (level * 16 / 255 <= BayerLevels[y][x]) ++level;
      matrix[y][x] = static_cast<std::uint8_t>(level);
    }
  }
  return matrix;
}

constexpr Matrix kBayer = bayerMatrix();

// The generated matrix: the bits of x ^ y and y, interleaved from the lowest, four pairs deep.
// Levels above these are white.
//
//     0  192   48  240
//   128   64  176  112
//    32  224   16  208
//   160   96  144   80
constexpr Matrix generatedMatrix() {
  constexpr unsigned kOrder = 4;
  Matrix matrix = {};
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
      matrix[y][x] = static_cast<std::uint8_t>(threshold + 1);
    }
  }
  return matrix;
}

constexpr Matrix kGenerated = generatedMatrix();

// The matrix of a method, null for those that diffuse errors.
const Matrix* matrixOf(std::uint64_t method) {
  switch (method) {
    case 0:
      return &kThreshold;
    case 1:
      return &kBayer;
    case 7:
      return &kGenerated;
    default:
      return nullptr;
  }
}

// The kernel of any other method. Some weights differ from the published ones by design of this
// printer's methods.
DiffusionMethod diffusionOf(std::uint64_t method) {
  switch (method) {
    case 2:
      return DiffusionMethod::kBurkes;  // 1988
    case 3:
      return DiffusionMethod::kStucki;  // 1981
    case 4:
      return DiffusionMethod::kJarvisJudiceNinke;  // 1976
    case 5:
      return DiffusionMethod::kSierra;  // 1989
    case 6:
      return DiffusionMethod::kStevensonArce;  // 1985
    default:
      return DiffusionMethod::kFloydSteinberg;  // 1976
  }
}

}  // namespace

bool PaletteImage::Dither(std::int64_t method) {
  if (!IsValid()) return false;
  if (header_.bitCount == 1) return true;

  // Made first, so that the image is left whole where there is no memory for its dots.
  PaletteImage dots;
  createDerived(dots, GetWidth(), GetHeight(), 1);
  if (!dots.IsValid()) {
    setLastError(dots.GetLastError());
    return false;
  }
  dots.SetPaletteColor(1, 255, 255, 255, 0);
  // Unsigned, so that negative numbers select the last method as well.
  const auto number = static_cast<std::uint64_t>(method);
  if (header_.bitCount == 8) {
    turnIntoDots(number);
    for (std::uint32_t y = 0; y < GetHeight(); ++y) {
      packDots(GetBits(y), GetWidth(), dots.GetBits(y));
    }
  } else if (const Matrix* matrix = matrixOf(number); matrix != nullptr) {
    for (std::int64_t y = 0; y < header_.height; ++y) {
      const RowThresholds& row = (*matrix)[static_cast<std::size_t>(y % 4)];
      for (std::int64_t x = 0; x < header_.width; ++x) {
        const std::uint8_t threshold = row[static_cast<std::size_t>(x % 4)];
        if (BlindGetPixelIndex(x, y) >= threshold) dots.BlindSetPixelIndex(x, y, 1);
      }
    }
  }
  // Indices of 4-bit images end at 15 and 24-bit images read as 0: with nothing near white all of
  // their dots stay black where errors are diffused, whatever error they pass on.
  return Transfer(dots, true);
}

bool PaletteImage::DitherToBytes(std::int64_t method) {
  if (!IsValid() || header_.bitCount != 8) return Dither(method) && IncreaseBpp(8);
  turnIntoDots(static_cast<std::uint64_t>(method));
  std::memset(GetPalette(), 0, GetPaletteSize());
  SetPaletteColor(1, 255, 255, 255, 0);
  return true;
}

void PaletteImage::turnIntoDots(std::uint64_t method) {
  const Matrix* matrix = matrixOf(method);
  if (matrix == nullptr) {
    diffuse({diffusionOf(method), GetBits(0), info_.effWidth, GetWidth(), GetHeight()});
  }
  for (std::uint32_t y = 0; y < GetHeight(); ++y) {
    std::uint8_t* row = GetBits(y);
    if (matrix != nullptr) ditherRow(row, GetWidth(), (*matrix)[y % 4].data(), row);
    std::memset(row + GetWidth(), 0, info_.effWidth - GetWidth());
  }
}

}  // namespace kestra
