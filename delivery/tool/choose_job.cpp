// Job numbers come again, keys do not.
#include "delivery/tool/choose_job.h"

#include <algorithm>
#include <iterator>

#include "delivery/tool/words.h"

namespace kestra::delivery {

std::optional<int> jobNumber(const std::string& word) {
  constexpr std::size_t kMostDigits = 9;  // all such numbers are an int
  if (word.empty() || word.size() > kMostDigits ||
      word.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  return std::stoi(word);
}

std::vector<Remembered> matchingJobs(const std::vector<Remembered>& all, const std::string& word) {
  std::vector<Remembered> found;
  if (const std::optional<int> number = jobNumber(word)) {
    // A job is found with all its printings, even if one of them has no journal left to tell.
    for (const Remembered& one : all) {
      const bool isOfNumber = std::any_of(all.begin(), all.end(), [&](const Remembered& other) {
        return other.key == one.key && other.journal.number == *number && other.journal.begun != 0;
      });
      if (isOfNumber) found.push_back(one);
    }
  }
  if (!found.empty() || word.empty()) return found;
  std::copy_if(all.begin(), all.end(), std::back_inserter(found),
               [&word](const Remembered& one) { return one.key.rfind(word, 0) == 0; });
  return found;
}

Result<void> areOneJob(const std::vector<Remembered>& printings, const std::string& word) {
  std::string keys;
  for (const Remembered& one : printings) {
    if (one.isLast) keys += (keys.empty() ? "" : ", ") + one.key;
  }
  const bool isOne =
      std::all_of(printings.begin(), printings.end(),
                  [&printings](const Remembered& one) { return one.key == printings.front().key; });
  if (!isOne) return Problem{harmless(word) + " is more than one job; name its key: " + keys};
  return {};
}

}  // namespace kestra::delivery
