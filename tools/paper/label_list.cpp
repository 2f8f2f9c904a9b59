// Takes lines apart and puts them together.
//
// A list that is half understood would acquit a printer that lost the other half.
#include "tools/paper/label_list.h"

#include <sstream>

namespace kestra::paper {
namespace {

constexpr std::size_t kDigestDigits = 64;
constexpr const char* kBlanks = " \t\r";

bool isDigest(const std::string& text) {
  return text.size() == kDigestDigits &&
         text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

}  // namespace

Result<std::vector<ListedLabel>> parseList(const std::string& text) {
  std::vector<ListedLabel> labels;
  std::istringstream lines(text);
  std::string line;
  for (std::size_t number = 1; std::getline(lines, line); ++number) {
    line.erase(line.find_last_not_of(kBlanks) + 1);
    if (line.empty() || line[0] == '#') continue;
    ListedLabel label;
    const std::size_t end = line.find_first_of(kBlanks);
    label.digest = line.substr(0, end);
    if (!isDigest(label.digest)) {
      return Problem{"line " + std::to_string(number) + " does not start with a digest of " +
                     std::to_string(kDigestDigits) + " digits from 0 to 9 and a to f"};
    }
    if (end != std::string::npos) label.name = line.substr(line.find_first_not_of(kBlanks, end));
    if (label.name.empty()) label.name = "label " + std::to_string(labels.size() + 1);
    labels.push_back(label);
  }
  return labels;
}

std::string listLine(const ListedLabel& label) { return label.digest + "  " + label.name; }

}  // namespace kestra::paper
