// Tests the measuring of blank lines, oddities included: the count from the top never sees line 0
// and looks one line past the page.
#include "printer/blank_edges.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace kestra {
namespace {

/// A page of 4 bytes a line, '#' for a byte that is not 0; just as long as the page, so that the
/// sanitizers see a look past its end.
struct Page {
  explicit Page(const std::vector<const char*>& lines) : height(lines.size()) {
    for (const char* line : lines) {
      for (int x = 0; x < 4; ++x) bytes.push_back(line[x] == '#' ? 1 : 0);
    }
  }
  unsigned long front(unsigned long skipRight = 0) const {
    return wrenImageCountBlankLinesFromFront(bytes.data(), 4, height, skipRight, 4);
  }
  unsigned long back(unsigned long skipRight = 0) const {
    return wrenImageCountBlankLinesFromBack(bytes.data(), 4, height, skipRight, 4);
  }

  std::vector<std::uint8_t> bytes;
  unsigned long height;
};

TEST(BlankLinesFromFront, CountOneLineLessThanThereAre) {
  // Examined in turn: lines 1, 2, 3. Line 3 is the third: result 2, though 3 lines are blank.
  EXPECT_EQ(2U, Page({"....", "....", "....", ".#..", "...."}).front());
}

TEST(BlankLinesFromFront, NeverSeeLineZero) {
  EXPECT_EQ(4U, Page({"####", "....", "....", "...."}).front());
}

TEST(BlankLinesFromFront, AreNoneWhereLineOneIsPrinted) {
  EXPECT_EQ(0U, Page({"....", "...#", "....", "...."}).front());
}

TEST(BlankLinesFromFront, AreAllOfABlankPage) {
  // The line behind the page counts as blank.
  EXPECT_EQ(3U, Page({"....", "....", "...."}).front());
}

TEST(BlankLinesFromFront, FindTheLastLine) {
  EXPECT_EQ(1U, Page({"....", "....", "#..."}).front());
}

TEST(BlankLinesFromFront, OfAOneLinePageAreOne) { EXPECT_EQ(1U, Page({"####"}).front()); }

TEST(BlankLinesFromBack, CountUpToTheLastPrintedLine) {
  EXPECT_EQ(4U, Page({"....", "....", "....", ".#..", "...."}).back());
  EXPECT_EQ(1U, Page({"####", "....", "...."}).back());
  EXPECT_EQ(3U, Page({"....", "....", "#..."}).back());
}

TEST(BlankLinesFromBack, AreZeroForABlankPage) {
  EXPECT_EQ(0U, Page({"....", "....", "...."}).back());
}

TEST(BlankLines, LeaveOutThePixelsToSkip) {
  const Page page({"....", "...#", "..#.", "...."});
  EXPECT_EQ(0U, page.front());
  EXPECT_EQ(1U, page.front(1));  // column 3 does not count
  EXPECT_EQ(4U, page.front(2));  // neither does column 2
  EXPECT_EQ(3U, page.back());
  EXPECT_EQ(3U, page.back(1));
  EXPECT_EQ(0U, page.back(2));
}

TEST(BlankLines, ExamineNothingWhereAllPixelsAreSkipped) {
  const Page page({"####", "####"});
  EXPECT_EQ(2U, page.front(4));
  EXPECT_EQ(0U, page.back(4));
}

TEST(BlankLines, ExamineWholeLinesWhereTheSkipIsLongerThanALine) {
  const Page page({"....", "...#", "...."});
  for (const unsigned long skip : {5UL, 1000UL, ~0UL}) {
    EXPECT_EQ(0U, page.front(skip)) << skip;
    EXPECT_EQ(2U, page.back(skip)) << skip;
  }
}

TEST(BlankLines, OfNoLinesAreNone) {
  const std::uint8_t byte = 1;
  EXPECT_EQ(0U, wrenImageCountBlankLinesFromFront(&byte, 4, 0, 0, 4));
  EXPECT_EQ(0U, wrenImageCountBlankLinesFromBack(&byte, 4, 0, 0, 4));
}

TEST(BlankLines, StepByThePageWidthThroughLongerLines) {
  // Lines of 8 bytes of a page 4 pixels wide, 2 lines: 16 bytes. Front examines 4..11, then 8..15;
  // back examines 4..11, then 0..7.
  const auto edges = [](std::size_t ink) {
    std::vector<std::uint8_t> bytes(16, 0);
    bytes[ink] = 1;
    return std::pair(wrenImageCountBlankLinesFromFront(bytes.data(), 8, 2, 0, 4),
                     wrenImageCountBlankLinesFromBack(bytes.data(), 8, 2, 0, 4));
  };
  EXPECT_EQ(std::pair(1UL, 0UL), edges(15));
  EXPECT_EQ(std::pair(0UL, 2UL), edges(9));
  EXPECT_EQ(std::pair(2UL, 1UL), edges(2));
}

}  // namespace
}  // namespace kestra
