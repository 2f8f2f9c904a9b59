// A page's pixels as plain rows: out of an image, and as the dots of the print head.
//
// Functions of their arguments alone, so that each can be tried without a printer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "imaging/paletteimage/palette_image.h"

namespace kestra {

/// Copies the pixel indices of an image's first `width` columns and `height` rows into rows
/// `stride` bytes apart.
void copyIndices(const PaletteImage& image, unsigned char* out, int width, int height, int stride);

/// The same with index 1 as 255, then complemented for negative printing.
/// @param outSize  size of `out` in bytes; pixels that would lie behind its end are left out
void copyFinishedPixels(const PaletteImage& image, bool negative, unsigned char* out, int width,
                        int height, int stride,
                        std::size_t outSize = std::numeric_limits<std::size_t>::max());

/// Packs bytes into bits in place: any byte but 0 becomes a dot, the leftmost pixel the highest
/// bit. Each row takes whole bytes, rows follow each other without padding: 12 pixels take 2 bytes.
/// @param bytesPerLine  distance and length of rows, less the pixels to skip at the right end
/// @param skipRight     those pixels; from `bytesPerLine` on none are skipped
/// @param buffer        height rows; for rows of negative length, `height` bytes
/// @return bytes written
unsigned int packRows(int bytesPerLine, int height, std::uint64_t skipRight, unsigned char* buffer);

}  // namespace kestra
