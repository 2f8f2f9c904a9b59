// Pages of black boxes and lines, for the search for labels.
//
// A page that is drawn by numbers shows at a glance where a label is and what lies beside it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tools/crop/page_ink.h"

namespace kestra::crop {

/// A white page in points, A4 unless said otherwise.
class PageOfBoxes {
 public:
  explicit PageOfBoxes(int width = 595, int height = 842) {
    page_.width = width;
    page_.height = height;
    page_.grey.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 255);
  }

  PageOfBoxes& fill(Box box, std::uint8_t grey = 0) {
    for (int y = std::max(box.top, 0); y < std::min(box.bottom, page_.height); ++y) {
      for (int x = std::max(box.left, 0); x < std::min(box.right, page_.width); ++x) {
        page_.grey[static_cast<std::size_t>(y) * static_cast<std::size_t>(page_.width) +
                   static_cast<std::size_t>(x)] = grey;
      }
    }
    return *this;
  }

  /// A border of one point just inside `box`.
  PageOfBoxes& frame(Box box) {
    fill({box.left, box.top, box.right, box.top + 1});
    fill({box.left, box.bottom - 1, box.right, box.bottom});
    fill({box.left, box.top, box.left + 1, box.bottom});
    return fill({box.right - 1, box.top, box.right, box.bottom});
  }

  /// A level line of dashes, 6 on and 4 off.
  PageOfBoxes& levelDashes(int y, int left, int right) {
    for (int x = left; x < right; x += 10) fill({x, y, std::min(x + 6, right), y + 1});
    return *this;
  }

  /// The same upright.
  PageOfBoxes& uprightDashes(int x, int top, int bottom) {
    for (int y = top; y < bottom; y += 10) fill({x, y, x + 1, std::min(y + 6, bottom)});
    return *this;
  }

  [[nodiscard]] const GreyPage& page() const { return page_; }

 private:
  GreyPage page_;
};

}  // namespace kestra::crop
