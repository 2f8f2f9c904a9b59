// Tests the barcode rules on pages worked by hand, and against their plain versions on pages of
// random bars. In their words 255 is white, which with the K raster is ink.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "printer/kestra_printer.h"
#include "tests/plain/barcode.h"
#include "tests/support/fixed_random.h"
#include "tests/unit/capture.h"

namespace kestra {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// A page of one value whose rows are padded to 4 bytes.
struct Page {
  Page(int columns, int rows, std::uint8_t value)
      : width(columns),
        height(rows),
        stride((columns + 3) / 4 * 4),
        bytes(static_cast<std::size_t>(stride * rows), value) {}

  std::uint8_t& at(int x, int y) { return bytes.at(static_cast<std::size_t>(y * stride + x)); }
  /// Sets columns `from` to `to`, both included.
  void fill(int from, int to, int y, std::uint8_t value) {
    for (int x = from; x <= to; ++x) at(x, y) = value;
  }
  void column(int x, const Bytes& values) {
    for (std::size_t y = 0; y < values.size(); ++y) at(x, static_cast<int>(y)) = values[y];
  }

  int width;
  int height;
  int stride;
  Bytes bytes;
};

enum class Rule { Dashes, First, Second };

std::string apply(Rule rule, Page& page) {
  KestraPrinter printer;
  Capture capture;
  auto* bytes = page.bytes.data();
  if (rule == Rule::Dashes) printer.ApplyDashedLine(bytes, page.width, page.height);
  if (rule == Rule::First) printer.OptimazeBarcode1(bytes, page.width, page.height);
  if (rule == Rule::Second) printer.OptimazeBarcode2(bytes, page.width, page.height);
  return capture.stop();
}

/// The bytes of a page as a rule leaves it.
Bytes after(Rule rule, Page page) {
  apply(rule, page);
  return page.bytes;
}

TEST(ApplyDashedLine, BreaksRunsOfMoreThan320) {
  // Row 2, white from 3 to 323 = 321 pixels, closed at 324: dashes at 8, 16, ... 320, not at 0.
  Page page(328, 9, 7);
  page.fill(3, 323, 2, 255);
  Page wanted = page;
  for (int k = 8; k <= 320; k += 8) wanted.fill(k, k + 3, 2, 0);
  EXPECT_EQ("", apply(Rule::Dashes, page));
  EXPECT_EQ(wanted.bytes, page.bytes);
}

TEST(ApplyDashedLine, LeavesRunsOf320) {
  Page page(328, 9, 7);
  page.fill(3, 322, 2, 255);
  EXPECT_EQ(page.bytes, after(Rule::Dashes, page));
}

TEST(ApplyDashedLine, CountsOnly255AsWhite) {
  Page page(400, 9, 254);
  EXPECT_EQ(page.bytes, after(Rule::Dashes, page));
}

TEST(ApplyDashedLine, MayCoverTheClosingPixelAndBeyond) {
  // White from 0 to 320, closed at 321: the dash of 320 covers 321 to 323 too. The next run is
  // white from 322 to 643, 322 pixels; but 322 and 323 are black now, which leaves 320: no dashes.
  Page page(660, 9, 7);
  page.fill(0, 320, 2, 255);
  page.fill(322, 643, 2, 255);
  Page wanted = page;
  for (int k = 0; k <= 320; k += 8) wanted.fill(k, k + 3, 2, 0);
  EXPECT_EQ(wanted.bytes, after(Rule::Dashes, page));
}

TEST(ApplyDashedLine, LeavesARunToTheEndOfTheRow) {
  Page page(400, 9, 255);
  EXPECT_EQ(page.bytes, after(Rule::Dashes, page));
}

TEST(ApplyDashedLine, StaysInTheRowsOfAPaddedPage) {
  // 323 wide, rows of 324: white from 0 to 321, closed at 322, the last pixel. The dash of 320
  // covers it and the padding byte behind it, but nothing of row 3.
  Page page(323, 9, 255);
  page.fill(322, 323, 2, 7);
  Page wanted = page;
  for (int k = 0; k <= 320; k += 8) wanted.fill(k, k + 3, 2, 0);
  EXPECT_EQ(wanted.bytes, after(Rule::Dashes, page));
}

TEST(ApplyDashedLine, WorksFromRowTwoToSevenFromTheEnd) {
  // 12 rows: rows 2, 3, 4 and 5 (y < 12 - 6).
  Page page(328, 12, 255);
  for (int y = 0; y < 12; ++y) page.at(327, y) = 7;
  Page wanted = page;
  for (int y = 2; y <= 5; ++y) {
    for (int k = 0; k <= 320; k += 8) wanted.fill(k, k + 3, y, 0);
  }
  EXPECT_EQ(wanted.bytes, after(Rule::Dashes, page));
}

TEST(BarcodeRules, LeavePagesOfEightRows) {
  for (int height = 1; height <= 8; ++height) {
    Page page(328, height, 255);
    for (int y = 0; y < height; ++y) page.at(327, y) = 0;
    if (height > 4) page.fill(0, 100, height - 1, 0);
    EXPECT_EQ(page.bytes, after(Rule::Dashes, page)) << height;
    EXPECT_EQ(page.bytes, after(Rule::Second, page)) << height;
  }
}

/// 100 x 8, grey 7; row 1 white, row 2 white from 2 to `last`, row 3 black below columns 10 to 13.
Page thinLines(int last) {
  Page page(100, 8, 7);
  page.fill(0, 99, 1, 255);
  page.fill(2, last, 2, 255);
  page.column(10, {7, 255, 255, 0, 7, 7, 7, 7});  // 1 black below
  page.column(11, {7, 255, 255, 0, 0, 7, 7, 7});  // 2
  page.column(12, {7, 255, 255, 0, 0, 0, 7, 7});  // 3
  page.column(13, {7, 255, 255, 0, 0, 0, 0, 7});  // 4: too thick
  return page;
}

TEST(OptimazeBarcode1, ThickensThinLinesUnderALongRun) {
  Page page = thinLines(42);  // 41 white pixels from 2 on
  Page wanted = page;
  wanted.fill(10, 12, 2, 0);
  EXPECT_EQ("DEBUG:OptimazeBarcode1 is applied!\n", apply(Rule::First, page));
  EXPECT_EQ(wanted.bytes, page.bytes);
}

TEST(OptimazeBarcode1, LeavesRunsOf40) {
  Page page = thinLines(41);
  EXPECT_EQ(page.bytes, after(Rule::First, page));
}

TEST(OptimazeBarcode1, StartsItsRunsAtColumnTwo) {
  // White from 0 to 41: 42 pixels, but only 40 from column 2 on.
  Page page = thinLines(41);
  page.fill(0, 1, 2, 255);
  EXPECT_EQ(page.bytes, after(Rule::First, page));
  // White from 0 to 42: columns 2 to 42 are looked at, 1 is not although a thin line is below it.
  Page longer = thinLines(42);
  longer.fill(0, 1, 2, 255);
  longer.at(1, 3) = longer.at(2, 3) = 0;
  Page wanted = longer;
  wanted.fill(10, 12, 2, 0);
  wanted.at(2, 2) = 0;
  EXPECT_EQ(wanted.bytes, after(Rule::First, longer));
}

TEST(OptimazeBarcode1, LeavesRowsThatAreHalfWhite) {
  // 41 white pixels from 2 on and 8 or 9 more: 49 is below 100 / 2, 50 is not.
  Page below = thinLines(42);
  below.fill(60, 67, 2, 255);
  Page wanted = below;
  wanted.fill(10, 12, 2, 0);
  EXPECT_EQ(wanted.bytes, after(Rule::First, below));
  Page half = thinLines(42);
  half.fill(60, 68, 2, 255);
  EXPECT_EQ(half.bytes, after(Rule::First, half));
}

TEST(OptimazeBarcode1, CountsNoMiddlePixelOfAnOddWidth) {
  // 101 wide, the middle is 50. White from 10 to 59 are 50 pixels, 49 without the middle: below
  // 101 / 2 = 50. With pixel 60 more they are 50.
  Page page(101, 5, 7);
  page.fill(0, 100, 1, 255);
  page.fill(10, 59, 2, 255);
  page.at(20, 3) = 0;
  Page more = page;
  more.at(60, 2) = 255;
  const Page unchanged = more;
  Page wanted = page;
  wanted.at(20, 2) = 0;
  EXPECT_EQ(wanted.bytes, after(Rule::First, page));
  EXPECT_EQ(unchanged.bytes, after(Rule::First, more));
}

TEST(OptimazeBarcode1, NeedsWhiteAbove) {
  Page page = thinLines(42);
  page.at(11, 1) = 254;
  Page wanted = page;
  wanted.at(10, 2) = wanted.at(12, 2) = 0;
  EXPECT_EQ(wanted.bytes, after(Rule::First, page));
}

TEST(OptimazeBarcode1, CountsBlackDownToTheLastRow) {
  // 4 rows: row 3 is the last one and counts; it is also all there is below row 2.
  Page page(100, 4, 7);
  page.fill(0, 99, 1, 255);
  page.fill(2, 44, 2, 255);
  page.at(20, 3) = 0;
  Page wanted = page;
  wanted.at(20, 2) = 0;
  EXPECT_EQ(wanted.bytes, after(Rule::First, page));
}

TEST(OptimazeBarcode1, SeesWhatItChangedInTheRowAbove) {
  // Rows 2 and 3 white from 2 to 44. Column 20: black at 4 and 5. In row 2 nothing is black below
  // (row 3 is white); row 3 becomes black there, but row 2 is not looked at again.
  Page page(100, 8, 7);
  page.fill(2, 44, 2, 255);
  page.fill(2, 44, 3, 255);
  page.column(20, {7, 7, 255, 255, 0, 0, 7, 7});
  Page wanted = page;
  wanted.at(20, 3) = 0;
  EXPECT_EQ(wanted.bytes, after(Rule::First, page));
}

TEST(OptimazeBarcode1, LooksAtRowOneAloneOfThreeRows) {
  // 5 pixels wide, rows of 8; a run can never be long enough.
  Page page(5, 3, 255);
  page.at(4, 1) = 0;
  const Page wanted = page;
  EXPECT_EQ("DEBUG:OptimazeBarcode1 is applied!\n", apply(Rule::First, page));
  EXPECT_EQ(wanted.bytes, page.bytes);
  // Of 3 rows 101 wide only row 1 can change; rows 0 and 2 hold runs with black below or above.
  Page wide(101, 3, 7);
  wide.fill(2, 44, 0, 255);
  wide.fill(2, 44, 1, 255);
  wide.at(20, 2) = 0;
  Page changed = wide;
  changed.at(20, 1) = 0;
  EXPECT_EQ(changed.bytes, after(Rule::First, wide));
}

/// A column of 20 pixels: white, but for these.
Bytes columnOf(const std::vector<std::pair<int, int>>& others) {
  Bytes column(20, 255);
  for (const auto& other : others) {
    column[static_cast<std::size_t>(other.first)] = static_cast<std::uint8_t>(other.second);
  }
  return column;
}

TEST(OptimazeBarcode2, OpensEveryOtherColumnAboveBlack) {
  // White from 0 to 9, black from 10 on. Runs are counted from row 3: at row 9 the run is 7. Column
  // 0: rows 7 and 5; column 2: rows 8 and 6; columns 1 and 3: nothing.
  Page page(8, 20, 255);
  for (int y = 10; y < 20; ++y) page.fill(0, 7, y, 0);
  Page wanted = page;
  for (const int x : {0, 4}) wanted.at(x, 7) = wanted.at(x, 5) = 0;
  for (const int x : {2, 6}) wanted.at(x, 8) = wanted.at(x, 6) = 0;
  EXPECT_EQ("DEBUG:OptimazeBarcode2 is applied!\n", apply(Rule::Second, page));
  EXPECT_EQ(wanted.bytes, page.bytes);
}

TEST(OptimazeBarcode2, OpensNothingAboveARunOfSix) {
  // White from 0 to 8: at row 8 the run is 6.
  Page page(8, 20, 255);
  for (int y = 9; y < 20; ++y) page.fill(0, 7, y, 0);
  EXPECT_EQ(page.bytes, after(Rule::Second, page));
}

TEST(OptimazeBarcode2, ThickensAThinLineBelowAShortRun) {
  // Black at row 7 alone: at row 6 the run is 4, and rows 8 and 9 are white: row 6 becomes black.
  Page page(2, 20, 255);
  page.column(0, columnOf({{7, 0}}));
  page.column(1, columnOf({{7, 0}, {8, 0}}));  // two black rows: row 9 is white
  Page wanted = page;
  wanted.at(0, 6) = wanted.at(1, 6) = 0;
  EXPECT_EQ(wanted.bytes, after(Rule::Second, page));
}

TEST(OptimazeBarcode2, LeavesThickLinesAndVeryShortRuns) {
  Page page(4, 20, 255);
  page.column(0, columnOf({{7, 0}, {8, 0}, {9, 0}}));    // three rows thick
  page.column(1, columnOf({{7, 0}, {8, 254}, {9, 1}}));  // grey counts as non-white below
  page.column(2, columnOf({{6, 0}}));                    // run of 3 at row 5
  page.column(3, columnOf({{7, 1}}));                    // grey is not black
  EXPECT_EQ(page.bytes, after(Rule::Second, page));
}

TEST(OptimazeBarcode2, DoesBothAboveAThinLineBelowALongRun) {
  // Black at row 10 alone: column 0 opens 7 and 5 and blackens 9; column 1 only blackens 9; column
  // 2 opens 8 and 6 and blackens 9.
  Page page(3, 20, 255);
  for (int x = 0; x < 3; ++x) page.column(x, columnOf({{10, 0}}));
  Page wanted = page;
  wanted.at(0, 7) = wanted.at(0, 5) = wanted.at(0, 9) = 0;
  wanted.at(1, 9) = 0;
  wanted.at(2, 8) = wanted.at(2, 6) = wanted.at(2, 9) = 0;
  EXPECT_EQ(wanted.bytes, after(Rule::Second, page));
}

TEST(OptimazeBarcode2, WorksFromRowThreeToSevenFromTheEnd) {
  // 20 rows: the last row looked at is 13. Black at 14 counts, black at 15 does not.
  Page page(2, 20, 255);
  page.column(0, columnOf({{14, 0}}));
  page.column(1, columnOf({{15, 0}}));
  Page wanted = page;
  wanted.at(0, 13) = wanted.at(0, 11) = wanted.at(0, 9) = 0;
  EXPECT_EQ(wanted.bytes, after(Rule::Second, page));
}

TEST(BarcodeRules, GoOnWithoutAnImage) {
  Page first(0, 0, 0);
  EXPECT_EQ(
      "CRIT:OptimazeBarcode1 CreateFromArray with image failed!\n"
      "DEBUG:OptimazeBarcode1 is applied!\n",
      apply(Rule::First, first));
  EXPECT_EQ(
      "CRIT:OptimazeBarcode2 CreateFromArray with image failed!\n"
      "DEBUG:OptimazeBarcode2 is applied!\n",
      apply(Rule::Second, first));
}

/// Bars of random lengths, mostly white, along rows or down columns.
Page bars(int width, int height, bool along, std::uint32_t longest, std::uint32_t seed) {
  testing_support::FixedRandom random(seed);
  const std::uint8_t values[] = {0, 255, 0, 255, 255, 254, 128};
  Page page(width, height, 0);
  const int lines = along ? height : width;
  const int length = along ? width : height;
  for (int line = 0; line < lines; ++line) {
    int at = 0;
    while (at < length) {
      const std::uint8_t value = values[random.below(7)];
      const int end = at + 1 + static_cast<int>(random.below(longest));
      for (; at < end && at < length; ++at) (along ? page.at(at, line) : page.at(line, at)) = value;
    }
  }
  return page;
}

TEST(BarcodeRules, ChangeRandomBarsLikeThePlainVersions) {
  bool changed[3] = {false, false, false};
  for (const int width : {101, 200, 330, 700, 836}) {
    for (const int height : {9, 10, 17, 40, 300}) {
      for (const bool along : {true, false}) {
        for (const std::uint32_t longest : {8U, 60U, 400U}) {
          const Page start = bars(width, height, along, longest,
                                  static_cast<std::uint32_t>(width * height) + longest);
          for (const Rule rule : {Rule::Dashes, Rule::First, Rule::Second}) {
            plain::Rows wanted =
                plain::rowsFromBytes(start.bytes, start.stride, height, start.stride);
            if (rule == Rule::Dashes) plain::dashLongRuns(wanted, width);
            if (rule == Rule::First) plain::thinBarcode1(wanted, width);
            if (rule == Rule::Second) plain::thinBarcode2(wanted, width);
            Page page = start;
            apply(rule, page);
            ASSERT_EQ(plain::flatten(wanted), page.bytes)
                << width << "x" << height << " along " << along << " rule "
                << static_cast<int>(rule);
            if (page.bytes != start.bytes) changed[static_cast<int>(rule)] = true;
          }
        }
      }
    }
  }
  EXPECT_TRUE(changed[0] && changed[1] && changed[2]);  // the pages do exercise each rule
}

}  // namespace
}  // namespace kestra
