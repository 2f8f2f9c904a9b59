// The bitmap file of a page that is kept for looking at a bad print.
// Why: its header and its data disagree deliberately, so the bytes are spelled out here.
#pragma once

#include <cstdint>
#include <vector>

namespace kestra::plain {

/// 8 bits per pixel: header, 256 greys, then the first width x height bytes of `data` as they lie.
/// The header speaks of padded, bottom-up rows; the data is neither.
std::vector<std::uint8_t> debugImage8(const std::vector<std::uint8_t>& data, int width, int height);

/// 1 bit per pixel: two colours, rows bottom-up, lines of `bytesPerLine` input bytes; a 1 bit
/// (white) where the byte is 0. The row in the file is as long as `width` asks for.
std::vector<std::uint8_t> debugImage1(const std::vector<std::uint8_t>& data, int bytesPerLine,
                                      int width, int height);

}  // namespace kestra::plain
