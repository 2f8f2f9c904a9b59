// The one computation of a page's size in bytes, in 64 bits and with the one limit: header values
// come from outside, and a product that wraps would be a buffer too small for its pixels.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra {

/// Largest page in bytes: 8 times as many bits are the most that an image's 32-bit size arithmetic
/// can hold.
inline constexpr std::uint64_t kMaxPageBytes = (std::uint64_t{1} << 29) - 1;

/// Bytes of `rows` rows of `bytesPerLine` bytes, exact for every pair of 32-bit values.
constexpr std::uint64_t pageBytes(std::uint32_t bytesPerLine, std::uint32_t rows) {
  return std::uint64_t{bytesPerLine} * rows;
}

/// Bytes from one row of an image to the next: rows are padded to a multiple of 4 bytes. 9 pixels
/// of a byte each take 12, of a bit each 4. Exact for every 32-bit width of up to 24 bits.
constexpr std::uint64_t paddedRowBytes(std::uint32_t width, unsigned bitsPerPixel = 8) {
  return (std::uint64_t{width} * bitsPerPixel + 31) / 32 * 4;
}

/// Whether a page's header values agree and an image of it can be made: rows are at least as long
/// as the page is wide, and the page does not exceed `kMaxPageBytes`. A width of 0 passes; the
/// image made from it fails by itself.
constexpr bool isPrintablePage(std::uint32_t width, std::uint32_t bytesPerLine,
                               std::uint32_t rows) {
  return bytesPerLine >= width && pageBytes(bytesPerLine, rows) <= kMaxPageBytes;
}

}  // namespace kestra
