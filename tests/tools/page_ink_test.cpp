// Ink that is counted, boxes around it, and lines that are left out.
// Why: a fold line that counts as part of a label hides the label from the search.
#include "tools/crop/page_ink.h"

#include <gtest/gtest.h>

#include "tests/tools/page_of_boxes.h"

namespace kestra::crop {
namespace {

constexpr int kLongest = 444;  // of a 4 x 6 inch label: 432 + 2 x 6

PageInk inkOf(const PageOfBoxes& page) { return {page.page(), kLongest}; }

TEST(PageInk, CountsDotsInsideARectangleAndNoneBesideThePage) {
  const PageInk ink = inkOf(PageOfBoxes(20, 10).fill({2, 3, 7, 5}));
  EXPECT_EQ(ink.count({0, 0, 20, 10}), 10);
  EXPECT_EQ(ink.count({6, 4, 20, 10}), 1);
  EXPECT_EQ(ink.count({7, 5, 20, 10}), 0);
  EXPECT_EQ(ink.count({-50, -50, 3, 4}), 1);
  EXPECT_EQ(ink.count({20, 0, 90, 90}), 0);
  EXPECT_EQ(ink.count({5, 5, 5, 5}), 0);
}

TEST(PageInk, TakesAPaleDotForInkAndPaperForNone) {
  const PageInk ink = inkOf(PageOfBoxes(4, 1).fill({0, 0, 1, 1}, 234).fill({1, 0, 2, 1}, 235));
  EXPECT_EQ(ink.count({0, 0, 1, 1}), 1);
  EXPECT_EQ(ink.count({1, 0, 2, 1}), 0);
}

TEST(PageInk, PutsTheSmallestBoxAroundWhatIsDrawn) {
  const PageInk ink = inkOf(PageOfBoxes(100, 80).fill({11, 7, 12, 8}).fill({60, 33, 71, 62}));
  EXPECT_EQ(ink.around({0, 0, 100, 80}), (Box{11, 7, 71, 62}));
  EXPECT_EQ(ink.around({-9, -9, 200, 200}), (Box{11, 7, 71, 62}));
  EXPECT_EQ(ink.around({12, 0, 65, 50}), (Box{60, 33, 65, 50}));
  EXPECT_EQ(ink.around({11, 7, 12, 8}), (Box{11, 7, 12, 8}));
  EXPECT_EQ(ink.around({12, 0, 60, 80}), (Box{}));
}

TEST(PageInk, LeavesOutLinesThatAreLongerThanALabel) {
  const PageInk ink = inkOf(
      PageOfBoxes().levelDashes(400, 0, 595).fill({0, 500, 595, 503}).uprightDashes(300, 0, 842));
  EXPECT_EQ(ink.count({0, 0, 595, 842}), 0);
}

TEST(PageInk, KeepsLinesAsLongAsALabelAndThickBars) {
  // 444 from the first dot to the last is one too long; 443 is not.
  EXPECT_EQ(inkOf(PageOfBoxes().fill({0, 10, 445, 11})).count({0, 0, 595, 842}), 0);
  EXPECT_EQ(inkOf(PageOfBoxes().fill({0, 10, 444, 11})).count({0, 0, 595, 842}), 444);
  EXPECT_EQ(inkOf(PageOfBoxes().fill({0, 10, 595, 14})).count({0, 0, 595, 842}), 595 * 4);
}

TEST(PageInk, KeepsDashesThatLieTooFarApartToBeALine) {
  PageOfBoxes page;
  for (int x = 0; x < 595; x += 20) page.fill({x, 10, x + 10, 11});  // 10 dots white between
  EXPECT_EQ(inkOf(page).count({0, 0, 595, 842}), 30 * 10);
}

}  // namespace
}  // namespace kestra::crop
