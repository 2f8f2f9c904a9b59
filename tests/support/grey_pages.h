// Pages of grey levels that are hard on a loop: noise, flat areas, ends of the scale, slow changes.
// Why: a loop that is wrong is mostly wrong where levels clamp, tie or begin and end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kestra::testing_support {

enum class PageKind {
  kRandom,
  kExtremes,  ///< 0 and 255 in turn of chance: clamps at nearly every dot
  kGradient,  ///< changes by 1 from column to column, by 3 from row to row
  kNearTies,  ///< 126 to 131: on both sides of the lowest white level
  kFlat0,
  kFlat127,
  kFlat128,  ///< the highest black level, whose error is the largest
  kFlat129,  ///< the lowest white level, whose error is the smallest
  kFlat255,
};

inline constexpr PageKind kPageKinds[] = {
    PageKind::kRandom,   PageKind::kExtremes, PageKind::kGradient,
    PageKind::kNearTies, PageKind::kFlat0,    PageKind::kFlat127,
    PageKind::kFlat128,  PageKind::kFlat129,  PageKind::kFlat255,
};

/// For messages.
const char* nameOf(PageKind kind);

/// width x height levels without gaps, the top row first; the same in every run.
std::vector<std::uint8_t> makeLevels(PageKind kind, std::size_t width, std::size_t height);

}  // namespace kestra::testing_support
