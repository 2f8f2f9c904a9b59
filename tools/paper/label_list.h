// Lists of labels as text: a digest a line, then blanks and a name if there is one.
//
// The same form says what should come and what came, so that one run's output is another's order.
#pragma once

#include <string>
#include <vector>

#include "filter/base/result.h"

namespace kestra::paper {

struct ListedLabel {
  std::string digest;  ///< 64 small hex digits
  std::string name;    ///< for people; "label N" (N from 1) where the list has none
};

/// Reads a list. Empty lines and those that start with '#' are none of it.
/// @return one sentence where a line is no digest
[[nodiscard]] Result<std::vector<ListedLabel>> parseList(const std::string& text);

/// The line of a label, without its end.
[[nodiscard]] std::string listLine(const ListedLabel& label);

}  // namespace kestra::paper
