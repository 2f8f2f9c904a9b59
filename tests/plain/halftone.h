// The eight classic ways to turn grey levels into dots, and the default one.
// Why: they decide every dot of a page, so the tests need them written a second time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/plain/page.h"

namespace kestra::plain {

/// Where a share of a pixel's error goes, and how many parts of the divisor it is.
struct Tap {
  int dx;
  int dy;
  int weight;
};

/// Taps in the order in which the shares are given.
struct Kernel {
  int divisor;
  std::vector<Tap> taps;
};

/// Of methods 2 to 6; of any other number Floyd and Steinberg's.
Kernel kernelOf(long method);

/// Grey page in, page of 0 and 1 out; 0 where the level was dark in the sense of the method.
/// method: 0 threshold, 1 ordered with 17 levels, 2 Burkes, 3 Stucki, 4 Jarvis-Judice-Ninke, 5
/// Sierra, 6 Stevenson-Arce, 7 ordered with 16 thresholds, any other Floyd-Steinberg.
Rows halftone(const Rows& grey, long method);

/// The same for width x height bytes without gaps, row behind row.
std::vector<std::uint8_t> halftone(const std::vector<std::uint8_t>& levels, std::size_t width,
                                   std::size_t height, long method);

}  // namespace kestra::plain
