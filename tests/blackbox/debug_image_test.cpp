// The two bitmaps of every page: header, data as it lies in memory.
// Why: they are what a bad print is diagnosed with, and their oddities must stay the known ones.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

TEST(DebugImage, HasAHeaderThatDisagreesWithItsData) {
  // 10 x 2: the header speaks of rows of 12 bytes (24 = 0x18 in all, file 1078 + 24 = 1102 =
  // 0x44E), but 20 bytes follow the palette.
  JobCase job;
  std::vector<std::uint8_t> pixels;
  for (int i = 0; i < 20; ++i) pixels.push_back(static_cast<std::uint8_t>(i * 10));
  job.addPixels(10, 2, pixels);
  const std::string image = imageNamed(expectAsPlain(job), "origin_#_0.bmp");
  ASSERT_EQ(image.size(), 1078U + 20);
  EXPECT_EQ(
      image.substr(0, 54),
      hex("42 4D 4E 04 00 00 00 00 00 00 36 04 00 00 28 00 00 00 0A 00 00 00 02 00 00 00 01 00 "
          "08 00 00 00 00 00 18 00 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 01 00 00"));
  EXPECT_EQ(image.substr(54, 8), hex("00 00 00 00 01 01 01 00"));
  EXPECT_EQ(image.substr(1074, 4), hex("FF FF FF 00"));
  EXPECT_EQ(image.substr(1078), std::string(pixels.begin(), pixels.end()));
}

TEST(DebugImage, ShowsTheProcessedPageUnpacked) {
  // Width 5, solid: rows 1 1 1 1 1 0 0 0 in memory, of which the first 10 bytes are written.
  EXPECT_EQ(imageNamed(expectAsPlain(onePage(5, 2, "solid")), "dithered_#_1.bmp").substr(1078),
            hex("01 01 01 01 01 00 00 00 01 01"));
}

TEST(DebugImage, ShowsTheNegativePageWithItsComplementedPadding) {
  // 1 becomes 254 = FE, the padding 0 becomes FF.
  JobCase job = onePage(5, 2, "solid");
  job.negative();
  EXPECT_EQ(imageNamed(expectAsPlain(job), "dithered_#_1.bmp").substr(1078),
            hex("FE FE FE FE FE FF FF FF FE FE"));
}

TEST(DebugImage, ShowsThePageBeforeTheBarcodeChange) {
  JobCase job;
  job.negative();
  job.barcode(1);
  std::vector<std::uint8_t> pixels(400 * 9, 0);
  pixels[2 * 400 + 350] = 255;
  job.addPixels(400, 9, pixels);
  const std::string image = imageNamed(expectAsPlain(job), "dithered_#_1.bmp");
  EXPECT_EQ(image.find('\0', 1078), std::string::npos) << "no dash is in the picture";
}

TEST(DebugImage, TakesTheOriginalFromTheStartOfTheBufferWhenLinesAreLonger) {
  // 2 lines of 6 bytes, width 4: 8 bytes from the start, so bytes of the first line's end are in
  // it.
  JobCase job;
  job.addPixels(4, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  EXPECT_EQ(imageNamed(expectAsPlain(job), "origin_#_0.bmp").substr(1078),
            hex("01 02 03 04 05 06 07 08"));
}

}  // namespace kestra::blackbox
