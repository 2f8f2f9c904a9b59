// Picks three kinds of lines out of the filter's log: a page begins, a frame was stored, an error.
//
// All other lines are for a person; they are kept but not needed here.
#include "tools/render/job_log.h"

#include <cstdlib>
#include <string_view>

namespace kestra {
namespace {

constexpr std::string_view kPage = "DEBUG:PAGE: ";
constexpr std::string_view kStored = "DEBUG:DumpPageToFile: dumped the page data to file:";
constexpr std::string_view kStoredEnd = ", size:";
constexpr std::string_view kError = "ERROR:";
constexpr std::string_view kCritical = "CRIT:";
constexpr std::size_t kMostErrors = 100;

bool startsWith(const std::string& text, std::string_view start) {
  return text.compare(0, start.size(), start) == 0;
}

}  // namespace

void JobLog::take(const std::string& piece) {
  rest_ += piece;
  std::size_t at = 0;
  for (std::size_t end = rest_.find('\n'); end != std::string::npos; end = rest_.find('\n', at)) {
    line(rest_.substr(at, end - at));
    at = end + 1;
  }
  rest_.erase(0, at);
}

void JobLog::line(const std::string& text) {
  if (startsWith(text, kPage)) {
    page_ = std::strtoul(text.c_str() + kPage.size(), nullptr, 10);
  } else if (startsWith(text, kStored)) {
    const std::size_t end = text.rfind(kStoredEnd);
    frames_[page_] = text.substr(kStored.size(), end - kStored.size());
  } else if (startsWith(text, kError) || startsWith(text, kCritical)) {
    const std::size_t words = text.find_first_not_of(' ', text.find(':') + 1);
    if (errors_.size() < kMostErrors && words != std::string::npos) {
      errors_.push_back(text.substr(words));
    }
  }
}

std::string JobLog::frameOf(std::size_t page) const {
  const auto found = frames_.find(page);
  return found == frames_.end() ? std::string() : found->second;
}

}  // namespace kestra
