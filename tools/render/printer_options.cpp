// Reads a printer description with libcups and checks options against its choices.
//
// Names and values are compared as the print system compares them, without regard to case, so what
// passes here is what the filter finds.
#include "tools/render/printer_options.h"

#include <strings.h>

#include <array>
#include <cstdlib>

namespace kestra {
namespace {

constexpr double kPointsPerInch = 72.0;
constexpr long kMostCopies = 9999;

// Options of the print system itself, known to it for every printer.
constexpr std::array<const char*, 36> kSystemOptions = {"collate",
                                                        "columns",
                                                        "copies",
                                                        "cpi",
                                                        "fill",
                                                        "fit-to-page",
                                                        "fitplot",
                                                        "center-of-pixel",
                                                        "gamma",
                                                        "hue",
                                                        "landscape",
                                                        "lpi",
                                                        "media",
                                                        "mirror",
                                                        "natural-scaling",
                                                        "number-up",
                                                        "number-up-layout",
                                                        "orientation-requested",
                                                        "outputorder",
                                                        "page-border",
                                                        "page-bottom",
                                                        "page-left",
                                                        "page-ranges",
                                                        "page-right",
                                                        "page-set",
                                                        "page-top",
                                                        "position",
                                                        "ppi",
                                                        "prettyprint",
                                                        "print-color-mode",
                                                        "print-scaling",
                                                        "printer-resolution",
                                                        "saturation",
                                                        "scaling",
                                                        "wrap",
                                                        "pagesize"};

bool same(const char* a, const std::string& b) { return strcasecmp(a, b.c_str()) == 0; }

bool isSystemOption(const std::string& name) {
  for (const char* known : kSystemOptions) {
    if (same(known, name)) return true;
  }
  return false;
}

// Digits with at most one dot.
bool takeNumber(const char*& at) {
  bool digits = false;
  bool dot = false;
  for (; (*at >= '0' && *at <= '9') || (*at == '.' && !dot); ++at) {
    if (*at == '.') dot = true;
    if (*at != '.') digits = true;
  }
  return digits;
}

// Custom.WIDTHxHEIGHT with an optional unit
bool isCustomSize(const std::string& value) {
  static constexpr std::array<const char*, 7> kUnits = {"", "pt", "mm", "cm", "in", "ft", "m"};
  constexpr std::size_t kPrefix = 7;  // "Custom."
  // Here the print system wants the letters as they are.
  if (value.compare(0, kPrefix, "Custom.") != 0) return false;
  const char* at = value.c_str() + kPrefix;
  if (!takeNumber(at) || *at++ != 'x' || !takeNumber(at)) return false;
  for (const char* unit : kUnits) {
    if (same(unit, at)) return true;
  }
  return false;
}

// A whole number from 1 to 9999, or 0.
int copyCount(const std::string& text) {
  char* end = nullptr;
  const long count = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || text[0] < '0' || text[0] > '9' || *end != '\0') return 0;
  return count >= 1 && count <= kMostCopies ? static_cast<int>(count) : 0;
}

}  // namespace

bool PrinterOptions::open(const std::string& ppd_path, std::string& problem) {
  ppd_.reset(ppdOpenFile(ppd_path.c_str()));
  if (ppd_ == nullptr) {
    int line = 0;
    const ppd_status_t status = ppdLastError(&line);
    problem = ppd_path + " is no printer description that can be read: " + ppdErrorString(status);
    if (line > 0) problem += " (line " + std::to_string(line) + ")";
    return false;
  }
  ppdMarkDefaults(ppd_.get());
  return true;
}

std::string PrinterOptions::optionNames() const {
  std::string names;
  for (ppd_option_t* option = ppdFirstOption(ppd_.get()); option != nullptr;
       option = ppdNextOption(ppd_.get())) {
    if (same("PageRegion", option->keyword)) continue;  // PageSize by another name
    names += std::string(" ") + option->keyword;
  }
  names += "; the print system adds:";
  for (const char* name : kSystemOptions) {
    if (!same("pagesize", name)) names += std::string(" ") + name;
  }
  return names;
}

bool PrinterOptions::check(const std::string& name, const std::string& value,
                           std::string& problem) const {
  const ppd_option_t* option = ppdFindOption(ppd_.get(), name.c_str());
  if (option == nullptr) {
    if (same("copies", name) && copyCount(value) == 0) {
      problem = "copies is \"" + value + "\"; give a number from 1 to 9999";
      return false;
    }
    if (isSystemOption(name)) return true;
    problem = "unknown option \"" + name + "\"; this printer has:" + optionNames();
    return false;
  }
  std::string choices;
  bool custom = false;
  for (int i = 0; i < option->num_choices; ++i) {
    const char* choice = option->choices[i].choice;
    if (same("Custom", choice)) {  // stands for sizes that are written out
      custom = true;
      continue;
    }
    if (same(choice, value)) return true;
    choices += std::string(" ") + choice;
  }
  if (custom) {
    if (isCustomSize(value)) return true;
    choices += " Custom.WIDTHxHEIGHTmm";
  }
  problem = "unknown value \"" + value + "\" for " + option->keyword + "; it can be:" + choices;
  return false;
}

bool PrinterOptions::add(const std::string& words, std::string& problem) {
  cups_option_t* parsed = nullptr;
  const int count = cupsParseOptions(words.c_str(), 0, &parsed);
  bool good = count > 0;
  if (!good) problem = "-o wants NAME=VALUE, not \"" + words + "\"";
  for (int i = 0; i < count && good; ++i) {
    const std::string name = parsed[i].name;
    const std::string value = parsed[i].value;
    good = check(name, value, problem);
    bool known = false;
    for (auto& [givenName, givenValue] : given_) {
      if (!same(givenName.c_str(), name)) continue;
      givenValue = value;
      known = true;
    }
    if (!known) given_.emplace_back(name, value);
  }
  if (good) {
    cupsMarkOptions(ppd_.get(), count, parsed);
    text_ += (text_.empty() ? "" : " ") + words;
  }
  cupsFreeOptions(count, parsed);
  return good;
}

std::string PrinterOptions::givenValue(const std::string& name) const {
  for (const auto& [givenName, value] : given_) {
    if (same(givenName.c_str(), name)) return value;
  }
  return {};
}

std::string PrinterOptions::choice(const std::string& keyword) const {
  const ppd_choice_t* marked = ppdFindMarkedChoice(ppd_.get(), keyword.c_str());
  return marked == nullptr ? std::string() : marked->choice;
}

unsigned PrinterOptions::headDots(double dpi) const {
  const ppd_attr_t* attribute = ppdFindAttr(ppd_.get(), "MaxMediaWidth", nullptr);
  if (attribute == nullptr || attribute->value == nullptr) return 0;
  const double dots = std::strtod(attribute->value, nullptr) / kPointsPerInch * dpi;
  return dots > 0 && dots < 1e6 ? static_cast<unsigned>(dots) : 0;
}

std::string PrinterOptions::scalingOption() const {
  const std::string many = givenValue("number-up");
  if (!many.empty() && many != "1") return "number-up";
  for (const char* name : {"fit-to-page", "fitplot", "fill"}) {
    if (same("true", givenValue(name))) return name;
  }
  const std::string scaling = givenValue("print-scaling");
  return same("fit", scaling) || same("fill", scaling) ? "print-scaling=" + scaling : "";
}

int PrinterOptions::copies() const {
  const int count = copyCount(givenValue("copies"));
  return count > 0 ? count : 1;
}

}  // namespace kestra
