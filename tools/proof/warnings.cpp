// Compares what a page asks for with what its frame holds.
//
// The reason is looked for in the settings, the most likely one first; none of this repeats a rule
// of the filter, whose dots have already been made.
#include "tools/proof/warnings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace kestra::proof {
namespace {

// Rows of a page are padded to this many dots, and packed as if they were not.
constexpr unsigned kRowUnit = 4;
constexpr std::uint64_t kFullInk = 255;

// With a skewed page the last dots fall off its end.
constexpr double kNearlySolid = 0.995;

// The part of the blank paper from which on dots on it can be seen, and the part of a page that is
// worth a word.
constexpr double kHaze = 0.001;
constexpr double kMuchPaper = 0.05;

// Up to this Brightness the threshold leaves blank paper as it is; all other halftones never do.
constexpr int kMostForThreshold = 25;

bool isStencil(const PageFacts& facts) {
  return facts.halftone == "Tattoo" || facts.halftone == "Tattoo_V7";
}

bool isSkewed(const PageFacts& facts) { return facts.content.width % kRowUnit != 0; }

bool isSolid(const PageFacts& facts) {
  const std::uint64_t pixels = facts.content.pixels();
  if (pixels == 0) return false;
  if (!isSkewed(facts)) return facts.blackDots >= pixels;
  return static_cast<double>(facts.blackDots) >= kNearlySolid * static_cast<double>(pixels);
}

// More dots than the page has places with ink: the others lie on blank paper.
bool isHazy(const PageFacts& facts) {
  const std::uint64_t inked = facts.content.inkedPixels;
  if (facts.blackDots <= inked) return false;
  const auto blank = static_cast<double>(facts.content.pixels() - inked);
  return static_cast<double>(facts.blackDots - inked) > kHaze * blank;
}

// Blank paper turns grey, and a photograph that loses dots elsewhere hides how many it gets there.
bool mayBeHazy(const PageFacts& facts) {
  if (facts.halftone == "None" && facts.brightness <= kMostForThreshold) return false;
  const auto pixels = static_cast<double>(facts.content.pixels());
  return pixels - static_cast<double>(facts.content.inkedPixels) > kMuchPaper * pixels;
}

// "51", and with a decimal where that matters: "99.2".
std::string perCent(double part) {
  std::array<char, 32> text = {};
  const bool near = part > 0.9 && part < 1.1;
  std::snprintf(text.data(), text.size(), "%.*f", near ? 1 : 0, part * 100);
  return text.data();
}

// Whether an edge of the page is drawn half a dot away from where it would be at full size.
bool isScaled(const PageFacts& facts) {
  const double side = std::max(facts.content.width, facts.content.height);
  return std::fabs(facts.scale - 1) * side >= 0.5;
}

std::string scaleWarning(const PageFacts& facts) {
  const std::string words = "is printed at " + perCent(facts.scale) + " % of its size";
  if (facts.scaledBy == "number-up") return words + ", as number-up asks";
  if (!facts.scaledBy.empty()) {
    return words + ", as " + facts.scaledBy +
           " asks; -o print-scaling=none in its place prints it 1:1";
  }
  return words +
         ", because it is larger than the label; -o print-scaling=none prints the middle of it "
         "1:1, with -o position=top-left its upper left corner; --crop finds a label on it";
}

std::string chosen(const char* option, const std::string& value) {
  return std::string(option) + "=" + value;
}

std::string stencilBlank(const char* instead) {
  return std::string("pure black-and-white art often comes out like this with Tattoo_V7; ") +
         instead;
}

std::string blankReason(const PageFacts& facts) {
  if (facts.negative && !isStencil(facts)) return "try it without NegativeImage";
  if (facts.brightness < 0) {
    return chosen("Brightness", std::to_string(facts.brightness)) +
           " takes the ink away; choose a value nearer to 0";
  }
  if (facts.halftone == "Tattoo_V7") {
    return facts.content.onlyBlackAndWhite ? stencilBlank("choose HalftoneType=None, or Tattoo")
                                           : "choose HalftoneType=Tattoo, or Ordered";
  }
  if (facts.halftone == "None") {
    return "HalftoneType=None prints nothing that is lighter than half black; choose Ordered";
  }
  return "it is very light; choose a Brightness above 0, for example 20";
}

std::string brightReason(const PageFacts& facts) {
  const std::string words = chosen("Brightness", std::to_string(facts.brightness));
  return facts.halftone == "None" ? words + " turns blank paper black; choose 25 or less"
                                  : words + " puts ink on blank paper as well; choose 0 or less";
}

std::string solidReason(const PageFacts& facts) {
  if (facts.brightness > 0) return brightReason(facts);
  if (facts.negative && !isStencil(facts)) {
    return "NegativeImage prints everything solid with " + chosen("HalftoneType", facts.halftone) +
           "; choose Tattoo, or invert the picture and leave NegativeImage out";
  }
  if (facts.negative && facts.halftone == "Tattoo_V7") {
    return stencilBlank("choose HalftoneType=Tattoo");
  }
  return "it is very dark; choose a Brightness below 0, for example -20";
}

}  // namespace

