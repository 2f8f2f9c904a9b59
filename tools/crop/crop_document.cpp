// Has Ghostscript draw the pages, finds the labels, and has it write each in its own size.
//
// The labels stay drawings: bars and letters are turned into dots only when they are printed, on
// the dots of the print head.
#include "tools/crop/crop_document.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <locale>
#include <sstream>
#include <utility>

#include "tools/render/child.h"
#include "tools/render/ghostscript.h"
#include "tools/render/private_directory.h"

namespace kestra::crop {
namespace {

constexpr double kPointsPerMm = 72 / 25.4;
constexpr double kRoom = 2;  // points by which a place named by hand may be larger than the label
constexpr int kMostPages = 999;

std::string markOf(const std::string& document) {
  return "kestra-proof --crop " + std::filesystem::path(document).filename().string();
}

/// A number with one decimal, none where it is a whole one.
std::string plain(double number) {
  std::array<char, 32> text = {};
  std::snprintf(text.data(), text.size(), "%.1f", number + 0.0);
  std::string words = text.data();
  if (words.size() > 2 && words.compare(words.size() - 2, 2, ".0") == 0) {
    words.resize(words.size() - 2);
  }
  return words == "-0" ? "0" : words;
}

std::string mm(double points) { return plain(points / kPointsPerMm); }

std::string sizeWords(double width, double height) {
  return mm(width) + " x " + mm(height) + " mm";
}

/// What goes onto one label.
struct Cut {
  int page = 1;
  int pageHeight = 0;  // points
  double left = 0;     // points from the page's upper left corner
  double top = 0;
  double width = 0;
  double height = 0;
  bool turned = false;
};

class Crop {
 public:
  explicit Crop(const CropRequest& request) : request_(request) {}

  Result<Cropped> run() {
    const Result<void> done = work();
    if (!done) return Problem{done.problem()};
    return std::move(result_);
  }

 private:
  /// Runs Ghostscript with these words.
  Result<void> ghostscript(std::vector<std::string> words) {
    words.insert(words.begin(), "-dUseCropBox");
    const GhostscriptRun run = runGhostscript(words, directory_.path());
    said_ = run.said;
    if (said_.find("requires a password") != std::string::npos) {
      return Problem{
          "is protected by a password; open it in a viewer, print it to a new PDF without one, "
          "and take that"};
    }
    if (!run.problem.empty()) return Problem{run.problem};
    return {};
  }

  Result<void> work() {
    if (Result<void> made = directory_.make(); !made) return made;
    // Pages that are turned or begin anywhere become upright pages that begin at 0 0.
    const std::string pages = directory_.path() + "/pages.pdf";
    Result<void> drawn =
        ghostscript({"-sDEVICE=pdfwrite", "-sOutputFile=" + pages, request_.document});
    if (!drawn) return drawn;
    const bool damaged = said_.find("Error") != std::string::npos;
    drawn = ghostscript({"-sDEVICE=pgmraw", "-r72", "-dTextAlphaBits=4", "-dGraphicsAlphaBits=4",
                         "-sOutputFile=" + directory_.path() + "/page%d.pgm", pages});
    if (!drawn) return drawn;
    int number = 0;
    for (; number < kMostPages; ++number) {
      const std::string picture = directory_.path() + "/page" + std::to_string(number + 1) + ".pgm";
      if (!std::filesystem::exists(picture) || interruptSignal() != 0) break;
      const std::optional<GreyPage> page = readGreyPage(picture);
      std::filesystem::remove(picture);
      if (!page) {
        return Problem{"page " + std::to_string(number + 1) + " is larger than 2.8 x 2.8 m"};
      }
      look(number + 1, *page);
    }
    if (number == 0) return Problem{"has no page"};
    if (cuts_.empty()) return nothing(damaged);
    return write(pages);
  }

