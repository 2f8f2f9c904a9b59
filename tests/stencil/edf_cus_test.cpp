// Tests of the stencil error diffusion: each tap, each edge and the relief for white dots beside
// black ones by hand, then every kind of page against the plain version.
// Why: these decisions are the dots that are burnt.
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "imaging/tattoo/tattoo_dithering.h"
#include "tests/plain_stencil/chain.h"
#include "tests/stencil/pictures.h"
#include "tests/stencil/stencil_images.h"

namespace kestra {
namespace {

plain::Rows diffused(const plain::Rows& rows, int threshold) {
  return rowsOf(edf_cus(greyImage(rows), threshold));
}

// The output at (x, y) with that pixel at a level.
int decided(plain::Rows rows, int x, int y, int level, int threshold = 127) {
  auto& pixel = rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
  pixel = level;
  return diffused(rows, threshold)[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
}

// Checks that a pixel turns white at `level` and is black one level below it.
void expectTurnsWhiteAt(const plain::Rows& rows, int x, int y, int level) {
  SCOPED_TRACE(testing::PrintToString(rows) + " at column " + std::to_string(x));
  EXPECT_EQ(decided(rows, x, y, level), 255);
  EXPECT_EQ(decided(rows, x, y, level - 1), 0);
}

}  // namespace

// In these examples a level 100 stays black at threshold 127 and passes on an error of 100; the
// other pixels are 0 and pass on what they get.

TEST(EdfCus, EachTapPassesOnItsShareOfTheError) {
  // To the right: 100 * 0.505786 = 50.58: 77 makes 127.58.
  expectTurnsWhiteAt({{100, 0}}, 1, 0, 77);
  // Two to the right, negative: 100 * -0.052926 = -5.29, and 50.58 * 0.505786 = 25.58 by way of the
  // pixel between: 20.29 in all.
  expectTurnsWhiteAt({{100, 0, 0}}, 2, 0, 107);
  // Below: 100 * 0.243191 = 24.32.
  expectTurnsWhiteAt({{100}, {0}}, 0, 1, 103);
  // Two to the left below: 100 * 0.226194 = 22.62.
  expectTurnsWhiteAt({{0, 0, 100}, {0, 0, 0}}, 0, 1, 105);
  // One to the left below: 100 * 0.128835 = 12.88 and 22.62 * 0.505786 = 11.44 from the
  // left: 24.32.
  expectTurnsWhiteAt({{0, 0, 100}, {0, 0, 0}}, 1, 1, 103);
  // Below, added to those of its row: 24.32 from above, 24.32 * 0.505786 = 12.30 from the left,
  // 22.62 * -0.052926 = -1.20: 35.42.
  expectTurnsWhiteAt({{0, 0, 100}, {0, 0, 0}}, 2, 1, 92);
  // To the right below, negative. (0,0) 100. (1,0): 50.58. (0,1): 24.32 + 50.58 * 0.128835 = 30.84.
  // (1,1): -11.11 from (0,0), 50.58 * 0.243191 = 12.30 from above, 30.84 * 0.505786 = 15.60 from
  // the left: 16.79.
  expectTurnsWhiteAt({{100, 0}, {0, 0}}, 1, 1, 111);
}

TEST(EdfCus, SharesBeyondAnEdgeAreDroppedAndDoNotWrap) {
  // 100 at the right end: the next row's first pixel gets 100 * 0.128835 = 12.88 and nothing else.
  expectTurnsWhiteAt({{0, 100}, {0, 0}}, 0, 1, 115);
  // One column: only the tap below stays, 24.32, then 24.32 * 0.243191 = 5.91.
  expectTurnsWhiteAt({{100}, {0}, {0}}, 0, 2, 122);
}

TEST(EdfCus, TwoByTwo) {
  // 100 everywhere. (0,0): 100, black. (1,0): 100 + 50.58 = 150.58, white, e = -104.42.
  // (0,1): 100 + 24.32 - 104.42 * 0.128835 = 110.87, black. (1,1): 100 - 11.11 - 104.42 * 0.243191
  // + 110.87 * 0.505786 = 119.57, black.
  EXPECT_EQ(diffused(uniformPage(2, 2, 100), 127), (plain::Rows{{0, 255}, {0, 0}}));
}

TEST(EdfCus, AWhiteDotBesideTwoBlackOnesIsCharged182) {
  // Centre 150: white, left and upper neighbours black: e = 150 - 255 * (1 - 0.2854) = -32.22, of
  // which -16.30 go to the right: 144 makes 127.70.
  expectTurnsWhiteAt({{0, 0, 0}, {0, 150, 0}, {0, 0, 0}}, 2, 1, 144);
}

TEST(EdfCus, AWhiteDotBesideOneBlackDotIsCharged218) {
  // 255 on the border is white without any error. e = 150 - 218.61 = -68.61, to the right -34.70.
  expectTurnsWhiteAt({{0, 255, 0}, {0, 150, 0}, {0, 0, 0}}, 2, 1, 162);
  expectTurnsWhiteAt({{0, 0, 0}, {255, 150, 0}, {0, 0, 0}}, 2, 1, 162);
}

TEST(EdfCus, AWhiteDotWithoutBlackNeighboursAtLeftAndAboveIsChargedInFull) {
  // The right and lower neighbours are black in the end, but nobody asks them. e = -105, to the
  // right -53.11.
  expectTurnsWhiteAt({{0, 255, 0}, {255, 150, 0}, {0, 0, 0}}, 2, 1, 181);
}

TEST(EdfCus, WhiteDotsOnTheBorderAreChargedInFull) {
  // First row and last row, a black dot at their left: -53.11 to the right.
  expectTurnsWhiteAt({{0, 150, 0}, {0, 0, 0}, {0, 0, 0}}, 2, 0, 181);
  expectTurnsWhiteAt({{0, 0, 0}, {0, 0, 0}, {0, 150, 0}}, 2, 2, 181);
  // First column, a black dot above.
  expectTurnsWhiteAt({{0, 0, 0}, {150, 0, 0}, {0, 0, 0}}, 1, 1, 181);
  // Last column, black at left and above: e = -105. Last row: (0,2) gets -23.75; (1,2) gets -13.53
  // - 12.01 = -25.54; (2,2) gets -25.54 + 23.75 * 0.052926 - 25.54 * 0.505786 = -37.20.
  expectTurnsWhiteAt({{0, 0, 0}, {0, 0, 150}, {0, 0, 0}}, 2, 2, 165);
}

TEST(EdfCus, SinglePixelIsWhiteAboveTheThreshold) {
  EXPECT_EQ(diffused({{127}}, 127), (plain::Rows{{0}}));
  EXPECT_EQ(diffused({{128}}, 127), (plain::Rows{{255}}));
  EXPECT_EQ(diffused({{0}}, 0), (plain::Rows{{0}}));
}

TEST(EdfCus, ThresholdOfMinusOneMakesEvenPaperWhiteUntilItsErrorSaysNo) {
  // 0 is above -1: white, e = -255, of which -128.98 go to the right. 128 - 128.98 is still above.
  EXPECT_EQ(diffused({{0, 0}}, -1), (plain::Rows{{255, 0}}));
  EXPECT_EQ(diffused({{0, 128}}, -1), (plain::Rows{{255, 255}}));
  EXPECT_EQ(diffused({{0, 127}}, -1), (plain::Rows{{255, 0}}));
  EXPECT_EQ(diffused(uniformPage(9, 7, 255), -1), uniformPage(9, 7, 255));
}

TEST(EdfCus, ThresholdsOf255And256AreOrdinaryOnes) {
  // 255 is not above 255: black, e = 255, to the right + 128.98.
  EXPECT_EQ(diffused({{255, 127}}, 255), (plain::Rows{{0, 255}}));
  EXPECT_EQ(diffused({{255, 126}}, 255), (plain::Rows{{0, 0}}));
  EXPECT_EQ(diffused({{255, 128}}, 256), (plain::Rows{{0, 255}}));
  EXPECT_EQ(diffused({{255, 127}}, 256), (plain::Rows{{0, 0}}));
}

TEST(EdfCus, FarThresholdsMakePagesOfOneColour) {
  const plain::Rows page = noisePage(33, 17, 5);
  EXPECT_EQ(diffused(page, std::numeric_limits<int>::max()), uniformPage(33, 17, 0));
  EXPECT_EQ(diffused(page, std::numeric_limits<int>::min()), uniformPage(33, 17, 255));
}

TEST(EdfCus, MakesANewGreyImage) {
  const plain::Rows page = photoPage(9, 8);
  const QMImage source = greyImage(page);
  const QMImage result = edf_cus(source, 100);
  EXPECT_EQ(rowsOf(source), page);
  EXPECT_NE(result.data, source.data);
  expectShape(result, 9, 8, 1, QM_IMG_GRAY);
}

TEST(EdfCus, BoundsIncludeZeroAndExcludeTheSize) {
  EXPECT_TRUE(isWithinBounds(0, 0, 1, 1));
  EXPECT_TRUE(isWithinBounds(4, 2, 5, 3));
  EXPECT_FALSE(isWithinBounds(5, 2, 5, 3));
  EXPECT_FALSE(isWithinBounds(4, 3, 5, 3));
  EXPECT_FALSE(isWithinBounds(-1, 0, 5, 3));
  EXPECT_FALSE(isWithinBounds(0, -1, 5, 3));
  EXPECT_FALSE(isWithinBounds(0, 0, 0, 0));
}

TEST(EdfCus, EqualsThePlainVersionOnEveryKindOfPageAndThreshold) {
  for (const NamedPicture& picture : allPictures()) {
    for (const int threshold : {-1, 0, 1, 77, 128, 254, 255, 256}) {
      ASSERT_EQ(diffused(picture.rows, threshold), plain_stencil::diffuse(picture.rows, threshold))
          << picture.name << ", threshold " << threshold;
    }
  }
}

TEST(EdfCus, EqualsThePlainVersionForEveryThreshold) {
  const plain::Rows pages[] = {photoPage(17, 15), noisePage(16, 9, 77)};
  for (int threshold = -2; threshold <= 257; ++threshold) {
    for (const plain::Rows& page : pages) {
      ASSERT_EQ(diffused(page, threshold), plain_stencil::diffuse(page, threshold)) << threshold;
    }
  }
}

TEST(EdfCus, FadingErrorsOverManyBlankRowsEqualThePlainVersion) {
  // Over paper the error shrinks below the normal floats; where the threshold is 0 or less, even
  // these remains count.
  for (const int threshold : {-1, 0, 1, 128, 255}) {
    for (const int level : {0, 255}) {
      plain::Rows page = uniformPage(9, 2000, level);
      page[0] = std::vector<int>{200, 13, 90, 0, 255, 7, 1, 130, 60};
      ASSERT_EQ(diffused(page, threshold), plain_stencil::diffuse(page, threshold))
          << level << ", threshold " << threshold;
    }
  }
}

}  // namespace kestra
