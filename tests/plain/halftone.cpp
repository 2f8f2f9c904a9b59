// Threshold, two ordered dithers and six error diffusions, pixel by pixel.
// Why: written for the eye, with the kernels as they are drawn in print; shares are given row by
// row from the left.
#include "tests/plain/halftone.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kestra::plain {

namespace {

// The kernel of a drawing: a row of weights for each row of pixels from that of the middle one on,
// which stands in the middle of the first. A weight of 0 is no share.
Kernel drawn(int divisor, const Rows& weights) {
  Kernel kernel = {divisor, {}};
  for (std::size_t y = 0; y < weights.size(); ++y) {
    const int middle = static_cast<int>(weights[y].size() / 2);
    for (std::size_t x = 0; x < weights[y].size(); ++x) {
      const int weight = weights[y][x];
      const Tap tap = {static_cast<int>(x) - middle, static_cast<int>(y), weight};
      if (weight != 0) kernel.taps.push_back(tap);
    }
  }
  return kernel;
}

}  // namespace

Kernel kernelOf(long method) {
  switch (method) {
    case 2:  // Burkes
      return drawn(32, {{0, 0, 0, 8, 4}, {2, 4, 8, 4, 2}});
    case 3:  // Stucki
      return drawn(42, {{0, 0, 0, 8, 4}, {2, 4, 8, 4, 2}, {1, 2, 4, 2, 1}});
    case 4:  // Jarvis, Judice, Ninke
      return drawn(48, {{0, 0, 0, 7, 5}, {3, 5, 7, 5, 3}, {1, 3, 5, 3, 1}});
    case 5:  // Sierra
      return drawn(32, {{0, 0, 0, 5, 3}, {2, 4, 5, 4, 2}, {0, 2, 3, 2, 0}});
    case 6:  // Stevenson, Arce
      return drawn(200, {{0, 0, 0, 0, 0, 32, 0},
                         {12, 0, 26, 0, 30, 0, 16},
                         {0, 12, 0, 26, 0, 12, 0},
                         {5, 0, 12, 0, 12, 0, 5}});
    default:  // Floyd, Steinberg
      return drawn(16, {{0, 0, 7}, {3, 5, 1}});
  }
}

namespace {

Rows diffuse(Rows grey, const Kernel& kernel) {
  Rows dots = grey;
  const int height = static_cast<int>(grey.size());
  const int width = static_cast<int>(grey[0].size());
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int level = grey[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
      const bool light = level >= 129;
      const int error = light ? level - 255 : level;
      dots[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = light ? 1 : 0;
      for (const Tap& tap : kernel.taps) {
        const int tx = x + tap.dx;
        const int ty = y + tap.dy;
        if (tx < 0 || ty < 0 || tx >= width || ty >= height) continue;  // this share is lost
        int& target = grey[static_cast<std::size_t>(ty)][static_cast<std::size_t>(tx)];
        // "/" cuts toward zero, for each share on its own.
        target = std::clamp(target + error * tap.weight / kernel.divisor, 0, 255);
      }
    }
  }
  return dots;
}

int orderedSeventeen(int level, std::size_t x, std::size_t y) {
  static const int kMatrix[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  const int step = level * 16 / 255;  // 0..16
  const int base = step / 16;
  const int fraction = step % 16;
  return kMatrix[y % 4][x % 4] < fraction ? base + 1 : base;
}

int orderedSixteen(int level, std::size_t x, std::size_t y) {
  static const int kMatrix[4][4] = {
      {0, 192, 48, 240}, {128, 64, 176, 112}, {32, 224, 16, 208}, {160, 96, 144, 80}};
  return level > kMatrix[y % 4][x % 4] ? 1 : 0;
}

}  // namespace

Rows halftone(const Rows& grey, long method) {
  if (grey.empty() || grey[0].empty()) return grey;
  if (method != 0 && method != 1 && method != 7) return diffuse(grey, kernelOf(method));
  Rows dots = grey;
  for (std::size_t y = 0; y < grey.size(); ++y) {
    for (std::size_t x = 0; x < grey[y].size(); ++x) {
      const int level = grey[y][x];
      if (method == 0) dots[y][x] = level < 129 ? 0 : 1;
      if (method == 1) dots[y][x] = orderedSeventeen(level, x, y);
      if (method == 7) dots[y][x] = orderedSixteen(level, x, y);
    }
  }
  return dots;
}

std::vector<std::uint8_t> halftone(const std::vector<std::uint8_t>& levels, std::size_t width,
                                   std::size_t height, long method) {
  const auto columns = static_cast<int>(width);
  return flatten(
      halftone(rowsFromBytes(levels, columns, static_cast<int>(height), columns), method));
}

}  // namespace kestra::plain
