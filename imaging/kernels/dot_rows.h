// Rows of dots, as bytes and as bits: packing, unpacking, counting.
//
// Every page is packed and counted once: what is done here must cost less than moving the page in
// memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imaging/kernels/level.h"

namespace kestra {

/// Packs bytes into dots: any byte but 0 is a 1, the leftmost pixel the highest bit. The last byte
/// is filled up with 0: 0 0 9 0 0 0 0 1 1 gives 21 80.
/// @param bits  (count + 7) / 8 bytes; may start at or before `pixels`: bits follow the reading
void packDots(const std::uint8_t* pixels, std::size_t count, std::uint8_t* bits);

/// The way back: a byte of 0 or 1 for each dot.
/// @param bits    (count + 7) / 8 bytes, not among the `count` bytes of `pixels`
void unpackDots(const std::uint8_t* bits, std::size_t count, std::uint8_t* pixels);

/// The number of 1 bits in `size` bytes.
std::uint64_t countDots(const std::uint8_t* bits, std::size_t size);

/// One version of the three.
struct DotRowKernels {
  void (*pack)(const std::uint8_t* pixels, std::size_t count, std::uint8_t* bits);
  void (*unpack)(const std::uint8_t* bits, std::size_t count, std::uint8_t* pixels);
  std::uint64_t (*count)(const std::uint8_t* bits, std::size_t size);
};

/// The version of a level that this processor has.
DotRowKernels dotRowKernels(KernelLevel level);

}  // namespace kestra
