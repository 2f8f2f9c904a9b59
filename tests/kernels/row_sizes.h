// Rows for the kernels' tests: every length at which a vector may begin, end or not fit, and levels
// at which a comparison may go wrong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/support/fixed_random.h"

namespace kestra {

inline constexpr std::size_t kRowSizes[] = {0,  1,  2,  3,  7,  8,   9,   15,  16,  17,   31,  32,
                                            33, 63, 64, 65, 95, 127, 128, 129, 836, 1021, 2481};

enum class RowFill { Random, Zeros, Full, Extremes, NearMiddle };
inline constexpr RowFill kRowFills[] = {RowFill::Random, RowFill::Zeros, RowFill::Full,
                                        RowFill::Extremes, RowFill::NearMiddle};

inline std::vector<std::uint8_t> filledRow(std::size_t size, RowFill fill) {
  testing_support::FixedRandom random(static_cast<std::uint32_t>(size) * 31U +
                                      static_cast<std::uint32_t>(fill));
  std::vector<std::uint8_t> row(size);
  for (std::uint8_t& level : row) {
    switch (fill) {
      case RowFill::Random:
        level = random.byte();
        break;
      case RowFill::Zeros:
        level = 0;
        break;
      case RowFill::Full:
        level = 255;
        break;
      case RowFill::Extremes:
        level = random.below(2) == 0 ? 0 : 255;
        break;
      case RowFill::NearMiddle:
        level = static_cast<std::uint8_t>(126 + random.below(5));
        break;
    }
  }
  return row;
}

}  // namespace kestra
