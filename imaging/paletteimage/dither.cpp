// Turns a grey page into the two levels that a thermal head can print.
#include <array>
#include <cstring>

#include "imaging/kernels/matrix_rows.h"
#include "imaging/paletteimage/error_diffusion.h"
#include "imaging/paletteimage/palette_image.h"

namespace kestra {
namespace {

// Lowest white level of each cell of a 4x4 square, [y % 4][x % 4].
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

}  // namespace

bool PaletteImage::Dither(std::int64_t method) {
  if (!IsValid()) return false;
  if (header_.bitCount == 1) return true;

  PaletteImage dots;
  if (!makeDots(dots, static_cast<std::uint64_t>(method))) return false;
  return Transfer(dots, true);
}

bool PaletteImage::DitherToBytes(std::int64_t method) {
  if (!IsValid() || header_.bitCount != 8) return Dither(method) && IncreaseBpp(8);

  // Unsigned, so that negative numbers select the last method as well.
  const auto number = static_cast<std::uint64_t>(method);
  const Matrix* matrix = matrixOf(number);
  if (matrix == nullptr) {
    diffuseErrorsInPlace(diffusionKernel(number), GetBits(0), info_.effWidth, header_.width,
                         header_.height);
  }
  const std::size_t padding = info_.effWidth - GetWidth();
  for (std::uint32_t y = 0; y < GetHeight(); ++y) {
    std::uint8_t* row = GetBits(y);
    if (matrix != nullptr) ditherRowToBytes(row, GetWidth(), (*matrix)[y % 4], row);
    std::memset(row + GetWidth(), 0, padding);
  }
  std::memset(GetPalette(), 0, GetPaletteSize());
  SetPaletteColor(1, 255, 255, 255, 0);
  return true;
}

bool PaletteImage::makeDots(PaletteImage& dots, std::uint64_t method) {
  createDerived(dots, GetWidth(), GetHeight(), 1);
  if (!dots.IsValid()) {
    setLastError(dots.GetLastError());
    return false;
  }
  dots.SetPaletteColor(0, 0, 0, 0, 0);
  dots.SetPaletteColor(1, 255, 255, 255, 0);

  const Matrix* matrix = matrixOf(method);
  // Indices of 4-bit images end at 15 and 24-bit images read as 0: with nothing near white all of
  // their dots stay black where errors are diffused, whatever error they pass on.
  if (matrix == nullptr && header_.bitCount != 8) return true;
  if (matrix == nullptr) {
    diffuseErrors(diffusionKernel(method), GetBits(0), info_.effWidth, dots.GetBits(0),
                  dots.info_.effWidth, header_.width, header_.height);
  } else if (header_.bitCount == 8) {
    for (std::uint32_t y = 0; y < GetHeight(); ++y) {
      ditherRowToBits(GetBits(y), GetWidth(), (*matrix)[y % 4], dots.GetBits(y));
    }
  } else {
    for (std::int64_t y = 0; y < header_.height; ++y) {
      const RowThresholds& row = (*matrix)[static_cast<std::size_t>(y % 4)];
      for (std::int64_t x = 0; x < header_.width; ++x) {
        const std::uint8_t threshold = row[static_cast<std::size_t>(x % 4)];
        if (BlindGetPixelIndex(x, y) >= threshold) dots.BlindSetPixelIndex(x, y, 1);
      }
    }
  }
  return true;
}

}  // namespace kestra
