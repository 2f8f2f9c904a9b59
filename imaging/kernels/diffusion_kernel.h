// The six error-diffusion kernels as tables: where the error of a printed dot goes, and how much.
//
// One table serves the rule and the fast loop; the tests hold it against one of their own.
#pragma once

#include <cstddef>

namespace kestra {

/// The lowest level that prints white by threshold and by error diffusion.
inline constexpr int kFirstWhiteLevel = 129;

/// One receiver of a pixel's error: `dx` columns to the right, `dy` rows down, `weight` parts of
/// the kernel's divisor.
struct DiffusionTap {
  int dx;
  int dy;
  int weight;
};

/// The kernels in the order of `kDiffusionKernels`.
enum class DiffusionMethod : std::size_t {
  kBurkes,
  kStucki,
  kJarvisJudiceNinke,
  kSierra,
  kStevensonArce,
  kFloydSteinberg,
};

inline constexpr std::size_t kDiffusionMethods = 6;
inline constexpr std::size_t kMostTaps = 12;

/// An error-diffusion kernel: taps in the order in which they are served.
struct DiffusionKernel {
  DiffusionMethod method;
  int divisor;
  std::size_t tapCount;
  DiffusionTap taps[kMostTaps];
};

inline constexpr DiffusionKernel kDiffusionKernels[kDiffusionMethods] = {
    //        X   8   4
    //    2   4   8   4   2     / 32
    {DiffusionMethod::kBurkes,
     32,
     7,
     {{1, 0, 8}, {2, 0, 4}, {-2, 1, 2}, {-1, 1, 4}, {0, 1, 8}, {1, 1, 4}, {2, 1, 2}}},
    //        X   8   4
    //    2   4   8   4   2
    //    1   2   4   2   1     / 42
    {DiffusionMethod::kStucki,
     42,
     12,
     {{1, 0, 8},
      {2, 0, 4},
      {-2, 1, 2},
      {-1, 1, 4},
      {0, 1, 8},
      {1, 1, 4},
      {2, 1, 2},
      {-2, 2, 1},
      {-1, 2, 2},
      {0, 2, 4},
      {1, 2, 2},
      {2, 2, 1}}},
    //        X   7   5
    //    3   5   7   5   3
    //    1   3   5   3   1     / 48
    {DiffusionMethod::kJarvisJudiceNinke,
     48,
     12,
     {{1, 0, 7},
      {2, 0, 5},
      {-2, 1, 3},
      {-1, 1, 5},
      {0, 1, 7},
      {1, 1, 5},
      {2, 1, 3},
      {-2, 2, 1},
      {-1, 2, 3},
      {0, 2, 5},
      {1, 2, 3},
      {2, 2, 1}}},
    //        X   5   3
    //    2   4   5   4   2
    //        2   3   2         / 32
    {DiffusionMethod::kSierra,
     32,
     10,
     {{1, 0, 5},
      {2, 0, 3},
      {-2, 1, 2},
      {-1, 1, 4},
      {0, 1, 5},
      {1, 1, 4},
      {2, 1, 2},
      {-1, 2, 2},
      {0, 2, 3},
      {1, 2, 2}}},
    //            X      32
    //   12   26     30     16
    //      12     26     12
    //    5   12     12      5  / 200
    {DiffusionMethod::kStevensonArce,
     200,
     12,
     {{2, 0, 32},
      {-3, 1, 12},
      {-1, 1, 26},
      {1, 1, 30},
      {3, 1, 16},
      {-2, 2, 12},
      {0, 2, 26},
      {2, 2, 12},
      {-3, 3, 5},
      {-1, 3, 12},
      {1, 3, 12},
      {3, 3, 5}}},
    //        X   7
    //    3   5   1             / 16
    {DiffusionMethod::kFloydSteinberg, 16, 4, {{1, 0, 7}, {-1, 1, 3}, {0, 1, 5}, {1, 1, 1}}},
};

}  // namespace kestra
