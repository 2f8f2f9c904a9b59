// The frame that keeps paper flat: canvas, centring, four bars, and what the log says of them.
// Why: the bars take most of the ink of a page; a dot too wide is paid for by every customer.
#pragma once

#include <string>

#include "tests/plain/page.h"

namespace kestra::plain_stencil {

using plain::Rows;

/// A finished page image: rows of padded length, of which the first `width` bytes are pixels.
struct Picture {
  int width = 0;
  Rows rows;
};

struct Framing {
  int level = 0;  ///< width of the side bars in mm
  int dpi = 300;
  std::string pageName;   ///< "A4", "Letter", "Tattoo_A5", "Tattoo_A6"; any other: no canvas
  bool hasHeader = true;  ///< without one nothing is framed
  int canvasIndex = 255;  ///< index of white in the picture's palette
};

struct Framed {
  Picture picture;
  std::string log;
};

/// Dots of a length in mm.
int dots(int dpi, int mm);

Framed frame(const Picture& picture, const Framing& framing);

}  // namespace kestra::plain_stencil
