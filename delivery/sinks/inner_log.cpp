// The words are those that the print system itself understands.
#include "delivery/sinks/inner_log.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>

#include "delivery/sinks/printable.h"

namespace kestra::delivery {
namespace {

constexpr std::size_t kLongestLine = 2000;
constexpr std::array<std::string_view, 11> kPassedOn = {
    "DEBUG:", "DEBUG2:", "INFO:",  "NOTICE:", "WARNING:", "ERROR:",
    "ALERT:", "CRIT:",   "EMERG:", "STATE:",  "ATTR:"};

bool beginsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

}  // namespace

std::optional<std::string> relayed(std::string_view line) {
  if (line.empty() || beginsWith(line, "PAGE:")) return std::nullopt;
  const bool isKnown =
      std::any_of(kPassedOn.begin(), kPassedOn.end(),
                  [line](std::string_view word) { return beginsWith(line, word); });
  std::string text = (isKnown ? "" : "DEBUG: ") + printable(line);
  if (text.size() > kLongestLine) text.resize(kLongestLine);
  return text;
}

std::optional<std::uint64_t> bytesWritten(std::string_view line) {
  constexpr std::string_view kBefore = "DEBUG: Wrote ";
  constexpr std::string_view kBehind = " bytes of print data";
  constexpr std::size_t kMostDigits = 9;
  if (!beginsWith(line, kBefore)) return std::nullopt;
  line.remove_prefix(kBefore.size());
  std::uint64_t number = 0;
  std::size_t digits = 0;
  for (; digits < line.size() && line[digits] >= '0' && line[digits] <= '9'; ++digits) {
    if (digits == kMostDigits) return std::nullopt;
    number = 10 * number + static_cast<std::uint64_t>(line[digits] - '0');
  }
  if (digits == 0 || !beginsWith(line.substr(digits), kBehind)) return std::nullopt;
  return number;
}

void LineCutter::add(std::string_view text, const std::function<void(const std::string&)>& onLine) {
  for (const char c : text) {
    if (c == '\n') {
      onLine(line_);
      line_.clear();
    } else if (line_.size() < 2 * kLongestLine) {
      line_ += c;
    }
  }
}

}  // namespace kestra::delivery
