// Finds the job that a person means.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "delivery/tool/remembered.h"
#include "filter/base/result.h"

namespace kestra::delivery {

/// The number, where a word is one: digits, at most nine.
[[nodiscard]] std::optional<int> jobNumber(const std::string& word);

/// All printings of the jobs that a word fits: by number, else by key or the start of a key.
[[nodiscard]] std::vector<Remembered> matchingJobs(const std::vector<Remembered>& all,
                                                   const std::string& word);

/// Whether all printings are of one job. If not, the problem names the keys to choose from.
[[nodiscard]] Result<void> areOneJob(const std::vector<Remembered>& printings,
                                     const std::string& word);

}  // namespace kestra::delivery
