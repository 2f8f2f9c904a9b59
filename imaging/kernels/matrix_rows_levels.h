// The versions of matrix dithering, a namespace for each level: they stand side by side in one
// program.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra::baseline {
void ditherRowToBits(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                     std::uint8_t* bits);
void ditherRowToBytes(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                      std::uint8_t* dots);
}  // namespace kestra::baseline

namespace kestra::avx2 {
void ditherRowToBits(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                     std::uint8_t* bits);
void ditherRowToBytes(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                      std::uint8_t* dots);
}  // namespace kestra::avx2
