// Error diffusion in 8-bit pixels: the image itself carries the error from dot to dot.
#include "imaging/paletteimage/error_diffusion.h"

#include <algorithm>
#include <iterator>

namespace kestra {
namespace {

//        X   8   4
//    2   4   8   4   2     / 32
constexpr DiffusionTap kBurkesTaps[] = {{1, 0, 8}, {2, 0, 4}, {-2, 1, 2}, {-1, 1, 4},
                                        {0, 1, 8}, {1, 1, 4}, {2, 1, 2}};
//        X   8   4
//    2   4   8   4   2
//    1   2   4   2   1     / 42
constexpr DiffusionTap kStuckiTaps[] = {{1, 0, 8},  {2, 0, 4}, {-2, 1, 2}, {-1, 1, 4},
                                        {0, 1, 8},  {1, 1, 4}, {2, 1, 2},  {-2, 2, 1},
                                        {-1, 2, 2}, {0, 2, 4}, {1, 2, 2},  {2, 2, 1}};
//        X   7   5
//    3   5   7   5   3
//    1   3   5   3   1     / 48
constexpr DiffusionTap kJarvisJudiceNinkeTaps[] = {{1, 0, 7},  {2, 0, 5}, {-2, 1, 3}, {-1, 1, 5},
                                                   {0, 1, 7},  {1, 1, 5}, {2, 1, 3},  {-2, 2, 1},
                                                   {-1, 2, 3}, {0, 2, 5}, {1, 2, 3},  {2, 2, 1}};
//        X   5   3
//    2   4   5   4   2
//        2   3   2         / 32
constexpr DiffusionTap kSierraTaps[] = {{1, 0, 5}, {2, 0, 3}, {-2, 1, 2}, {-1, 1, 4}, {0, 1, 5},
                                        {1, 1, 4}, {2, 1, 2}, {-1, 2, 2}, {0, 2, 3},  {1, 2, 2}};
//            X      32
//   12   26     30     16
//      12     26     12
//    5   12     12      5  / 200
constexpr DiffusionTap kStevensonArceTaps[] = {{2, 0, 32}, {-3, 1, 12}, {-1, 1, 26}, {1, 1, 30},
                                               {3, 1, 16}, {-2, 2, 12}, {0, 2, 26},  {2, 2, 12},
                                               {-3, 3, 5}, {-1, 3, 12}, {1, 3, 12},  {3, 3, 5}};
//        X   7
//    3   5   1             / 16
constexpr DiffusionTap kFloydSteinbergTaps[] = {{1, 0, 7}, {-1, 1, 3}, {0, 1, 5}, {1, 1, 1}};

constexpr DiffusionKernel kBurkes = {kBurkesTaps, std::size(kBurkesTaps), 32};
constexpr DiffusionKernel kStucki = {kStuckiTaps, std::size(kStuckiTaps), 42};
constexpr DiffusionKernel kJarvisJudiceNinke = {kJarvisJudiceNinkeTaps,
                                                std::size(kJarvisJudiceNinkeTaps), 48};
constexpr DiffusionKernel kSierra = {kSierraTaps, std::size(kSierraTaps), 32};
constexpr DiffusionKernel kStevensonArce = {kStevensonArceTaps, std::size(kStevensonArceTaps), 200};
constexpr DiffusionKernel kFloydSteinberg = {kFloydSteinbergTaps, std::size(kFloydSteinbergTaps),
                                             16};

}  // namespace

const DiffusionKernel& diffusionKernel(std::uint64_t method) {
  switch (method) {
    case 2:
      return kBurkes;
    case 3:
      return kStucki;
    case 4:
      return kJarvisJudiceNinke;
    case 5:
      return kSierra;
    case 6:
      return kStevensonArce;
    default:
      return kFloydSteinberg;
  }
}

void diffuseErrors(const DiffusionKernel& kernel, std::uint8_t* grey, std::size_t greyStride,
                   std::uint8_t* bits, std::size_t bitStride, std::int64_t width,
                   std::int64_t height) {
  for (std::int64_t y = 0; y < height; ++y) {
    std::uint8_t* row = grey + static_cast<std::size_t>(y) * greyStride;
    std::uint8_t* bitRow = bits + static_cast<std::size_t>(y) * bitStride;
    for (std::int64_t x = 0; x < width; ++x) {
      int error = row[x];
      if (error >= kFirstWhiteLevel) {
        error -= 255;
        bitRow[x / 8] = static_cast<std::uint8_t>(bitRow[x / 8] | (0x80 >> (x % 8)));
      }
      for (std::size_t t = 0; t < kernel.tapCount; ++t) {
        const DiffusionTap& tap = kernel.taps[t];
        const std::int64_t tapX = x + tap.dx;
        if (tapX < 0 || tapX >= width || y + tap.dy >= height) continue;
        std::uint8_t& target =
            row[static_cast<std::size_t>(tap.dy) * greyStride + static_cast<std::size_t>(tapX)];
        const int share = error * tap.weight / kernel.divisor;
        target = static_cast<std::uint8_t>(std::clamp(target + share, 0, 255));
      }
    }
  }
}

}  // namespace kestra
