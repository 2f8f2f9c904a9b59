// The way of one page from grey bytes to finished pixels, for all ten halftones.
// Why: tone, turning, halftone, negative and frame act on each other only through their order.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/plain_stencil/frame.h"

namespace kestra::plain_stencil {

struct Choices {
  int halftone = 8;  ///< 8 and 9: stencil chain; any other: classic method of that number
  int brightness = 0;
  int contrast = 0;
  bool rotate = false;
  bool mirror = false;
  bool negative = false;
  int antiWrinkle = 0;
  int dpi = 300;
  std::string pageName;
  bool hasHeader = true;
};

struct Processed {
  int length = 0;                    ///< bytes announced as valid, 0: no image could be made
  Picture image;                     ///< finished page image
  std::vector<std::uint8_t> buffer;  ///< 2 x bytesPerLine x height bytes, 0 before the page
  std::string log;
};

/// data: height lines of bytesPerLine bytes.
Processed process(const Choices& choices, const std::vector<std::uint8_t>& data, int bytesPerLine,
                  int width, int height);

}  // namespace kestra::plain_stencil
