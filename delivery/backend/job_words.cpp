// Options are taken apart by the print system's own library, which also wrote them.
#include "delivery/backend/job_words.h"

#include <cups/cups.h>

#include <algorithm>
#include <charconv>
#include <cstddef>

#include "filter/base/number.h"

namespace kestra::delivery {
namespace {

constexpr std::size_t kWordsWithoutFile = 6;

std::map<std::string, std::string> optionsOf(const std::string& text) {
  cups_option_t* options = nullptr;
  const int count = cupsParseOptions(text.c_str(), 0, &options);
  std::map<std::string, std::string> found;
  for (int i = 0; i < count; ++i) found[options[i].name] = options[i].value;
  cupsFreeOptions(count, options);
  return found;
}

std::string valueOf(const std::map<std::string, std::string>& options, const char* name) {
  const auto found = options.find(name);
  return found == options.end() ? "" : found->second;
}

long long secondsOf(const std::string& text) {
  long long seconds = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), seconds);
  const bool isWhole = read.ec == std::errc() && read.ptr == text.data() + text.size();
  return isWhole && seconds > 0 ? seconds : 0;
}

}  // namespace

std::optional<JobWords> readJobWords(const std::vector<std::string>& words) {
  if (words.size() != kWordsWithoutFile && words.size() != kWordsWithoutFile + 1) {
    return std::nullopt;
  }
  JobWords job;
  job.printer = words[0];
  job.id = words[1];
  job.number = textToInt32(words[1]);
  job.user = words[2];
  job.title = words[3];
  job.copies = std::max(textToInt32(words[4]), 1);
  job.options = words[5];
  job.option = optionsOf(job.options);
  if (words.size() > kWordsWithoutFile) job.file = words[kWordsWithoutFile];
  job.uuid = valueOf(job.option, "job-uuid");
  job.completedAt = secondsOf(valueOf(job.option, "time-at-completed"));
  job.createdAt = secondsOf(valueOf(job.option, "time-at-creation"));
  return job;
}

}  // namespace kestra::delivery
