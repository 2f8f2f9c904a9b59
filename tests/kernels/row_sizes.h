// Lengths of rows for the kernels' tests: every one at which a vector may begin, end or not fit.
// Why: a loop over vectors goes wrong at its ends.
#pragma once

#include <cstddef>

namespace kestra {

inline constexpr std::size_t kRowSizes[] = {0,  1,  2,  3,  7,  8,   9,   15,  16,  17,   31,  32,
                                            33, 63, 64, 65, 95, 127, 128, 129, 836, 1021, 2481};

}  // namespace kestra
