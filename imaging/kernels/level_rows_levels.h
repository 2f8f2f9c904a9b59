// The versions of tables and turned rows, a namespace for each level: they stand side by side in
// one program.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra::baseline {
void lookUpLevels(const std::uint8_t* table, std::uint8_t* levels, std::size_t count);
void reverseLevels(std::uint8_t* levels, std::size_t count);
}  // namespace kestra::baseline

namespace kestra::avx2 {
void lookUpLevels(const std::uint8_t* table, std::uint8_t* levels, std::size_t count);
void reverseLevels(std::uint8_t* levels, std::size_t count);
}  // namespace kestra::avx2
