// Rows of grey levels: other levels for them, the opposite order, how often each occurs.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra {

/// out[i] = table[levels[i]]; `out` may be `levels`. A table of 256 that adds one number to all
/// levels, with 0 and 255 as its ends (brightness alone), goes faster than others.
void lookUpLevels(const std::uint8_t* table, const std::uint8_t* levels, std::uint8_t* out,
                  std::size_t count);

/// Turns a row around in place: 1 2 3 becomes 3 2 1.
void reverseLevels(std::uint8_t* levels, std::size_t count);

/// Adds to counts[level] how often each level occurs in `count` bytes.
void countLevels(const std::uint8_t* levels, std::size_t count, std::uint32_t counts[256]);

// The fast versions, see cpu.h.
namespace baseline {
decltype(lookUpLevels) lookUpLevels;
decltype(reverseLevels) reverseLevels;
decltype(countLevels) countLevels;
}  // namespace baseline
namespace avx2 {
decltype(lookUpLevels) lookUpLevels;
decltype(reverseLevels) reverseLevels;
decltype(countLevels) countLevels;
}  // namespace avx2

}  // namespace kestra
