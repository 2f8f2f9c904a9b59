// Threshold and matrix dithering of a row: each pixel against the threshold of its column.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kestra {

/// Thresholds of the columns 0 to 3 of a row; column x has that of x % 4. A level from its
/// threshold on is white (1), any other black (0).
using RowThresholds = std::array<std::uint8_t, 4>;

/// Writes a row's dots as bytes of 0 and 1.
/// @param thresholds  four
/// @param dots        `count` bytes, may be `levels` itself
void ditherRow(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
               std::uint8_t* dots);

// The fast versions, see cpu.h.
namespace baseline {
decltype(ditherRow) ditherRow;
}
namespace avx2 {
decltype(ditherRow) ditherRow;
}

}  // namespace kestra
