// Makes every page of a raster stream one that prints straight and whole.
//
// Pictures sent as they are and sizes typed by hand come in any width; the filter prints only
// multiples of 4 dots straight, and only what its head reaches.
#pragma once

#include <functional>

#include "tools/fit/relay.h"
#include "tools/fit/row_fit.h"

namespace kestra {

struct FitResult {
  RelayState state = RelayState::kEnded;  ///< how the stream ended
  int error = 0;                          ///< `errno` of a failed read or write
};

/// Moves a raster stream from `input` to `output`, which stay the caller's. Rows are filled with
/// paper up to a multiple of 4 dots; dots that a head of `headPoints` (1/72 inch, 0: not known)
/// cannot reach are cut off. Pages that need neither, and everything that is no page the filter
/// prints, leave byte for byte as they came; a stream that breaks off leaves broken off at the same
/// place. A row at most lies in memory.
/// @param changed  is told of each page that changes, before its first byte leaves
[[nodiscard]] FitResult fitStream(int input, int output, double headPoints,
                                  const std::function<void(const PageChange&)>& changed);

}  // namespace kestra
