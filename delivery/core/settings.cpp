// Reads the administrator's choices. A wrong line costs nothing but itself: labels are printed
// whatever the file holds.
#include "delivery/core/settings.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "filter/base/file.h"

namespace kestra::delivery {
namespace {

constexpr std::size_t kLongestFile = 65536;
constexpr std::size_t kMostProblems = 10;
constexpr std::string_view kBlanks = " \t\r\v\f";

std::vector<std::string_view> wordsOf(std::string_view line) {
  line = line.substr(0, line.find('#'));
  std::vector<std::string_view> words;
  for (;;) {
    const std::size_t start = line.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) return words;
    line.remove_prefix(start);
    const std::size_t end = std::min(line.find_first_of(kBlanks), line.size());
    words.push_back(line.substr(0, end));
    line.remove_prefix(end);
  }
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Bytes in a unit, 0 for any other word.
std::uint64_t unitOf(std::string_view word) {
  std::string small(word);
  std::transform(small.begin(), small.end(), small.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (small == "kb") return std::uint64_t{1} << 10;
  if (small == "mb") return std::uint64_t{1} << 20;
  if (small == "gb") return std::uint64_t{1} << 30;
  return 0;
}

// "256 MB", "256MB": bytes, if they can be counted.
std::optional<std::uint64_t> sizeOf(std::string_view number, std::string_view unit) {
  const std::uint64_t factor = unitOf(unit);
  if (number.empty() || factor == 0) return std::nullopt;
  std::uint64_t value = 0;
  for (const char c : number) {
    if (!isDigit(c) || value > UINT64_MAX / 10 - 1) return std::nullopt;
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
  }
  if (value > (UINT64_MAX - 1) / factor) return std::nullopt;
  return value * factor;
}

std::optional<std::uint64_t> imageBytesOf(const std::vector<std::string_view>& words) {
  if (words.size() == 2 && words[1] == "all") return Settings::kAll;
  if (words.size() == 2 && words[1] == "none") return 0;
  if (words.size() == 3) return sizeOf(words[1], words[2]);
  if (words.size() != 2) return std::nullopt;
  const auto unit = std::find_if_not(words[1].begin(), words[1].end(), isDigit) - words[1].begin();
  const auto digits = static_cast<std::size_t>(unit);
  return sizeOf(words[1].substr(0, digits), words[1].substr(digits));
}

// What is wrong with a line; empty where nothing is.
std::string readLine(std::string_view line, Settings& settings) {
  const std::vector<std::string_view> words = wordsOf(line);
  if (words.empty()) return "";
  if (words[0] == "doubt") {
    const auto doubt = words.size() == 2 ? doubtOfWord(words[1]) : std::nullopt;
    if (!doubt) return "\"doubt\" can be again, skip or hold";
    settings.doubt = *doubt;
    return "";
  }
  if (words[0] == "debug-images") {
    const auto bytes = imageBytesOf(words);
    if (!bytes) return "\"debug-images\" can be all, none, or a whole number of KB, MB or GB";
    settings.imageBytes = *bytes;
    return "";
  }
  return "there are only the settings \"doubt\" and \"debug-images\"";
}

void addProblem(std::string& problems, const std::string& sentence) {
  if (!problems.empty()) problems += '\n';
  problems += sentence;
}

}  // namespace

Settings parseSettings(const std::string& text, std::string& problems) {
  Settings settings;
  std::size_t wrong = 0;
  std::size_t number = 1;
  for (std::size_t at = 0; at < text.size(); ++number) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::string problem = readLine(std::string_view(text).substr(at, end - at), settings);
    at = end + 1;
    if (problem.empty() || ++wrong > kMostProblems) continue;
    addProblem(problems, "Line " + std::to_string(number) + " is left out: " + problem + ".");
  }
  if (wrong > kMostProblems) {
    addProblem(problems, "So are " + std::to_string(wrong - kMostProblems) + " more lines.");
  }
  return settings;
}

Settings readSettings(const std::string& path, std::string& problems) {
  errno = 0;
  const FilePtr file = openRegularFile(path.c_str());
  if (file == nullptr) {
    if (errno == ENOENT) return {};
    const char* why = errno == ELOOP ? "it is a link"
                      : errno == 0   ? "it is no file"
                                     : std::strerror(errno);
    addProblem(problems,
               std::string("The file is not read, the usual settings hold: ") + why + ".");
    return {};
  }
  std::string text(kLongestFile + 1, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (text.size() > kLongestFile) {
    addProblem(problems, "The file is longer than 64 KB; the rest is left out.");
    text.resize(text.rfind('\n', kLongestFile) + 1);
  }
  return parseSettings(text, problems);
}

}  // namespace kestra::delivery
