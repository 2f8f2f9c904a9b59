// The grey page as a grid of rows, with the simple operations on it: tone, turning, mirroring,
// negative, row padding.
// Why: a page of numbers that can be printed and checked by eye is what the dots are compared with.
#pragma once

#include <cstdint>
#include <vector>

namespace kestra::plain {

/// rows[y][x], each 0..255. All rows have the same length. Row 0 prints first.
using Rows = std::vector<std::vector<int>>;

/// Stores a number into a whole number: cut toward zero; what is not a number or does not fit gives
/// the smallest 32-bit number.
int toInt32(double value);

/// Row length in bytes of an 8-bit image: `width` rounded up to a multiple of 4.
int paddedWidth(int width);

/// The first `width` bytes of `height` lines that lie `bytesPerLine` apart. Missing bytes are 0.
Rows rowsFromBytes(const std::vector<std::uint8_t>& bytes, int width, int height, int bytesPerLine);

/// Brightness and contrast: the level of each of the 256 input levels, and its use on a page.
std::vector<int> toneTable(int brightness, int contrast);
Rows applyTone(const Rows& page, int brightness, int contrast);

/// 1 2 3      6 5 4                     1 2 3      3 2 1
/// 4 5 6  ->  3 2 1  (turned)           4 5 6  ->  6 5 4  (mirrored)
Rows rotate180(const Rows& page);
Rows mirror(const Rows& page);

/// Appends bytes 0 to each row up to the padded width.
Rows pad(const Rows& page);

/// Replaces every byte, padding too, by 255 minus it.
Rows negative(const Rows& padded);

/// All bytes of the rows, one row behind the other.
std::vector<std::uint8_t> flatten(const Rows& rows);

}  // namespace kestra::plain
