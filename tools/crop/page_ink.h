// Where a page has ink, at one dot a point, without the lines to cut or fold along.
//
// A label is looked for by asking many rectangles whether they are empty; sums make each answer
// four numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestra::crop {

/// A rectangle in dots of a point (1/72 inch) from the page's upper left corner; `right` and
/// `bottom` lie just outside.
struct Box {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
  [[nodiscard]] int width() const { return right - left; }
  [[nodiscard]] int height() const { return bottom - top; }
  [[nodiscard]] Box grown(int by) const { return {left - by, top - by, right + by, bottom + by}; }
  bool operator==(const Box& other) const {
    return left == other.left && top == other.top && right == other.right && bottom == other.bottom;
  }
};

/// A page as one grey byte per point, 0 black and 255 white, row by row from the top.
struct GreyPage {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> grey;
};

/// Reads a raw PGM file with 255 grey levels.
/// @return nothing where it is none, or larger than 64 million dots
[[nodiscard]] std::optional<GreyPage> readGreyPage(const std::string& path);

class PageInk {
 public:
  /// @param longest  a thin straight line, dashed or not, that is longer than this many points
  ///                 is no part of a label and is left out
  PageInk(const GreyPage& page, int longest);

  [[nodiscard]] int width() const { return width_; }
  [[nodiscard]] int height() const { return height_; }

  /// Dots with ink in a rectangle; outside of the page there is none.
  [[nodiscard]] std::int64_t count(Box box) const;

  /// The smallest rectangle around all ink in `box`; an empty one where there is none.
  [[nodiscard]] Box around(Box box) const;

 private:
  int width_;
  int height_;
  std::vector<std::int32_t> sums_;  // of all dots above and to the left, (width + 1) x (height + 1)
};

}  // namespace kestra::crop