  [[nodiscard]] Problem nothing(bool damaged) const {
    std::string text = request_.hand ? "has nothing there" : "has no label on it";
    for (const std::string& reason : reasons_) text += (text.back() == ';' ? " " : ": ") + reason;
    if (damaged) text += "; the document is damaged, get it again";
    return {text};
  }

  void refuse(int number, const std::string& why) {
    reasons_ = {"page " + std::to_string(number) + " " + why};
    result_.warnings.push_back(reasons_.front());
  }

  void look(int number, const GreyPage& page) {
    const PageInk ink(page, longestLine(request_.label));
    if (ink.count({0, 0, page.width, page.height}) == 0) {
      refuse(number, "is blank");
    } else if (request_.hand) {
      takeByHand(number, page);
    } else {
      find(number, page, ink);
    }
  }

  void takeByHand(int number, const GreyPage& page) {
    const LabelSize& label = request_.label;
    HandPlace hand = *request_.hand;
    if (hand.width == 0) {
      hand.width = label.width / kPointsPerMm;
      hand.height = label.height / kPointsPerMm;
    }
    Cut cut = {number,
               page.height,
               hand.x * kPointsPerMm,
               hand.y * kPointsPerMm,
               hand.width * kPointsPerMm,
               hand.height * kPointsPerMm,
               false};
    const auto fits = [&cut](double width, double height) {
      return cut.width <= width + kRoom && cut.height <= height + kRoom;
    };
    cut.turned = !fits(label.width, label.height);
    if (cut.turned && !fits(label.height, label.width)) {
      refuse(number, "holds the place named by hand, but that is " +
                         sizeWords(cut.width, cut.height) + ", more than the label of " +
                         sizeWords(label.width, label.height) +
                         ": name a smaller one, or a larger "
                         "PageSize");
    } else if (cut.left >= page.width || cut.top >= page.height) {
      refuse(number, "is only " + sizeWords(page.width, page.height) +
                         " large, and the place named by hand lies outside of it");
    } else {
      add(cut);
    }
  }

  void find(int number, const GreyPage& page, const PageInk& ink) {
    const LabelSize& label = request_.label;
    const std::vector<Place> places = labelPlaces(ink, label);
    if (places.empty()) {
      refuse(number, "has no place that a label of " + sizeWords(label.width, label.height) +
                         " could hold whole; choose the PageSize that it was drawn for, or name "
                         "the place: --crop=X,Y,WIDTH,HEIGHT in mm from the upper left corner");
      return;
    }
    for (const Place& place : places) {
      // A dot around it, as the page was drawn with one dot a point.
      const Box drawn = place.ink.grown(1);
      const Box box = {std::max(drawn.left, 0), std::max(drawn.top, 0),
                       std::min(drawn.right, page.width), std::min(drawn.bottom, page.height)};
      add({number, page.height, double(box.left), double(box.top), double(box.width()),
           double(box.height()), place.turned});
      const std::string where = "page " + std::to_string(number);
      if (!place.sure) {
        result_.warnings.push_back(
            where + ": it is not sure that this is the label, as it takes " +
            plain(std::round(place.across * 100)) + " per cent of its width and " +
            plain(std::round(place.along * 100)) +
            " of its height; look at the picture, and if it "
            "is wrong, choose the PageSize that it was drawn for, or name the place: "
            "--crop=X,Y,WIDTH,HEIGHT in mm from the upper left corner");
      }
      const double wider = std::max(place.across * label.width - label.width,
                                    place.along * label.height - label.height);
      if (wider > kRoom) {
        result_.warnings.push_back(where + ": what is drawn there is " + mm(wider) +
                                   " mm larger than the label, so half of that is cut off at "
                                   "opposite edges");
      }
    }
    if (places.size() > 1) {
      result_.warnings.push_back("page " + std::to_string(number) + ": " +
                                 std::to_string(places.size()) +
                                 " places look like a label, each becomes a page; print the right "
                                 "one with -o page-ranges=N");
    }
  }

