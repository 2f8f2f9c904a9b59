// Rows of grey levels: other levels for them, and the opposite order.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imaging/kernels/level.h"

namespace kestra {

/// Replaces each level by its entry in a table of 256. A table that adds one number to all levels,
/// with 0 and 255 as its ends (brightness alone), goes faster than others.
void lookUpLevels(const std::uint8_t* table, std::uint8_t* levels, std::size_t count);

/// Turns a row around in place: 1 2 3 becomes 3 2 1.
void reverseLevels(std::uint8_t* levels, std::size_t count);

/// One version of the two.
struct LevelRowKernels {
  void (*lookUp)(const std::uint8_t* table, std::uint8_t* levels, std::size_t count);
  void (*reverse)(std::uint8_t* levels, std::size_t count);
};

/// The version of a level that this processor has.
LevelRowKernels levelRowKernels(KernelLevel level);

}  // namespace kestra
