// One page from grey bytes to the finished image: tone, mirror, halftone, negative, and what the
// log says of it. Why: classic and stencil halftones take different ways to the same kind of image.
#pragma once

#include <cstdint>
#include <string>

#include "tests/plain/job.h"
#include "tests/plain/page.h"

namespace kestra::plain {

struct FinishedPage {
  bool made = false;  ///< false: no image can be made of a page without columns
  int width = 0;
  Rows rows;  ///< padded
  std::string log;
};

FinishedPage finishPage(const Settings& settings, const Page& page);

/// Whether the halftone is one of the two stencil methods.
bool isStencil(const Settings& settings);

/// What lies in the page's block after its dots were packed into it: the dots from the first byte
/// on, behind them the rest of the pixels.
///   rows 255 0 0 255 | 255 255 0 0, width 4, dots 90 C0  ->  90 C0 0 255 | 255 255 0 0
Rows packedInPlace(const Rows& padded, const std::vector<std::uint8_t>& dots);

}  // namespace kestra::plain