std::vector<std::string> dotWarnings(const PageFacts& facts) {
  const PageContent& content = facts.content;
  if (!content.readable) return {};
  const bool hasContent = content.inkedPixels > 0;
  const bool fullOfInk = content.greySum == kFullInk * content.pixels();
  std::vector<std::string> warnings;
  if (hasContent && facts.blackDots == 0 && !(facts.negative && fullOfInk)) {
    warnings.push_back("has something on it but comes out without any ink: " + blankReason(facts));
  } else if (hasContent && !fullOfInk && isSolid(facts)) {
    warnings.push_back("comes out solid black: " + solidReason(facts));
  } else if (!hasContent && facts.blackDots > 0 && !facts.negative) {
    const std::string dots = std::to_string(facts.blackDots);
    if (facts.brightness > 0) {
      warnings.push_back("is empty but gets " + dots + " dots: " + brightReason(facts));
    } else {
      warnings.push_back("is empty but gets " + dots + " stray dots from " +
                         chosen("HalftoneType", facts.halftone) +
                         ": leave the page out (-o page-ranges=), or choose None");
    }
  } else if (facts.brightness > 0 && !facts.negative && isHazy(facts)) {
    const std::uint64_t dots = facts.blackDots - content.inkedPixels;
    warnings.push_back("gets a haze of at least " + std::to_string(dots) +
                       " dots on blank paper: " + brightReason(facts));
  } else if (facts.brightness > 0 && !facts.negative && mayBeHazy(facts)) {
    warnings.push_back("may get a haze of dots on blank paper: " + brightReason(facts));
  }
  return warnings;
}

std::vector<std::string> sizeWarnings(const PageFacts& facts) {
  const PageContent& content = facts.content;
  const unsigned width = content.width;
  std::vector<std::string> warnings;
  if (isScaled(facts)) warnings.push_back(scaleWarning(facts));
  if (isSkewed(facts) && content.inkedPixels > 0) {
    const std::string instead =
        facts.type == DocumentType::kImage
            ? "the print system prints pictures as wide as they are; convert the picture to PDF "
              "(img2pdf) and print that"
            : "choose a page size of the printer, or a custom size in steps of 4 dots";
    warnings.push_back("comes out skewed, because its width of " + std::to_string(width) +
                       " dots is no multiple of 4: " + instead);
  }
  if (facts.fit.cuts()) warnings.push_back(cutWords(facts.fit, content.dpi[0]));
  const bool wider = facts.headDots > 0 && width > facts.headDots;
  if (facts.overlapping || wider) {
    warnings.push_back(
        "is " + std::to_string(width) + " dots wide, the print head " +
        (facts.headDots > 0 ? "has " + std::to_string(facts.headDots) : "has fewer") +
        (facts.overlapping ? ": rows overlap and garbage is printed" : ": the right edge is lost") +
        "; choose a page size of the printer");
  }
  return warnings;
}

}  // namespace kestra::proof