  void add(const Cut& cut) {
    cuts_.push_back(cut);
    result_.found.push_back("page " + std::to_string(cut.page) + ": " +
                            sizeWords(cut.width, cut.height) + " from " + mm(cut.left) + " mm, " +
                            mm(cut.top) + " mm" + (cut.turned ? ", turned upright" : ""));
  }

  /// PostScript that lays the middle of the place on the middle of the label, and hides the rest.
  [[nodiscard]] std::string layOut(const Cut& cut) const {
    const LabelSize& label = request_.label;
    const double width = cut.turned ? label.height : label.width;
    const double height = cut.turned ? label.width : label.height;
    const double bottom = cut.pageHeight - cut.top - cut.height;
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << "<</BeginPage {pop ";
    if (cut.turned) text << "0 " << label.height << " translate -90 rotate ";
    text << width / 2 - cut.left - cut.width / 2 << ' ' << height / 2 - bottom - cut.height / 2
         << " translate " << cut.left << ' ' << bottom << ' ' << cut.width << ' ' << cut.height
         << " rectclip}>> setpagedevice";
    return text.str();
  }

  Result<void> write(const std::string& pages) {
    std::vector<std::string> all = {"-sDEVICE=pdfwrite",
                                    "-sOutputFile=" + directory_.path() + "/all.pdf"};
    for (const Cut& cut : cuts_) {
      all.push_back(directory_.path() + "/label" + std::to_string(all.size()) + ".pdf");
      const std::string page = std::to_string(cut.page);
      Result<void> written = ghostscript(
          {"-sDEVICE=pdfwrite", "-sOutputFile=" + all.back(), "-dFIXEDMEDIA",
           "-dDEVICEWIDTHPOINTS=" + decimal(request_.label.width),
           "-dDEVICEHEIGHTPOINTS=" + decimal(request_.label.height), "-dFirstPage=" + page,
           "-dLastPage=" + page, "-c", layOut(cut), "-f", pages});
      if (!written) return written;
      if (interruptSignal() != 0) return Problem{"stopped"};
    }
    Result<void> written = ghostscript(all);
    if (!written) return written;
    if (placePdf(directory_.path() + "/all.pdf", request_.output, markOf(request_.document))) {
      return {};
    }
    return Problem{request_.output + " cannot be written; name another place with --output-dir"};
  }

  static std::string decimal(double number) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << number;
    return text.str();
  }

  const CropRequest& request_;
  Cropped result_;
  PrivateDirectory directory_;
  std::string said_;                  // what the last program said
  std::vector<Cut> cuts_;             // a label each
  std::vector<std::string> reasons_;  // why the last page without a label has none
};

}  // namespace

std::optional<HandPlace> parseHandPlace(const std::string& text) {
  std::istringstream words(text);
  words.imbue(std::locale::classic());
  std::vector<double> numbers;
  char comma = ',';
  for (double number = 0; comma == ',' && words >> number;) {
    numbers.push_back(number);
    comma = 0;
    words >> comma;
  }
  const bool whole = words.eof() && comma == 0 && (numbers.size() == 2 || numbers.size() == 4);
  const bool good = whole && std::all_of(numbers.begin(), numbers.end(), [](double number) {
                      return number >= 0 && number < 10000;
                    });
  if (!good) return std::nullopt;
  if (numbers.size() == 2) return HandPlace{numbers[0], numbers[1], 0, 0};
  if (numbers[2] <= 0 || numbers[3] <= 0) return std::nullopt;
  return HandPlace{numbers[0], numbers[1], numbers[2], numbers[3]};
}

Result<Cropped> cropDocument(const CropRequest& request) {
  Crop crop(request);
  return crop.run();
}

bool isCroppedFrom(const std::string& path, const std::string& document) {
  return isPlacedPdf(path, markOf(document));
}

}  // namespace kestra::crop
