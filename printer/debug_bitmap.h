// Bytes of the bitmap files in which pages can be inspected.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kestra {

/// Everything before the pixels of a debug bitmap: file header, image header and palette, in all
/// 1078 bytes for 8 bits per pixel (256 greys), 62 for 1 (index 0 black, 1 white), and 54 for any
/// other value, which has the header of a 1-bit file without its palette.
///
/// The header promises rows padded to 4 bytes, the last row first. The rows of a 1-bit file are
/// so; those of an 8-bit file deliberately are not: `width` bytes each, the first row first.
std::vector<std::uint8_t> debugBitmapHeader(std::uint32_t width, std::uint32_t height,
                                            unsigned bitsPerPixel);

/// Bytes from row to row that the header announces: `width` bytes, or bits for any depth but 8,
/// padded to a multiple of 4.
std::uint32_t debugBitmapRowBytes(std::uint32_t width, unsigned bitsPerPixel);

/// One row of a 1-bit file: a bit is 1 (white) where the pixel is 0. Bits that fill up the last
/// byte are 1, bytes that fill up the row 0: ten zero pixels give FF FF 00 00.
/// @param row         `pixelCount` bytes, one per pixel
/// @param rowBytes    length of the result; pixels beyond it are left out
std::vector<std::uint8_t> packDebugRow(const unsigned char* row, std::size_t pixelCount,
                                       std::size_t rowBytes);

}  // namespace kestra
