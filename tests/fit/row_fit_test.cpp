// How wide a row is printed, what it loses and what is said of it.
#include "tools/fit/row_fit.h"

#include <gtest/gtest.h>

namespace kestra {

constexpr std::uint32_t kHead = 832;

TEST(RowFit, FillsARowUpToTheNextMultipleOfFour) {
  struct Case {
    std::uint32_t width;
    std::uint32_t fill;
  };
  for (const Case& c : {Case{1, 3}, Case{2, 2}, Case{3, 1}, Case{4, 0}, Case{5, 3}, Case{557, 3},
                        Case{558, 2}, Case{559, 1}, Case{560, 0}, Case{829, 3}, Case{831, 1}}) {
    const RowFit fit = rowFit(c.width, kHead);
    EXPECT_EQ(fit.fill, c.fill) << c.width;
    EXPECT_EQ(fit.keep, c.width);
    EXPECT_EQ(fit.width() % 4, 0U) << c.width;
    EXPECT_FALSE(fit.cuts()) << c.width;
  }
}

TEST(RowFit, CutsWhatTheHeadCannotReachFromBothSidesAlike) {
  struct Case {
    std::uint32_t width;
    std::uint32_t left;
    std::uint32_t right;
  };
  for (const Case& c : {Case{832, 0, 0}, Case{833, 0, 1}, Case{834, 1, 1}, Case{835, 1, 2},
                        Case{836, 2, 2}, Case{2398, 783, 783}}) {
    const RowFit fit = rowFit(c.width, kHead);
    EXPECT_EQ(fit.skip, c.left) << c.width;
    EXPECT_EQ(fit.cutRight, c.right) << c.width;
    EXPECT_EQ(fit.keep, kHead) << c.width;
    EXPECT_EQ(fit.fill, 0U) << c.width;
    EXPECT_EQ(fit.cuts(), c.width > kHead);
  }
}

TEST(RowFit, NeverPrintsBesideAHeadWhoseWidthIsNoMultipleOfFour) {
  // 1229 dots: 1228 are printed, whether the page has 1228, 1229 or 1230.
  for (const std::uint32_t width : {1228U, 1229U, 1230U}) {
    const RowFit fit = rowFit(width, 1229);
    EXPECT_EQ(fit.width(), 1228U);
    EXPECT_EQ(fit.skip + fit.cutRight, width - 1228);
  }
}

TEST(RowFit, CutsNothingWhereTheHeadIsUnknown) {
  EXPECT_EQ(rowFit(5000, 0).width(), 5000U);
  EXPECT_EQ(rowFit(4999, 0).fill, 1U);
  EXPECT_FALSE(rowFit(4999, 0).cuts());
}

TEST(RowFit, WorksTheHeadsDotsOutFromItsPoints) {
  // 295.1 / 72 * 203 = 832.02 and * 300 = 1229.6; 612.9 / 72 * 203 = 1728.04 and * 300 = 2553.75.
  EXPECT_EQ(headDots(295.1, 203), 832U);
  EXPECT_EQ(headDots(295.1, 300), 1229U);
  EXPECT_EQ(headDots(612.9, 203), 1728U);
  EXPECT_EQ(headDots(612.9, 300), 2553U);
}

TEST(RowFit, TakesNoHeadFromMeaninglessNumbers) {
  EXPECT_EQ(headDots(0, 203), 0U);
  EXPECT_EQ(headDots(-5, 203), 0U);
  EXPECT_EQ(headDots(295.1, 0), 0U);
  EXPECT_EQ(headDots(1e300, 300), 0U);
  EXPECT_EQ(headDots(295.1, 4000000000U), 0U);
}

TEST(RowFit, SaysInPlainWordsWhatIsCutAndFilled) {
  // 100 dots are 100 / 203 * 25.4 = 12.5 mm, 50 are 6.3 mm.
  EXPECT_EQ(cutWarning({3, rowFit(932, kHead), 203}),
            "WARNING: Page 3 is 12.5 mm (100 dots) wider than the print head: 6.3 mm (50 dots) on "
            "the left and 6.3 mm (50 dots) on the right are not printed; choose a narrower page "
            "size");
  EXPECT_EQ(fillMessage({1, rowFit(559, kHead), 203}),
            "DEBUG: Page 1 is 559 dots wide and gets 0.1 mm (1 dot) of paper on the right, so that "
            "it prints straight");
}

}  // namespace kestra
