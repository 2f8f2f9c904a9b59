// The dithering methods once more, as slowly and plainly as they can be said: the fast ones must
// print the same dots.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kestra::plain {

/// Grey levels that can be asked for anywhere: outside reads as the first level, outside writes
/// vanish.
class Grey {
 public:
  Grey(std::int64_t width, std::int64_t height, const std::vector<std::uint8_t>& levels)
      : width_(width), height_(height), levels_(levels.begin(), levels.end()) {}

  std::int64_t get(std::int64_t x, std::int64_t y) const {
    return inside(x, y) ? levels_.at(index(x, y)) : levels_.at(0);
  }
  void set(std::int64_t x, std::int64_t y, std::int64_t level) {
    if (inside(x, y)) levels_.at(index(x, y)) = level;
  }

 private:
  bool inside(std::int64_t x, std::int64_t y) const {
    return x >= 0 && x < width_ && y >= 0 && y < height_;
  }
  std::size_t index(std::int64_t x, std::int64_t y) const {
    return static_cast<std::size_t>(y * width_ + x);
  }

  std::int64_t width_;
  std::int64_t height_;
  std::vector<std::int64_t> levels_;
};

struct Tap {
  std::int64_t dx, dy, weight;
};

struct Kernel {
  std::int64_t divisor;
  std::vector<Tap> taps;
};

/// Kernels 2 to 6; every other number is Floyd and Steinberg's.
inline Kernel kernelOf(std::int64_t method) {
  switch (method) {
    case 2:
      return {32,
              {{1, 0, 8},
               {2, 0, 4},  //
               {-2, 1, 2},
               {-1, 1, 4},
               {0, 1, 8},
               {1, 1, 4},
               {2, 1, 2}}};
    case 3:
      return {42,
              {{1, 0, 8},
               {2, 0, 4},  //
               {-2, 1, 2},
               {-1, 1, 4},
               {0, 1, 8},
               {1, 1, 4},
               {2, 1, 2},  //
               {-2, 2, 1},
               {-1, 2, 2},
               {0, 2, 4},
               {1, 2, 2},
               {2, 2, 1}}};
    case 4:
      return {48,
              {{1, 0, 7},
               {2, 0, 5},  //
               {-2, 1, 3},
               {-1, 1, 5},
               {0, 1, 7},
               {1, 1, 5},
               {2, 1, 3},  //
               {-2, 2, 1},
               {-1, 2, 3},
               {0, 2, 5},
               {1, 2, 3},
               {2, 2, 1}}};
    case 5:
      return {32,
              {{1, 0, 5},
               {2, 0, 3},  //
               {-2, 1, 2},
               {-1, 1, 4},
               {0, 1, 5},
               {1, 1, 4},
               {2, 1, 2},  //
               {-1, 2, 2},
               {0, 2, 3},
               {1, 2, 2}}};
    case 6:
      return {200,
              {{2, 0, 32},  //
               {-3, 1, 12},
               {-1, 1, 26},
               {1, 1, 30},
               {3, 1, 16},  //
               {-2, 2, 12},
               {0, 2, 26},
               {2, 2, 12},  //
               {-3, 3, 5},
               {-1, 3, 12},
               {1, 3, 12},
               {3, 3, 5}}};
    default:
      return {16, {{1, 0, 7}, {-1, 1, 3}, {0, 1, 5}, {1, 1, 1}}};
  }
}

/// Two levels (0 black, 1 white) of a grey image by any method number.
inline std::vector<std::uint8_t> dither(std::int64_t width, std::int64_t height,
                                        const std::vector<std::uint8_t>& levels,
                                        std::int64_t method) {
  static constexpr std::int64_t kOrdered17[4][4] = {
      {0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  static constexpr std::int64_t kThresholds[4][4] = {
      {0, 192, 48, 240}, {128, 64, 176, 112}, {32, 224, 16, 208}, {160, 96, 144, 80}};
  Grey grey(width, height, levels);
  const Kernel kernel = kernelOf(method);
  std::vector<std::uint8_t> result;
  for (std::int64_t y = 0; y < height; ++y) {
    for (std::int64_t x = 0; x < width; ++x) {
      const std::int64_t v = grey.get(x, y);
      if (method == 0) {
        result.push_back(v < 129 ? 0 : 1);
      } else if (method == 1) {
        const std::int64_t level = v * 16 / 255;
        const std::int64_t more = kOrdered17[y % 4][x % 4] < level % 16 ? 1 : 0;
        result.push_back(static_cast<std::uint8_t>(level / 16 + more));
      } else if (method == 7) {
        result.push_back(v <= kThresholds[y % 4][x % 4] ? 0 : 1);
      } else {
        result.push_back(v < 129 ? 0 : 1);
        const std::int64_t error = v < 129 ? v : v - 255;
        for (const Tap& tap : kernel.taps) {
          std::int64_t n = grey.get(x + tap.dx, y + tap.dy) + error * tap.weight / kernel.divisor;
          if (n < 0) n = 0;
          if (n > 255) n = 255;
          grey.set(x + tap.dx, y + tap.dy, n);
        }
      }
    }
  }
  return result;
}

}  // namespace kestra::plain
