// Writes page frames byte by byte for the tests of the reader.
//
// The frames are spelled out here from the layout the print head expects, apart from the reader
// and from the filter, so that neither can hide a mistake of the other.
#pragma once

#include <cstdint>
#include <vector>

namespace kestra {

using Bytes = std::vector<std::uint8_t>;

// The 22 bytes before the rows; every number can be chosen, fitting or not.
struct FrameStart {
  unsigned media = 1;
  unsigned width = 12;
  unsigned height = 2;
  unsigned gap = 16;
  unsigned page = 7;
  unsigned record = 5;  // 2 count + 1 margin + 2 page
  unsigned rows = 2;
};

Bytes frameStart(const FrameStart& start);

// A label of 12 x 2 dots behind one margin byte: row 0 is FF F0 (12 black dots), row 1 is 80 10
// (2 black dots: the first and the last).
Bytes smallFrame();

}  // namespace kestra
