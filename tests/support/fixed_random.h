// Numbers that look like chance and are the same in every run, on every machine.
// Why: a page that fails once must fail again, and the digest of a drawn page must not change with
// a library.
#pragma once

#include <cstdint>

namespace kestra::testing_support {

/// A linear congruential generator; its high bits are the better ones.
class FixedRandom {
 public:
  explicit FixedRandom(std::uint32_t seed) : state_(seed) {}
  /// 0 to 255.
  std::uint8_t byte() { return static_cast<std::uint8_t>(next() >> 24); }
  /// 0 to 65,535.
  std::uint32_t word() { return next() >> 16; }
  /// 0 to limit - 1, for limits up to 2^24.
  std::uint32_t below(std::uint32_t limit) { return (next() >> 8) % limit; }

 private:
  std::uint32_t next() {
    state_ = state_ * 1664525U + 1013904223U;
    return state_;
  }
  std::uint32_t state_;
};

}  // namespace kestra::testing_support
