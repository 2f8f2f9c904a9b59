// Rows of dots, as bytes and as bits: made from levels by thresholds, packed, counted.
//
// Every page is packed and counted once: what is done here must cost less than moving the page in
// memory.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kestra {

/// Thresholds of the columns 0 to 3 of a row; column x has that of x % 4. A level from its
/// threshold on is white (1), any other black (0).
using RowThresholds = std::array<std::uint8_t, 4>;

/// Threshold and matrix dithering: writes a row's dots as bytes of 0 and 1.
/// @param thresholds  four
/// @param dots        `count` bytes, may be `levels` itself
void ditherRow(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
               std::uint8_t* dots);

/// Packs bytes into dots: any byte but 0 is a 1, the leftmost pixel the highest bit. The last byte
/// is filled up with 0: 0 0 9 0 0 0 0 1 1 gives 21 80.
/// @param bits  (count + 7) / 8 bytes; may start at or before `pixels`: bits follow the reading
void packDots(const std::uint8_t* pixels, std::size_t count, std::uint8_t* bits);

/// The number of 1 bits in `size` bytes.
std::uint64_t countDots(const std::uint8_t* bits, std::size_t size);

// The fast versions, see cpu.h.
namespace baseline {
decltype(ditherRow) ditherRow;
decltype(packDots) packDots;
decltype(countDots) countDots;
}  // namespace baseline
namespace avx2 {
decltype(ditherRow) ditherRow;
decltype(packDots) packDots;
decltype(countDots) countDots;
}  // namespace avx2

}  // namespace kestra
