// Where things lie on a test label, worked by hand in dots.
// Why: a ruler whose marks are wrong makes a good printer look bad.
#include "tools/testlabel/layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tools/testlabel/arguments.h"
#include "tools/testlabel/postscript.h"

namespace kestra::testlabel {
namespace {

using Names = std::vector<std::string>;

Wanted label(int width, int height, int dpi = 203) {
  return {width, height, dpi, "", "50 x 30 mm", {"PrintSpeed 4", "Darkness Middle"}};
}

bool has(const Layout& layout, const Box& wanted) {
  return std::any_of(layout.boxes.begin(), layout.boxes.end(), [&wanted](const Box& box) {
    return box.left == wanted.left && box.top == wanted.top && box.width == wanted.width &&
           box.height == wanted.height && box.ink == wanted.ink;
  });
}

TEST(TestLabelLayout, TakesTheNearestDot) {
  EXPECT_EQ(dotOf(1, 203), 8);     // 7.99
  EXPECT_EQ(dotOf(10, 203), 80);   // 79.92
  EXPECT_EQ(dotOf(50, 203), 400);  // 399.6
  EXPECT_EQ(dotOf(7, 300), 83);    // 82.68
  EXPECT_EQ(dotOf(0, 203), 0);
}

TEST(TestLabelLayout, DrawsABorderOfTwoDotsOnTheOutermostOnes) {
  const Layout layout = layOut(label(400, 240));
  EXPECT_TRUE(has(layout, {0, 0, 400, 2}));
  EXPECT_TRUE(has(layout, {0, 238, 400, 2}));
  EXPECT_TRUE(has(layout, {0, 0, 2, 240}));
  EXPECT_TRUE(has(layout, {398, 0, 2, 240}));
}

TEST(TestLabelLayout, MarksMillimetresOnAllFourEdges) {
  // 812 x 1218 dots are not small: marks of 1, 2 (at 5) and 3 mm (at 10), 8, 16 and 24 dots.
  const Layout large = layOut(label(812, 1218));
  EXPECT_TRUE(has(large, {8, 0, 1, 8}));
  EXPECT_TRUE(has(large, {40, 0, 1, 16}));           // 5 mm: 39.96
  EXPECT_TRUE(has(large, {80, 0, 1, 24}));           // 10 mm
  EXPECT_TRUE(has(large, {799, 1218 - 24, 1, 24}));  // 100 mm: 799.2
  EXPECT_TRUE(has(large, {0, 1199, 24, 1}));         // 150 mm: 1198.8
  EXPECT_TRUE(has(large, {812 - 8, 1191, 8, 1}));    // 149 mm: 1190.8
  // On a small label they are 1, 1.5 and 2 mm, 8, 12 and 16 dots.
  const Layout small = layOut(label(400, 240));
  EXPECT_TRUE(has(small, {80, 0, 1, 16}));
  EXPECT_TRUE(has(small, {40, 240 - 12, 1, 12}));
  EXPECT_TRUE(has(small, {400 - 8, 232, 8, 1}));  // 29 mm: 231.8
}

TEST(TestLabelLayout, CountsMillimetresInWords) {
  const Layout layout = layOut(label(812, 1218));
  const auto numbers =
      std::count_if(layout.words.begin(), layout.words.end(), [](const Words& words) {
        return words.text.find_first_not_of("0123456789") == std::string::npos;
      });
  // 10 to 90 across, as 100 has no room beside the corner, and 10 to 140 down.
  EXPECT_EQ(numbers, 9 + 14);
}

TEST(TestLabelLayout, LeavesOutWhatHasNoRoomAndTriesTheRest) {
  // 30 x 20 mm: inside the rulers 236 - 40 by 160 - 40 dots. The arrow takes a row of 40, the bars
  // one of 60; the code of 29 x 3 dots has no room below, nor beside the bars, 92 wide.
  const Layout layout = layOut(label(236, 160));
  EXPECT_EQ(layout.leftOut,
            (Names{"the code", "the resolution", "grey steps", "options", "options"}));
  // 15 x 10 mm, 80 x 40 dots inside, hold the resolution alone: 7 letters of 9.6 dots.
  const Layout tiny = layOut(label(120, 80));
  EXPECT_EQ(tiny.leftOut, (Names{"the arrow", "the bars", "the code", "the size", "grey steps",
                                 "options", "options"}));
  EXPECT_TRUE(layOut(label(812, 1218)).leftOut.empty());
}

struct Size {
  int width;
  int height;
  int dpi;
};
void PrintTo(const Size& size, std::ostream* out) {
  *out << size.width << "x" << size.height << "at" << size.dpi;
}
class EverySize : public testing::TestWithParam<Size> {};
INSTANTIATE_TEST_SUITE_P(TestLabelLayout, EverySize,
                         testing::Values(Size{8, 8, 203}, Size{120, 80, 203}, Size{236, 160, 203},
                                         Size{348, 236, 300}, Size{400, 240, 203},
                                         Size{400, 400, 203}, Size{796, 400, 203},
                                         Size{812, 1218, 203}, Size{1200, 1800, 300},
                                         Size{2476, 3508, 300}));

// Letters are 0.6 of their size wide, and stand on their line; nothing reaches beyond that.
Box around(const Words& words) {
  return {words.left, words.base - words.size * 3 / 4,
          static_cast<int>(std::ceil(0.6 * words.size * static_cast<double>(words.text.size()))),
          words.size * 3 / 4};
}

bool overlap(const Box& a, const Box& b) {
  return a.left < b.left + b.width && b.left < a.left + a.width && a.top < b.top + b.height &&
         b.top < a.top + a.height;
}

TEST_P(EverySize, KeepsEverythingOnTheLabelAndApart) {
  const Size& size = GetParam();
  Wanted wanted = label(size.width, size.height, size.dpi);
  wanted.step = "Brightness -20";
  const Layout layout = layOut(wanted);
  for (const Box& box : layout.boxes) {
    EXPECT_TRUE(box.left >= 0 && box.top >= 0 && box.left + box.width <= size.width &&
                box.top + box.height <= size.height)
        << box.left << " " << box.top << " " << box.width << " " << box.height;
  }
  for (std::size_t i = 0; i < layout.words.size(); ++i) {
    const Box words = around(layout.words[i]);
    EXPECT_TRUE(words.left >= 0 && words.left + words.width <= size.width) << layout.words[i].text;
    for (const Box& box : layout.boxes) {
      EXPECT_FALSE(overlap(words, box))
          << layout.words[i].text << " at " << box.left << " " << box.top;
    }
    for (std::size_t j = 0; j < i; ++j) {
      EXPECT_FALSE(overlap(words, around(layout.words[j])))
          << layout.words[i].text << ", " << layout.words[j].text;
    }
  }
}

TEST(PrintedArea, IsWhatAPageCanReach) {
  // 4 x 6 inch: whole points, 432 x 203 / 72 = 1218 rows.
  const PrintedArea inch = printedArea({288, 432, 0, 0, 288, 432}, 203);
  EXPECT_EQ(inch.width, 812);
  EXPECT_EQ(inch.height, 1218);
  EXPECT_DOUBLE_EQ(inch.top, 432);
  // 50 mm high: rows are counted from 142 points, 0.27 points above the page: 0.75 rows at 203 dpi,
  // so the first row's middle lies outside; 400 rows become 399.
  const PrintedArea square = printedArea({142.0441, 141.7323, 0, 0, 142.0441, 141.7323}, 203);
  EXPECT_EQ(square.width, 400);
  EXPECT_EQ(square.height, 399);
  EXPECT_DOUBLE_EQ(square.top, 142 - 72.0 / 203);
  // 150 mm high: from 425 points, 0.2 below the upper edge; 1198.3 rows are left of 1199, of which
  // the last one is no half.
  const PrintedArea high = printedArea({283.4646, 425.1969, 0.61, 0, 282.8546, 425.1969}, 203);
  EXPECT_EQ(high.width, 796);  // 282.2446 x 203 / 72 = 795.8
  EXPECT_EQ(high.height, 1198);
  EXPECT_DOUBLE_EQ(high.left, 0.61);
  EXPECT_DOUBLE_EQ(high.top, 425);
}

TEST(TestLabelArguments, ReadSizesOfLabels) {
  EXPECT_EQ(pageSizeOf("100x50mm"), "Custom.100x50mm");
  EXPECT_EQ(pageSizeOf("70.07x40mm"), "Custom.70.07x40mm");
  EXPECT_EQ(pageSizeOf("4x6in"), "Custom.4x6in");
  for (const char* wrong : {"", "100x50", "100mm", "x50mm", "100x", "100x50 mm2", "0x50mm",
                            "-4x6in", "4x6inch", "axbmm"}) {
    EXPECT_EQ(pageSizeOf(wrong), "") << wrong;
  }
}

}  // namespace
}  // namespace kestra::testlabel
