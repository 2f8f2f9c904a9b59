// Pictures of any size that are the same on every machine: gradients, photos, bars, text, noise.
// Why: each halftone and barcode rule has pages on which a slip shows; these are such pages.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kestra::testing_support {

using Pixels = std::vector<std::uint8_t>;

/// Each returns bytesPerLine x height bytes; bytes right of the width continue the picture.
Pixels uniform(unsigned bytesPerLine, unsigned height, int level);
/// 0 at the top left to 255 at the bottom right.
Pixels gradient(unsigned bytesPerLine, unsigned height);
/// Soft hills with a little noise, all levels.
Pixels photo(unsigned bytesPerLine, unsigned height);
/// Vertical bars of 255 on 0 with widths from a fixed sequence, a few rows blank at the top.
Pixels bars(unsigned bytesPerLine, unsigned height);
/// Small black marks on blank paper, as lines of text look from afar.
Pixels textLines(unsigned bytesPerLine, unsigned height);
/// Bytes of a linear congruential generator.
Pixels noise(unsigned bytesPerLine, unsigned height, std::uint32_t seed);
/// Long blank stretches closed by dots, with some rows left blank: what the dash rule looks for
/// when the page is printed in negative.
Pixels longRuns(unsigned bytesPerLine, unsigned height, std::uint32_t seed);

/// "gradient", "photo", "bars", "text", "noise", "runs", "blank", "solid".
Pixels makePicture(const std::string& kind, unsigned bytesPerLine, unsigned height);

}  // namespace kestra::testing_support
