// Says in words what a page frame holds.
//
// The words are for the person who looks for the reason of a bad print: sizes in dots and in mm,
// and every count that does not fit.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/frame/frame_reader.h"

namespace kestra::proof {

/// What is known of a frame beside its bytes, and how much of it is told.
struct FrameWords {
  std::size_t pageDots = 0;                  ///< width of the page, 0: only what the frame says
  std::array<unsigned, 2> dpi = {203, 203};  ///< of the print, across and down
  bool stored = false;                       ///< it waits somewhere: its number and sizes are news
  bool verbose = false;                      ///< rows, margins and counts as well
};

/// @return several lines, each with two leading blanks and a line end.
[[nodiscard]] std::string describeFrame(const PageFrame& frame, const FrameWords& words);

/// @return "100.1": millimetres of so many dots.
[[nodiscard]] std::string mm(std::size_t dots, unsigned dpi);

/// @return "12.3 %"; 0 of 0 is none.
[[nodiscard]] std::string percent(std::uint64_t part, std::uint64_t whole);

/// Row numbers, counted from 0, as a short list: "3, 5-9, 12 and 40 more". At most `runs` stretches
/// are listed. `rows` is sorted and has no doubles.
[[nodiscard]] std::string summariseRows(const std::vector<std::size_t>& rows, std::size_t runs);

}  // namespace kestra::proof
