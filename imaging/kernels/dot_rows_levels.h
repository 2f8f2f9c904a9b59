// The versions of packing, unpacking and counting, a namespace for each level: they stand side by
// side in one program.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra::baseline {
void packDots(const std::uint8_t* pixels, std::size_t count, std::uint8_t* bits);
void unpackDots(const std::uint8_t* bits, std::size_t count, std::uint8_t* pixels);
std::uint64_t countDots(const std::uint8_t* bits, std::size_t size);
}  // namespace kestra::baseline

namespace kestra::avx2 {
void packDots(const std::uint8_t* pixels, std::size_t count, std::uint8_t* bits);
void unpackDots(const std::uint8_t* bits, std::size_t count, std::uint8_t* pixels);
std::uint64_t countDots(const std::uint8_t* bits, std::size_t size);
}  // namespace kestra::avx2
