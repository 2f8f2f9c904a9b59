// Writes small printer descriptions for tests: page sizes in points, options with their choices.
// Why: tests need choices that a sensible printer description does not have ("256", "yes", none).
#pragma once

#include <string>
#include <vector>

namespace kestra::testing_support {

struct PpdSize {
  std::string name;
  double width;   ///< points
  double length;  ///< points
  /// printable area; all 0: the whole page
  double left = 0;
  double bottom = 0;
  double right = 0;
  double top = 0;
};

struct PpdOption {
  std::string keyword;
  std::string defaultChoice;
  std::vector<std::string> choices;
};

class PpdText {
 public:
  /// Page sizes Label (144 x 72 pt, default) and Wide (288 x 144 pt), MaxMediaWidth 288 and every
  /// option that the filter reads, with plain choices.
  PpdText();

  PpdText& setSizes(const std::string& defaultName, const std::vector<PpdSize>& sizes);
  /// Adds the option or replaces the one of that keyword.
  PpdText& setOption(const std::string& keyword, const std::string& defaultChoice,
                     const std::vector<std::string>& choices);
  PpdText& removeOption(const std::string& keyword);
  /// The value as written; an empty text leaves the line out.
  PpdText& setMaxMediaWidth(const std::string& points);
  /// Sizes of any width and length between the limits (points).
  PpdText& allowCustomSizes(double smallest, double largest);

  std::string text() const;

 private:
  std::string defaultSize_;
  std::vector<PpdSize> sizes_;
  std::vector<PpdOption> options_;
  std::string maxMediaWidth_ = "288";
  double customSmallest_ = 0;
  double customLargest_ = 0;  // 0: no custom sizes
};

}  // namespace kestra::testing_support
