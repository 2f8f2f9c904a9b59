// Picks out of the filter's log what it reported as an error.
//
// The errors tell why a job failed; all other lines are for a person and are kept as they are.
#pragma once

#include <istream>
#include <string>
#include <vector>

namespace kestra {

/// The errors of a log in their order, without the prefix; at most a hundred lines. A last line
/// that breaks off is none.
[[nodiscard]] std::vector<std::string> reportedErrors(std::istream& log);

}  // namespace kestra
