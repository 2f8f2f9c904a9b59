// Finds the words for a page frame.
//
// Oddities are said, not refused: a page wider than the head still prints, and the proof has to
// show how.
#include "tools/proof/report.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace kestra {
namespace {

constexpr double kMmPerInch = 25.4;
constexpr std::size_t kListedStretches = 5;

const char* mediaWords(Media media) {
  switch (media) {
    case Media::kContinuous:
      return "continuous paper";
    case Media::kGaps:
      return "labels with gaps";
    case Media::kMarks:
      return "paper with black marks";
  }
  return "unknown";
}

// "100.1"
std::string mm(std::size_t dots, int dpi) {
  std::array<char, 48> text = {};
  std::snprintf(text.data(), text.size(), "%.1f", static_cast<double>(dots) * kMmPerInch / dpi);
  return text.data();
}

std::string number(std::uint64_t value) { return std::to_string(value); }

std::string countLine(const PageFrame& frame) {
  const std::vector<std::size_t> wrong = rowsWithWrongCount(frame);
  if (wrong.empty()) return "the count of every row agrees";
  const FrameRow first = frame.row(wrong.front());
  return number(wrong.size()) + (wrong.size() == 1 ? " row disagrees" : " rows disagree") +
         " with the announced count: row " + summariseRows(wrong, kListedStretches) + " (row " +
         number(wrong.front()) + " announces " + number(first.announced) + " and holds " +
         number(countBlackDots(first.dots)) + ")";
}

}  // namespace

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

std::string describeFrame(const PageFrame& frame, int dpi) {
  std::uint64_t black = 0;
  for (std::size_t y = 0; y < frame.row_count; ++y) black += countBlackDots(frame.row(y).dots);
  const std::size_t pageBytes = frame.drawn_width() / 8 - frame.margin_bytes();

  std::string text;
  text += "  page number: " + number(frame.page_number) + "\n";
  text += "  media:       " + std::string(mediaWords(frame.media)) + "\n";
  text += "  page size:   " + number(frame.width_dots) + " x " + number(frame.height_dots) +
          " dots, " + mm(frame.width_dots, dpi) + " x " + mm(frame.height_dots, dpi) + " mm at " +
          std::to_string(dpi) + " dpi\n";
  text +=
      "  gap:         " + number(frame.gap_dots) + " dots, " + mm(frame.gap_dots, dpi) + " mm\n";
  text += "  rows:        " + number(frame.row_count) + " of " + number(pageBytes) +
          " bytes behind a margin of " + number(frame.margin_bytes()) + " bytes\n";
  text += "  black dots:  " + number(black) + "; " + countLine(frame) + "\n";
  if (frame.wider_than_head()) {
    text +=
        "  note:        the rows are shorter than the page is wide; the page was wider than "
        "the print head and its rows overlap\n";
  }
  if (frame.reserved != 0) {
    text +=
        "  note:        bytes 10 and 11 hold " + number(frame.reserved) + " where 0 is expected\n";
  }
  return text;
}

}  // namespace kestra
