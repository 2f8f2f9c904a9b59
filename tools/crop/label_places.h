// Finds labels of a known size on a page.
//
// Nothing on a page says "this is the label"; but a label of that size, laid on the right place,
// cuts through nothing and is full.
#pragma once

#include <vector>

#include "tools/crop/page_ink.h"

namespace kestra::crop {

/// The size of a label in points.
struct LabelSize {
  double width = 0;
  double height = 0;
};

struct Place {
  Box ink;              ///< what is drawn on the label
  bool turned = false;  ///< it lies on its side
  double across = 0;    ///< how much of the label's width the ink takes, 1 all of it; up to 1.05
  double along = 0;     ///< the same of its height
  bool sure = false;    ///< it fills the label both ways, with white around it
};

/// The places where a label of this size, upright or lying, cuts through no ink, the fullest ones
/// with white around them. More than one where several fill the label; exactly one, not sure, where
/// none does; none where nothing fits: the page is blank, or all that is on it is larger.
/// They are in reading order: from the top, then from the left.
[[nodiscard]] std::vector<Place> labelPlaces(const PageInk& page, LabelSize label);

/// A thin line longer than this many points cannot belong to a label of this size.
[[nodiscard]] int longestLine(LabelSize label);

}  // namespace kestra::crop
