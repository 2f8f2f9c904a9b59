// What the options say is taken apart by the print system's own library and only added to.
#include "tools/size/job_size.h"

#include <cups/cups.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace kestra {
namespace {

// Half a millimetre: 102 x 152 mm is the label of 4 x 6 inches. The print system allows as much.
constexpr int kSameSize = 50;
// How far the print system's own choice may lie from the size that was asked for.
constexpr int kPrintSystemGuess = 500;
constexpr double kHundredthsPerPoint = 2540.0 / 72.0;

struct Wish {
  std::string size;   // PageSize, or PageRegion
  std::string media;  // names of sizes, trays and kinds of paper, with commas
};

Wish wishOf(const std::string& text) {
  cups_option_t* options = nullptr;
  const int count = cupsParseOptions(text.c_str(), 0, &options);
  const auto value = [&](const char* name) -> std::string {
    const char* found = cupsGetOption(name, count, options);
    return found == nullptr ? "" : found;
  };
  Wish wish{value("PageSize"), value("media")};
  if (wish.size.empty()) wish.size = value("PageRegion");
  cupsFreeOptions(count, options);
  return wish;
}

bool isCustom(const std::string& name) { return name.rfind("Custom.", 0) == 0; }

std::vector<std::string> wordsOf(const std::string& media) {
  std::vector<std::string> words;
  for (std::size_t start = 0; start < media.size();) {
    const std::size_t end = std::min(media.find(',', start), media.size());
    words.push_back(media.substr(start, end - start));
    start = end + 1;
  }
  return words;
}

std::optional<PageMeasure> measureOfMedia(const std::string& media) {
  for (const std::string& word : wordsOf(media)) {
    if (const auto measure = measureOfName(word)) return measure;
  }
  return std::nullopt;
}

PageMeasure measureOf(const ppd_size_t& size) {
  const auto hundredths = [](float points) {
    return static_cast<int>(std::lround(static_cast<double>(points) * kHundredthsPerPoint));
  };
  return {hundredths(size.width), hundredths(size.length)};
}

// Nothing for a size that the print system would not find in the description.
std::optional<PageMeasure> measureInDescription(ppd_file_t* ppd, const std::string& name) {
  if (isCustom(name)) return measureOfName(name);
  const ppd_size_t* size = name.empty() ? nullptr : ppdPageSize(ppd, name.c_str());
  if (size == nullptr || name == "Custom") return std::nullopt;
  return measureOf(*size);
}

bool isInLimits(const ppd_file_t& ppd, const PageMeasure& measure) {
  if (ppd.variable_sizes == 0) return false;
  const auto fits = [](int side, float least, float most) {
    const double points = side / kHundredthsPerPoint;
    constexpr double kSlack = kSameSize / kHundredthsPerPoint;
    return points >= static_cast<double>(least) - kSlack &&
           points <= static_cast<double>(most) + kSlack;
  };
  return fits(measure.width, ppd.custom_min[0], ppd.custom_max[0]) &&
         fits(measure.height, ppd.custom_min[1], ppd.custom_max[1]);
}

// The description's name for a page of this measure, or a custom size; empty where it has none.
std::string nameFor(ppd_file_t* ppd, const PageMeasure& measure) {
  const ppd_size_t* best = nullptr;
  int least = 0;
  for (int i = 0; i < ppd->num_sizes; ++i) {
    const ppd_size_t& size = ppd->sizes[i];
    const PageMeasure own = measureOf(size);
    if (std::string(size.name) == "Custom" || !isNear(own, measure, kSameSize)) continue;
    const int away = std::abs(own.width - measure.width) + std::abs(own.height - measure.height);
    if (best != nullptr && away >= least) continue;
    best = &size;
    least = away;
  }
  if (best != nullptr) return best->name;
  return isInLimits(*ppd, measure) ? customSize(measure) : "";
}

std::string defaultWords(ppd_file_t* ppd) {
  const ppd_option_t* option = ppdFindOption(ppd, "PageSize");
  if (option == nullptr) return "the printer's default size";
  const ppd_choice_t* choice = ppdFindChoice(const_cast<ppd_option_t*>(option), option->defchoice);
  return std::string(option->defchoice) +
         (choice == nullptr ? "" : " (" + std::string(choice->text) + ")");
}

}  // namespace

JobSize sizeOfJob(ppd_file_t* ppd, const std::string& options,
                  const std::optional<PageMeasure>& document) {
  const Wish wish = wishOf(options);
  const auto with = [&](const std::string& name) {
    return JobSize{options + (options.empty() ? "" : " ") + "PageSize=" + name, ""};
  };
  if (const auto known = measureInDescription(ppd, wish.size)) {
    // The print system names a size near the one that was asked for, or cuts it to whole points.
    const auto exact = measureOfMedia(wish.media);
    if (!exact || !isNear(*known, *exact, kPrintSystemGuess)) return {options, ""};
    const std::string name = nameFor(ppd, *exact);
    return name.empty() || name == wish.size ? JobSize{options, ""} : with(name);
  }

  if (wish.size.empty()) {
    // The print system finds the description's own names there by itself.
    for (const std::string& word : wordsOf(wish.media)) {
      if (ppdPageSize(ppd, word.c_str()) != nullptr && !isCustom(word)) return {options, ""};
    }
  }
  std::optional<PageMeasure> measure = measureOfName(wish.size);
  if (!measure) measure = measureOfMedia(wish.media);
  std::string asked = wish.size.empty() ? wish.media : wish.size;
  if (asked.empty()) {
    if (!document) return {options, ""};
    measure = document;
  }
  if (measure) {
    const std::string name = nameFor(ppd, *measure);
    if (!name.empty()) return with(name);
    asked += (asked.empty() ? "" : ", ") + measureWords(*measure);
  }
  return {options, "The printer does not have the page size \"" + asked + "\"; it prints on " +
                       defaultWords(ppd) + "."};
}

}  // namespace kestra
