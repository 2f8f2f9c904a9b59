// Rows of dots, as bytes and as bits: packing and counting.
//
// Every page is packed and counted once: what is done here must cost less than moving the page in
// memory.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra {

/// Packs bytes into dots: any byte but 0 is a 1, the leftmost pixel the highest bit. The last byte
/// is filled up with 0: 0 0 9 0 0 0 0 1 1 gives 21 80.
/// @param bits  (count + 7) / 8 bytes; may start at or before `pixels`: bits follow the reading
void packDots(const std::uint8_t* pixels, std::size_t count, std::uint8_t* bits);

/// The number of 1 bits in `size` bytes.
std::uint64_t countDots(const std::uint8_t* bits, std::size_t size);

// The fast versions, see cpu.h.
namespace baseline {
decltype(packDots) packDots;
decltype(countDots) countDots;
}  // namespace baseline
namespace avx2 {
decltype(packDots) packDots;
decltype(countDots) countDots;
}  // namespace avx2

}  // namespace kestra
