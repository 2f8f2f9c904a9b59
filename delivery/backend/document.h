// A document that the print system hands over as a file instead of a pipe, as on a queue without a
// filter: it is sent as it is, as often as copies were asked for.
#pragma once

#include <string>

namespace kestra::delivery {

/// Makes the file standard input. Several copies come from a process of their own, which ends with
/// its reader.
/// @return one sentence where the file cannot be read, else nothing
[[nodiscard]] std::string readDocument(const std::string& path, int copies);

}  // namespace kestra::delivery
