// What a pixel pulls from the pixels before it: a kernel seen from the side of the receiver.
//
// Pulling lets a loop work on many pixels at once where pushing would have to go dot by dot, and it
// gives the same levels: the sources are taken in the order in which they are printed.
#pragma once

#include <cstddef>

#include "imaging/kernels/diffusion_kernel.h"

namespace kestra {

/// A pixel's share of the error of the pixel `columns` to the left (negative: to the right) and
/// `rows` above.
struct DiffusionPull {
  int columns;
  int rows;
  std::size_t share;  ///< which of the plan's shares
};

/// A kernel as pulls: farthest row first, in each row the leftmost source first.
///
/// Taps of one weight pass on the same share, which is worked out once:
/// Floyd and Steinberg's pulls are  (1,1) 1/16, (0,1) 5/16, (-1,1) 3/16, (1,0) 7/16.
struct DiffusionPlan {
  std::size_t pullCount = 0;
  std::size_t upperPulls = 0;  ///< the first ones, which come from rows above
  DiffusionPull pulls[kMostTaps] = {};
  std::size_t shareCount = 0;
  unsigned multipliers[kMostTaps] = {};  ///< of each share, see `shareOf`
  int reach = 0;                         ///< columns to either side
  int rows = 0;                          ///< rows above
};

/// 65536 * weight / divisor, cut, plus 1: with it a share needs no division.
static constexpr unsigned shareMultiplier(int weight, int divisor) {
  return static_cast<unsigned>(65536 * weight / divisor + 1);
}

/// error * weight / divisor, truncated toward zero, of the error's size 0..128: exact for all six
/// kernels (a test goes through them all). With 7/16 and an error of 3: 3 * 28673 / 65536 = 1.
static inline constexpr unsigned shareOf(unsigned errorSize, unsigned multiplier) {
  return errorSize * multiplier >> 16;
}

static constexpr DiffusionPlan planOf(const DiffusionKernel& kernel) {
  DiffusionPlan plan = {};
  int weights[kMostTaps] = {};
  for (std::size_t t = 0; t < kernel.tapCount; ++t) {
    const DiffusionTap& tap = kernel.taps[t];
    std::size_t share = 0;
    while (share < plan.shareCount && weights[share] != tap.weight) ++share;
    if (share == plan.shareCount) {
      weights[share] = tap.weight;
      plan.multipliers[share] = shareMultiplier(tap.weight, kernel.divisor);
      ++plan.shareCount;
    }
    // Put in its place among the pulls there are.
    std::size_t place = plan.pullCount++;
    for (; place > 0; --place) {
      const DiffusionPull& before = plan.pulls[place - 1];
      if (before.rows > tap.dy || (before.rows == tap.dy && before.columns > tap.dx)) break;
      plan.pulls[place] = before;
    }
    plan.pulls[place] = {tap.dx, tap.dy, share};
    if (tap.dy > 0) ++plan.upperPulls;
    const int aside = tap.dx < 0 ? -tap.dx : tap.dx;
    if (plan.reach < aside) plan.reach = aside;
    if (plan.rows < tap.dy) plan.rows = tap.dy;
  }
  return plan;
}

}  // namespace kestra
