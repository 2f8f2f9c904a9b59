// Job options held against a printer description.
//
// The print system drops an unknown option or value without a word; whoever mistypes one would
// look for the reason on paper.
#pragma once

#include <cups/cups.h>
#include <cups/ppd.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "filter/base/result.h"

namespace kestra {

/// A page and its printable part, in points from its lower left corner.
struct PageArea {
  double width = 0;
  double height = 0;
  double left = 0;
  double bottom = 0;
  double right = 0;
  double top = 0;
};

/// A printer description with the options of one job marked in it.
class PrinterOptions {
 public:
  /// Reads the description.
  [[nodiscard]] Result<void> open(const std::string& path);

  /// Takes the words behind one -o: "NAME=VALUE", "NAME", "noNAME", or several with blanks between
  /// them, as lp does. Where a name or a value is none that the printer or the print system knows,
  /// the problem lists the right ones.
  [[nodiscard]] Result<void> add(const std::string& words);

  /// The options as a filter is given them: all words, in order, with blanks between them, and the
  /// page size in the description's words where they had others.
  const std::string& text() const { return text_; }

  /// The options, each with its last value, in the order of their first use.
  const std::vector<std::pair<std::string, std::string>>& given() const { return given_; }

  /// The value given for an option, or an empty text. Names do not depend on case.
  std::string givenValue(const std::string& name) const;

  /// What the job prints with: the marked choice of an option in the description's own spelling; an
  /// empty text where it has no such option.
  std::string choice(const std::string& keyword) const;

  /// The page of the job; all 0 where the description has none.
  PageArea page() const;

  /// The name of a size of these points, at most one off; empty where there is none.
  std::string sizeName(double width, double height) const;

  /// Dots of the print head at a resolution, from the description's MaxMediaWidth; 0 where it has
  /// none.
  unsigned headDots(double dpi) const;

  /// The option that asks the print system to scale pages, with its value where it has several:
  /// "fit-to-page", "print-scaling=fill", "number-up"; empty where none does.
  std::string scalingOption() const;

  /// The values of an option, `before` in front of each, with their words where that is more than a
  /// blank; empty where there is no such option, or any value will do.
  std::string values(const std::string& name, const std::string& before) const;

  /// Copies asked for; 1 where none are.
  int copies() const;

 private:
  Result<void> check(const std::string& name, const std::string& value) const;
  bool isGoodCustomSize(const std::string& value) const;
  bool isKnownSize(const std::string& name, const std::string& value) const;
  std::string optionNames() const;

  struct Closer {
    void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
  };
  std::unique_ptr<ppd_file_t, Closer> ppd_;
  std::string givenText_;
  std::string text_;
  std::vector<std::pair<std::string, std::string>> given_;
};

}  // namespace kestra
