// Threshold and matrix dithering of a row: each pixel against the threshold of its column.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "imaging/kernels/level.h"

namespace kestra {

/// Thresholds of the columns 0 to 3 of a row; column x has that of x % 4. A level from its
/// threshold on is white (1), any other black (0). No threshold is 0: what lies behind a row's end
/// must stay black.
using RowThresholds = std::array<std::uint8_t, 4>;

/// Writes a row's dots as bits, the leftmost pixel the highest; the last byte is filled up with 0.
/// @param bits  (count + 7) / 8 bytes, none of them among `levels`
void ditherRowToBits(const std::uint8_t* levels, std::size_t count, const RowThresholds& thresholds,
                     std::uint8_t* bits);

/// Writes a row's dots as bytes of 0 and 1.
/// @param dots  `count` bytes, may be `levels` itself
void ditherRowToBytes(const std::uint8_t* levels, std::size_t count,
                      const RowThresholds& thresholds, std::uint8_t* dots);

/// One version of the two; `thresholds` points at four.
struct MatrixRowKernels {
  void (*toBits)(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                 std::uint8_t* bits);
  void (*toBytes)(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                  std::uint8_t* dots);
};

/// The version of a level that this processor has.
MatrixRowKernels matrixRowKernels(KernelLevel level);

}  // namespace kestra
