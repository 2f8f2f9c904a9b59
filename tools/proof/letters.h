// Letters of 5 x 7 dots for captions.
//
// A sheet of prints must say which is which, also where no font is installed.
#pragma once

#include <cstddef>

namespace kestra::proof {

inline constexpr std::size_t kLetterWidth = 5;
inline constexpr std::size_t kLetterHeight = 7;
inline constexpr std::size_t kLetterAdvance = 6;  ///< from one letter to the next

/// Row `row` of a letter from the top; an unknown letter is an empty box.
/// @return bit 4 is the leftmost dot, 1 is black; 0 for rows from kLetterHeight on
[[nodiscard]] unsigned letterRow(char letter, std::size_t row);

}  // namespace kestra::proof
