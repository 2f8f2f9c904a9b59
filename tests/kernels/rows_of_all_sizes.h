// Rows for the kernels' tests: of every kind, in every length at which a vector may begin, end or
// not fit. Why: a loop over vectors goes wrong at its ends.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/grey_pages.h"

namespace kestra {

using Bytes = std::vector<std::uint8_t>;
using testing_support::PageKind;

inline constexpr std::size_t kRowSizes[] = {0,  1,  2,  3,  7,  8,   9,   15,  16,  17,   31,  32,
                                            33, 63, 64, 65, 95, 127, 128, 129, 836, 1021, 2481};

/// Calls `piece` with the levels of each row; messages name its kind and size.
template <typename Piece>
void withRowsOfAllSizes(const Piece& piece) {
  for (const PageKind kind : testing_support::kPageKinds) {
    for (const std::size_t size : kRowSizes) {
      SCOPED_TRACE(nameOf(kind) + (" " + std::to_string(size)));
      piece(makeLevels(kind, size, 1));
    }
  }
}

}  // namespace kestra
