// The dots of a block of rows that ran side by side, and their way into the rows of the page.
//
// The lanes of a vector settle at once, each a dot of another row; here they are sorted so that a
// row's dots can be picked up a vector at a time.
#pragma once

#include "imaging/kernels/lanes.h"

namespace kestra::KESTRA_VERSION {
namespace {

/// A bit for each lane and step, in memory of the caller: a plane of bytes for every 8 lanes.
class DotColumns {
 public:
  /// @param memory  steps + kLanes bytes for every 8 lanes
  /// @param steps   the most that a block takes
  DotColumns(std::uint8_t* memory, std::size_t steps)
      : memory_(memory), planeBytes_(steps + kLanes) {}

  /// What rows may read behind their last step.
  void clear() const { std::memset(memory_, 0, kPlanes * planeBytes_); }

  /// Takes the dots of the steps from `start` on, a bit a lane.
  template <std::size_t kCount>
  void keep(std::size_t start, const LaneBits (&steps)[kCount]) const {
    for (std::size_t plane = 0; plane < kPlanes; ++plane) {
      std::uint8_t* to = memory_ + plane * planeBytes_ + start;
      for (std::size_t i = 0; i < kCount; ++i) {
        to[i] = static_cast<std::uint8_t>(steps[i] >> (8 * plane));
      }
    }
  }

  /// Writes the row of a lane, whose first dot settled at step `first`: 0 or 1 a byte.
  void writeRow(std::size_t lane, std::size_t first, std::size_t width, std::uint8_t* to) const {
    const std::uint8_t* bytes = memory_ + lane / 8 * planeBytes_ + first;
    std::size_t x = 0;
    for (; x + kLanes <= width; x += kLanes) store(to + x, dots(bytes + x, lane));
    std::uint8_t last[kLanes];
    store(last, dots(bytes + x, lane));
    std::memcpy(to + x, last, width - x);
  }

 private:
  static constexpr std::size_t kPlanes = kLanes / 8;

  // 1 where the lane's dots are white; the other bits of a byte are of other lanes.
  static Lanes dots(const std::uint8_t* bytes, std::size_t lane) {
    const Lanes mine = all(1U << (lane % 8));
    return both(same(both(load(bytes), mine), mine), all(1));
  }

  std::uint8_t* memory_;  // the caller's
  std::size_t planeBytes_;
};

}  // namespace
}  // namespace kestra::KESTRA_VERSION
