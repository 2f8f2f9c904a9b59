// Reads a printer description with libcups and checks options against its choices.
//
// Names and values are compared as the print system compares them, without regard to case, so what
// passes here is what the filter finds.
#include "tools/render/printer_options.h"

#include <strings.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "tools/render/system_options.h"
#include "tools/size/job_size.h"

namespace kestra {
namespace {

constexpr double kPointsPerInch = 72.0;
bool same(const char* a, const std::string& b) { return strcasecmp(a, b.c_str()) == 0; }

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

// The height of Custom.WIDTHxHEIGHT with an optional unit, in points; nothing for any other text,
// and where there is no area.
std::optional<double> customHeight(const std::string& value) {
  struct Unit {
    const char* name;
    double points;
  };
  static constexpr std::array<Unit, 7> kUnits = {{{"", 1},
                                                  {"pt", 1},
                                                  {"mm", kPointsPerInch / 25.4},
                                                  {"cm", kPointsPerInch / 2.54},
                                                  {"in", kPointsPerInch},
                                                  {"ft", kPointsPerInch * 12},
                                                  {"m", kPointsPerInch / 0.0254}}};
  constexpr std::size_t kPrefix = 7;  // "Custom."
  // Here the print system wants the letters as they are.
  if (value.compare(0, kPrefix, "Custom.") != 0) return std::nullopt;
  const char* at = value.c_str() + kPrefix;
  const char* start = at;
  if (!takeNumber(at) || *at != 'x') return std::nullopt;
  const std::string width(start, at);
  start = ++at;
  if (!takeNumber(at)) return std::nullopt;
  const std::string height(start, at);
  for (const Unit& unit : kUnits) {
    if (!same(unit.name, at)) continue;
    // Less than a point either way is no page.
    const double points = std::strtod(height.c_str(), nullptr) * unit.points;
    if (points < 1 || std::strtod(width.c_str(), nullptr) * unit.points < 1) return std::nullopt;
    return points;
  }
  return std::nullopt;
}

}  // namespace

Result<void> PrinterOptions::open(const std::string& path) {
  ppd_.reset(ppdOpenFile(path.c_str()));
  if (ppd_ == nullptr) {
    int line = 0;
    const ppd_status_t status = ppdLastError(&line);
    return Problem{path + " is no printer description that can be read: " + ppdErrorString(status) +
                   (line > 0 ? " (line " + std::to_string(line) + ")" : "")};
  }
  ppdMarkDefaults(ppd_.get());
  return {};
}

std::string PrinterOptions::optionNames() const {
  std::string names;
  for (ppd_option_t* option = ppdFirstOption(ppd_.get()); option != nullptr;
       option = ppdNextOption(ppd_.get())) {
    if (same("PageRegion", option->keyword)) continue;  // PageSize by another name
    names += std::string(" ") + option->keyword;
  }
  return names + "; the print system adds:" + systemOptionNames();
}

bool PrinterOptions::isGoodCustomSize(const std::string& value) const {
  const std::optional<double> height = customHeight(value);
  return height && *height <= static_cast<double>(ppd_->custom_max[1]);
}

bool PrinterOptions::isKnownSize(const std::string& name, const std::string& value) const {
  if (value.compare(0, 7, "Custom.") == 0) return isGoodCustomSize(value);
  return sizeOfJob(ppd_.get(), name + "=" + value, {}).warning.empty();
}

std::string PrinterOptions::values(const std::string& name, const std::string& before) const {
  const ppd_option_t* option =
      ppdFindOption(ppd_.get(), same("media", name) ? "PageSize" : name.c_str());
  std::string values;
  if (option == nullptr) {
    std::string listed = systemOptionValues(name);
    for (std::size_t at = 0; (at = listed.find(' ', at)) != std::string::npos;
         at += before.size()) {
      listed.replace(at, 1, before);
    }
    return listed;
  }
  const bool words = before != " ";
  std::string custom;
  for (int i = 0; i < option->num_choices; ++i) {
    const ppd_choice_t& choice = option->choices[i];
    if (same("Custom", choice.choice)) {  // stands for sizes that are written out
      custom = before + "Custom.WIDTHxHEIGHTmm";
      continue;
    }
    values += before + choice.choice;
    if (words && choice.text[0] != '\0') values += std::string(": ") + choice.text;
  }
  return values + custom;
}

Result<void> PrinterOptions::check(const std::string& name, const std::string& value) const {
  const ppd_option_t* option = ppdFindOption(ppd_.get(), name.c_str());
  if (option == nullptr && !isSystemOption(name)) {
    return Problem{"unknown option \"" + name + "\"; this printer has:" + optionNames()};
  }
  bool known = false;
  if (option == nullptr) {
    const std::string problem = wrongSystemValue(name, value);
    if (!problem.empty()) return Problem{problem};
    if (!same("media", name) || isKnownSize(name, value)) return {};
  } else if (same("PageSize", name) || same("PageRegion", name)) {
    known = isKnownSize(name, value);
  }
  for (int i = 0; option != nullptr && i < option->num_choices; ++i) {
    const char* choice = option->choices[i].choice;
    known = known || (same("Custom", choice) ? isGoodCustomSize(value) : same(choice, value));
  }
  if (known) return {};
  std::string problem = "unknown value \"" + value + "\" for " +
                        (option != nullptr ? option->keyword : name) +
                        "; it can be:" + values(name, " ");
  const double most = static_cast<double>(ppd_->custom_max[1]) / kPointsPerInch * 25.4;
  if (value.compare(0, 7, "Custom.") == 0 && most > 0) {
    problem += " of at most " + std::to_string(std::lround(most)) + " mm height";
  }
  return Problem{problem};
}

Result<void> PrinterOptions::add(const std::string& words) {
  cups_option_t* parsed = nullptr;
  const int count = cupsParseOptions(words.c_str(), 0, &parsed);
  Result<void> good;
  if (count <= 0) good = Problem{"-o wants NAME=VALUE, not \"" + words + "\""};
  for (int i = 0; i < count && good; ++i) {
    const std::string name = parsed[i].name;
    const std::string value = parsed[i].value;
    good = check(name, value);
    bool known = false;
    for (auto& [givenName, givenValue] : given_) {
      if (!same(givenName.c_str(), name)) continue;
      givenValue = value;
      known = true;
    }
    if (!known) given_.emplace_back(name, value);
  }
  cupsFreeOptions(count, parsed);
  if (!good) return good;
  givenText_ += (givenText_.empty() ? "" : " ") + words;
  text_ = sizeOfJob(ppd_.get(), givenText_, {}).options;
  parsed = nullptr;
  const int all = cupsParseOptions(text_.c_str(), 0, &parsed);
  cupsMarkOptions(ppd_.get(), all, parsed);
  cupsFreeOptions(all, parsed);
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

PageArea PrinterOptions::page() const {
  const ppd_size_t* size = ppdPageSize(ppd_.get(), nullptr);
  if (size == nullptr) return {};
  const auto points = [](float value) { return static_cast<double>(value); };
  return {points(size->width),  points(size->length), points(size->left),
          points(size->bottom), points(size->right),  points(size->top)};
}

std::string PrinterOptions::sizeName(double width, double height) const {
  for (int i = 0; i < ppd_->num_sizes; ++i) {
    const ppd_size_t& size = ppd_->sizes[i];
    if (std::fabs(static_cast<double>(size.width) - width) <= 1 &&
        std::fabs(static_cast<double>(size.length) - height) <= 1 && !same("Custom", size.name)) {
      return size.name;
    }
  }
  return {};
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
