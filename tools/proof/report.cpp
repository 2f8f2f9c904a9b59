// Finds the words for a page frame.
//
// Oddities are said, not refused: a page wider than the head still prints, and the proof has to
// show how.
#include "tools/proof/report.h"

#include <cstdio>

#include "tools/proof/drawing.h"

namespace kestra::proof {
namespace {

constexpr double kMmPerInch = 25.4;
constexpr std::size_t kListedStretches = 5;
constexpr std::size_t kWordsAt = 16;  // the column where the words of a line begin

std::string number(std::uint64_t value) { return std::to_string(value); }

std::string line(const char* name, const std::string& words) {
  std::string start = std::string("  ") + name + ":";
  start.resize(kWordsAt, ' ');
  return start + words + "\n";
}

std::string mediaWords(const PageFrame& frame, unsigned dpi) {
  const std::string gap = mm(frame.gapDots, dpi) + " mm";
  switch (frame.media) {
    case Media::kContinuous:
      return "continuous paper";
    case Media::kGaps:
      return "labels with gaps of " + gap;
    case Media::kMarks:
      return "paper with black marks of " + gap;
  }
  return "unknown";
}

// The rows whose count of black dots is wrong, or an empty text.
std::string wrongCounts(const PageFrame& frame) {
  const std::vector<std::size_t> wrong = rowsWithWrongCount(frame);
  if (wrong.empty()) return {};
  const FrameRow first = frame.row(wrong.front());
  return number(wrong.size()) + (wrong.size() == 1 ? " row disagrees" : " rows disagree") +
         " with the announced count: row " + summariseRows(wrong, kListedStretches) + " (row " +
         number(wrong.front()) + " announces " + number(first.announced) + " and holds " +
         number(countBlackDots(first.dots)) + ")";
}

std::string bytes(std::size_t count) { return number(count) + (count == 1 ? " byte" : " bytes"); }

// How the frame is built, for whoever compares bytes.
std::string buildWords(const PageFrame& frame) {
  const std::size_t page = frame.drawnWidth() / 8 - frame.marginBytes();
  std::string text = line("rows", number(frame.rowCount) + " of " + bytes(page) +
                                      " behind a margin of " + bytes(frame.marginBytes()));
  if (rowsWithWrongCount(frame).empty()) {
    text += line("counts", "every row holds as many black dots as it announces");
  }
  return text;
}

}  // namespace

std::string mm(std::size_t dots, unsigned dpi) {
  std::array<char, 48> text = {};
  std::snprintf(text.data(), text.size(), "%.1f", static_cast<double>(dots) * kMmPerInch / dpi);
  return text.data();
}

std::string percent(std::uint64_t part, std::uint64_t whole) {
  const double value =
      whole == 0 ? 0 : 100 * static_cast<double>(part) / static_cast<double>(whole);
  std::array<char, 32> text = {};
  std::snprintf(text.data(), text.size(), "%.1f %%", value);
  return text.data();
}

std::string summariseRows(const std::vector<std::size_t>& rows, std::size_t runs) {
  std::string text;
  std::size_t at = 0;
  for (std::size_t run = 0; run < runs && at < rows.size(); ++run) {
    std::size_t last = at;
    while (last + 1 < rows.size() && rows[last + 1] == rows[last] + 1) ++last;
    if (!text.empty()) text += ", ";
    text += number(rows[at]);
    if (last > at) text += "-" + number(rows[last]);
    at = last + 1;
  }
  if (at < rows.size()) text += " and " + number(rows.size() - at) + " more";
  return text;
}

std::string describeFrame(const PageFrame& frame, const FrameWords& words) {
  const bool bytewise = words.stored || words.verbose;
  const unsigned across = words.dpi[0];
  const unsigned down = words.dpi[1];
  const std::size_t width = labelWidth(frame, words.pageDots);
  std::uint64_t black = 0;
  for (std::size_t y = 0; y < frame.rowCount; ++y) black += countBlackDots(frame.row(y).dots);

  std::string text;
  if (bytewise) text += line("page number", number(frame.pageNumber));
  text += line("size", number(width) + " x " + number(frame.rowCount) + " dots, " +
                           mm(width, across) + " x " + mm(frame.rowCount, down) + " mm at " +
                           number(across) + (down != across ? " x " + number(down) : "") + " dpi");
  if (bytewise && (frame.widthDots != width || frame.heightDots != frame.rowCount)) {
    text += line("frame says", number(frame.widthDots) + " x " + number(frame.heightDots) +
                                   " dots, " + mm(frame.widthDots, across) + " x " +
                                   mm(frame.heightDots, down) + " mm");
  }
  text += line("media", mediaWords(frame, down));
  text += line("black dots", number(black) + ", " +
                                 percent(black, std::uint64_t{width} * frame.rowCount) +
                                 " of the label");
  if (words.verbose) text += buildWords(frame);
  const std::string wrong = wrongCounts(frame);
  if (!wrong.empty()) text += line("note", wrong);
  if (frame.widerThanHead()) {
    text += line("note",
                 "the rows are shorter than the page is wide; the page was wider than the print "
                 "head and its rows overlap");
  }
  if (frame.reserved != 0) {
    text += line("note", "bytes 10 and 11 hold " + number(frame.reserved) + " where 0 is expected");
  }
  return text;
}

}  // namespace kestra::proof
