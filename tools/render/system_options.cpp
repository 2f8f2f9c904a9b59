// Holds the names in a table, with the values of those whose values can be counted.
#include "tools/render/system_options.h"

#include <strings.h>

#include <array>
#include <cstdlib>

namespace kestra {
namespace {

constexpr long kMostCopies = 9999;

struct SystemOption {
  const char* name;
  const char* values;  // a blank before each; empty where they are numbers or free
};

constexpr const char* kYesNo = " true false";

constexpr std::array<SystemOption, 36> kSystemOptions = {{
    {"collate", kYesNo},
    {"columns", ""},
    {"copies", ""},
    {"cpi", ""},
    {"fill", kYesNo},
    {"fit-to-page", kYesNo},
    {"fitplot", kYesNo},
    {"center-of-pixel", kYesNo},
    {"gamma", ""},
    {"hue", ""},
    {"landscape", kYesNo},
    {"lpi", ""},
    {"media", ""},
    {"mirror", kYesNo},
    {"natural-scaling", ""},
    {"number-up", " 1 2 4 6 9 16"},
    {"number-up-layout", " btlr btrl lrbt lrtb rlbt rltb tblr tbrl"},
    {"orientation-requested", " 3 4 5 6"},
    {"outputorder", " normal reverse"},
    {"page-border", " none single single-thick double double-thick"},
    {"page-bottom", ""},
    {"page-left", ""},
    {"page-ranges", ""},
    {"page-right", ""},
    {"page-set", " all even odd"},
    {"page-top", ""},
    {"position", " center top bottom left right top-left top-right bottom-left bottom-right"},
    {"ppi", ""},
    {"prettyprint", kYesNo},
    {"print-color-mode", ""},
    {"print-scaling", " auto auto-fit fill fit none"},
    {"printer-resolution", ""},
    {"saturation", ""},
    {"scaling", ""},
    {"wrap", kYesNo},
    {"pagesize", ""},
}};

bool same(const char* a, const std::string& b) { return strcasecmp(a, b.c_str()) == 0; }

// Whether `value` is one of the words of a list with a blank before each.
bool isListed(const std::string& values, const std::string& value) {
  for (std::size_t at = 0; at < values.size();) {
    std::size_t end = values.find(' ', at + 1);
    if (end == std::string::npos) end = values.size();
    if (same(values.substr(at + 1, end - at - 1).c_str(), value)) return true;
    at = end;
  }
  return false;
}

// "1-3,5,7-": pages and stretches of pages, the first or the last of which may be left out.
bool isPageRanges(const std::string& value) {
  bool digits = false;
  bool stretch = false;
  for (const char c : value + ",") {
    if (c >= '0' && c <= '9') {
      digits = true;
    } else if (c == '-' && !stretch) {
      stretch = true;
    } else if (c == ',' && digits) {
      digits = stretch = false;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

int copyCount(const std::string& text) {
  char* end = nullptr;
  const long count = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || text[0] < '0' || text[0] > '9' || *end != '\0') return 0;
  return count >= 1 && count <= kMostCopies ? static_cast<int>(count) : 0;
}

bool isSystemOption(const std::string& name) {
  for (const SystemOption& known : kSystemOptions) {
    if (same(known.name, name)) return true;
  }
  return false;
}

std::string systemOptionNames() {
  std::string names;
  for (const SystemOption& known : kSystemOptions) {
    if (!same("pagesize", known.name)) names += std::string(" ") + known.name;
  }
  return names;
}

std::string systemOptionValues(const std::string& name) {
  for (const SystemOption& known : kSystemOptions) {
    if (same(known.name, name)) return known.values;
  }
  return {};
}

std::string wrongSystemValue(const std::string& name, const std::string& value) {
  if (same("copies", name) && copyCount(value) == 0) {
    return "copies is \"" + value + "\"; give a number from 1 to 9999";
  }
  if (same("page-ranges", name) && !isPageRanges(value)) {
    return "page-ranges is \"" + value + "\"; give numbers of pages, for example 1-3,5";
  }
  const std::string values = systemOptionValues(name);
  if (values.empty() || isListed(values, value)) return {};
  return "unknown value \"" + value + "\" for " + name + "; it can be:" + values;
}

}  // namespace kestra
