// Counts the grey levels of a page, and replaces them by a table's: the two steps of a page's tone.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra {

/// Adds to counts[level] how often each level occurs in `count` bytes.
void countLevels(const unsigned char* pixels, std::size_t count, std::uint32_t counts[256]);

/// out[i] = table[pixels[i]]; `out` may be `pixels`.
void mapLevels(const unsigned char* pixels, const std::uint8_t table[256], unsigned char* out,
               std::size_t count);

}  // namespace kestra
