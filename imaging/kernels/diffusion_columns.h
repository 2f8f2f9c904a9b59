// The dots of a block of rows that ran side by side, and their way into the rows of the page.
//
// The lanes of a vector settle at once, each a dot of another row; here they are sorted so that a
// row's dots can be picked up a vector at a time.
#pragma once

#include "imaging/kernels/byte_lanes.h"

namespace kestra::KESTRA_LEVEL {
namespace {

/// A bit for each lane and step, in memory of the caller: a plane of bytes for every 8 lanes.
class DotColumns {
 public:
  /// @param memory   steps + kLanes bytes for every 8 lanes
  /// @param steps    the most that a block takes
  /// @param asBytes  whether rows are written as bytes, 0 or 1, instead of bits
  DotColumns(std::uint8_t* memory, std::size_t steps, bool asBytes)
      : memory_(memory), planeBytes_(steps + kLanes), asBytes_(asBytes) {}

  void clear() const { std::memset(memory_, 0, kPlanes * planeBytes_); }

  /// Takes the dots of the steps from `start` on, a bit a lane.
  /// @param words  latest step first
  template <std::size_t kCount>
  void keep(std::size_t start, const LaneBits (&words)[kCount]) const {
    for (std::size_t plane = 0; plane < kPlanes; ++plane) {
      const auto bits = [&](std::size_t i) {
        return static_cast<std::uint8_t>(words[i] >> (8 * plane));
      };
      if (asBytes_) {
        std::uint8_t* to = place(plane, start);
        for (std::size_t i = 0; i < kCount; ++i) to[i] = bits(kCount - 1 - i);
      } else {
        std::uint8_t* to = place(plane, start + kCount - 1);
        for (std::size_t i = 0; i < kCount; ++i) to[i] = bits(i);
      }
    }
  }

  /// Writes the row of a lane, whose first dot settled at step `first`.
  void writeRow(std::size_t lane, std::size_t first, std::size_t width, std::uint8_t* to) const {
    asBytes_ ? writeBytes(lane, first, width, to) : writeBits(lane, first, width, to);
  }

 private:
  static constexpr std::size_t kPlanes = kLanes / 8;

  // Bits lie latest step first: the leftmost of a vector's dots comes into the highest bit.
  std::uint8_t* place(std::size_t plane, std::size_t step) const {
    return memory_ + plane * planeBytes_ + (asBytes_ ? step : planeBytes_ - 1 - step);
  }

  // 0xFF where the lane's dots are white; the other bits of a byte are of other lanes.
  static Lanes whiteDots(const std::uint8_t* bytes, std::size_t lane) {
    const Lanes mine = all(1U << (lane % 8));
    return same(both(load(bytes), mine), mine);
  }

  void writeBytes(std::size_t lane, std::size_t first, std::size_t width, std::uint8_t* to) const {
    const std::uint8_t* bytes = place(lane / 8, first);
    const Lanes one = all(1);
    std::size_t x = 0;
    for (; x + kLanes <= width; x += kLanes) store(to + x, both(whiteDots(bytes + x, lane), one));
    std::uint8_t last[kLanes];
    store(last, both(whiteDots(bytes + x, lane), one));
    std::memcpy(to + x, last, width - x);
  }

  void writeBits(std::size_t lane, std::size_t first, std::size_t width, std::uint8_t* to) const {
    for (std::size_t x = 0; x < width; x += kLanes) {
      const Lanes white = whiteDots(place(lane / 8, first + x + kLanes - 1), lane);
      writeDots(to + x / 8, highBits(white), width - x);
    }
  }

  // Writes the highest `count` dots, all if there are fewer.
  static void writeDots(std::uint8_t* to, LaneBits dots, std::size_t count) {
    std::uint8_t bytes[kPlanes];
    for (std::size_t i = 0; i < kPlanes; ++i) {
      bytes[i] = static_cast<std::uint8_t>(dots >> (kLanes - 8 - 8 * i));
    }
    if (count >= kLanes) {
      std::memcpy(to, bytes, kPlanes);
      return;
    }
    for (std::size_t i = 0; i < kPlanes && 8 * i < count; ++i) {
      const std::size_t unused = count - 8 * i < 8 ? 8 - (count - 8 * i) : 0;
      to[i] = static_cast<std::uint8_t>(bytes[i] >> unused << unused);
    }
  }

  std::uint8_t* memory_;  // the caller's
  std::size_t planeBytes_;
  bool asBytes_;
};

}  // namespace
}  // namespace kestra::KESTRA_LEVEL
