// Pages of which no image can be made, before and after good ones, on both families of halftones.
// Why: a classic page then has no image left, while the stencil of the page before is still there
// and is printed once more, with its dots already packed into its first bytes.
#include <gtest/gtest.h>

#include "tests/blackbox/drawn_stencil.h"

namespace kestra::blackbox {

namespace {

ts::StreamPage badPage(unsigned height = 4, unsigned dpi = 203) {
  return {ts::makeHeader(0, height, 16, dpi), ts::noise(16, height, 1)};
}

JobCase jobOf(int halftone, const std::vector<ts::StreamPage>& pages) {
  JobCase job;
  job.halftone(halftone);
  job.stream = ts::rawStream(pages);
  return job;
}

// 16 x 2: all dots but the left half of the second row (and the last pixel).
bool oneGap(unsigned x, unsigned y) { return x >= 8 || y == 0; }

constexpr char kMissing[] = "ERROR:printImage: pimage is NULL, unable to print the image\n";

}  // namespace

class NoImage : public ::testing::TestWithParam<int> {};

TEST_P(NoImage, PrintsTheStencilOfThePageBeforeFromItsPackedBlock) {
  // The good page's block: 16 x FF | 8 x 00 7 x FF 00; its dots FF FF | 00 FE lie over the first
  // four bytes then: FF FF 00 FE 12 x FF | 8 x 00 7 x FF 00. Packed again, any byte but 0 a dot:
  // 1101 1111 = DF, FF | 00, FE. The label block says 0 dots width and the bad page's 4 rows;
  // records are as long as 16 dots ask for, and there are 2 rows.
  const ts::Result result = expectAsPlain(jobOf(GetParam(), {drawnPage(16, 2, oneGap), badPage()}));
  EXPECT_EQ(imageNamed(result, "dithered_#_1.bmp").substr(1078), drawnBytes(16, 2, oneGap));
  EXPECT_EQ(imageNamed(result, "dithered_#_3.bmp").substr(1078),
            hex("FF FF 00 FE") + std::string(12, '\xFF') + std::string(8, '\0') +
                std::string(7, '\xFF') + std::string(1, '\0'));
  const std::string margin(50, '\0');
  EXPECT_EQ(frameOfPage(result, 1).substr(22),
            hex("10 00") + margin + hex("FF FF") + hex("07 00") + margin + hex("00 FE"));
  EXPECT_EQ(frameOfPage(result, 2),
            hex("53 49 5A 01 00 00 04 00 0F 00 00 00 02 00 1D 76 30 00 36 00 02 00") +
                hex("0F 00") + margin + hex("DF FF") + hex("07 00") + margin + hex("00 FE"));
  EXPECT_EQ(result.status, 0);
}

TEST_P(NoImage, TakesMarginAndLabelFromTheBadPage) {
  // 300 dpi: 1200 printable dots, margin ((1200 - 16) / 2 + 7) / 8 = 74.9 -> 74, record 78 = 4E;
  // 2 mm gap = 23.6 -> 23; 5 rows.
  const ts::Result result =
      expectAsPlain(jobOf(GetParam(), {drawnPage(16, 2, oneGap), badPage(5, 300)}));
  EXPECT_EQ(frameOfPage(result, 2).substr(0, 22),
            hex("53 49 5A 01 00 00 05 00 17 00 00 00 02 00 1D 76 30 00 4E 00 02 00"));
}

TEST_P(NoImage, PrintsNothingBeforeTheFirstGoodPage) {
  const ts::Result result =
      expectAsPlain(jobOf(GetParam(), {badPage(), badPage(), drawnPage(16, 2, oneGap)}));
  // Two original images, then the pair of the good page: the missing images count nothing.
  imageNamed(result, "origin_#_0.bmp");
  imageNamed(result, "origin_#_1.bmp");
  imageNamed(result, "origin_#_2.bmp");
  EXPECT_EQ(imageNamed(result, "dithered_#_3.bmp").substr(1078), drawnBytes(16, 2, oneGap));
  EXPECT_EQ(frameOfPage(result, 1).substr(12, 2), hex("01 00"));
  EXPECT_EQ(counterOf(result), hex("02 00"));
  const std::size_t first = result.messages.find(kMissing);
  ASSERT_NE(first, std::string::npos);
  EXPECT_NE(result.messages.find(kMissing, first + 1), std::string::npos);
}

TEST_P(NoImage, ComesBackAfterEveryMixOfGoodAndBadPages) {
  for (const int barcode : {0, 1, 2}) {
    for (const bool negative : {false, true}) {
      SCOPED_TRACE(barcode + (negative ? 10 : 0));
      const auto good = [](unsigned width, unsigned height, const char* picture) {
        return ts::StreamPage{ts::makeHeader(width, height, width),
                              ts::makePicture(picture, width, height)};
      };
      JobCase job =
          jobOf(GetParam(), {badPage(), good(50, 23, "photo"), badPage(1), badPage(30, 300),
                             good(813, 20, "bars"), badPage(), badPage(), badPage(),
                             good(5, 3, "noise"), badPage(2), good(16, 16, "text")});
      job.barcode(barcode);
      if (negative) job.negative();
      expectAsPlain(job);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Stencil, NoImage, ::testing::Values(8, 9),
                         [](const auto& each) { return halftoneName(each.param); });

TEST(NoImageClassic, HasNothingLeftToPrint) {
  for (int halftone = 0; halftone < 8; ++halftone) {
    const ts::StreamPage good = {ts::makeHeader(16, 4, 16), ts::noise(16, 4, 2)};
    const ts::Result result = expectAsPlain(jobOf(halftone, {good, badPage(), good}));
    EXPECT_TRUE(says(result, kMissing));
    EXPECT_EQ(counterOf(result), hex("03 00"));
  }
}

}  // namespace kestra::blackbox
