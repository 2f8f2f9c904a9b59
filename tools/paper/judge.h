// Compares the labels that came with those that should have come.
//
// "Each exactly once, in order" needs one definition that all tests share; it is this one:
//
// - A label is known by its digest. The list may hold a digest several times: equal labels.
// - Only whole labels came. A torn one counts as torn, never as one that came.
// - Wanted but not come often enough: lost. Come more often than wanted: twice. Not in the list:
//   unknown.
// - A label whose digest is wanted once is delivered when it comes first; whatever comes of it
//   later is a repeat, which is "twice" and never out of order. Equal labels cannot be told apart:
//   their copies are matched so that as few as possible are out of order.
// - Out of order: the fewest deliveries that must be taken out so that the rest comes in the order
//   of the list.
//
//   list   came         verdict
//   A B C  A B C        good
//   A B C  A B B C      B twice
//   A B C  A B A C      A twice
//   A B C  A C          B lost
//   A B C  A C B        one out of order: B or C
//   A B C  A C B C      one out of order, and C twice: it was first printed too early
//   A B A  A A B A      A twice
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/paper/label_list.h"

namespace kestra::paper {

struct Repeat {
  std::string name;
  std::size_t count = 0;  ///< times that it came beyond those wanted
};

struct Verdict {
  std::vector<std::string> lost;        ///< names, in the order of the list
  std::vector<Repeat> twice;            ///< in the order of the list
  std::vector<std::string> outOfOrder;  ///< names, in the order of the list
  std::vector<std::size_t> unknown;     ///< which of the whole labels, from 0

  /// All copies beyond those wanted.
  [[nodiscard]] std::size_t repeats() const;
};

/// @param wanted  the list
/// @param came    digests of the whole labels, in the order in which they came
[[nodiscard]] Verdict judge(const std::vector<ListedLabel>& wanted,
                            const std::vector<std::string>& came);

}  // namespace kestra::paper
