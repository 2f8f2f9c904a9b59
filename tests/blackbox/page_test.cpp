// Pages of all shapes in one job: order, sizes, padding, lines longer than the page, wide pages.
// Why: buffers are used again from page to page, and what is left in them would be printed.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

TEST(Page, PrintsPagesOfDifferentSizesInOneStream) {
  JobCase job;
  job.addPage(400, 60, "photo");
  job.addPage(9, 3, "noise");
  job.addPage(33, 90, "bars", 40);
  job.addPage(800, 7, "text", 0, 300);
  job.addPage(12, 12, "solid");
  expectAsPlain(job);
  job.compressed = true;
  expectAsPlain(job);
  job.fileArgument = true;
  expectAsPlain(job);
}

TEST(Page, RecomputesThePrintWidthFromMillimetresForEachPage) {
  // 101.6 mm are 812 dots at 203 dpi and 1200 at 300: margins (812-8)/2 = 402 -> 51 bytes and
  // (1200-8)/2 = 596 -> 75 bytes; record lengths 1 + 2 + 51 = 54 and 1 + 2 + 75 = 78.
  JobCase job;
  job.addPage(8, 1, "solid", 0, 203);
  job.addPage(8, 1, "solid", 0, 300);
  job.addPage(8, 1, "solid", 0, 203);
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(frameOfPage(result, 1).substr(18, 2), hex("36 00"));
  EXPECT_EQ(frameOfPage(result, 2).substr(18, 2), hex("4E 00"));
  EXPECT_EQ(frameOfPage(result, 3).substr(18, 2), hex("36 00"));
}

TEST(Page, PrintsSkewedRowsWhenTheWidthIsNoMultipleOfFour) {
  for (const unsigned width : {1U, 2U, 3U, 5U, 6U, 7U, 9U, 10U, 11U, 13U, 31U, 33U, 99U, 799U}) {
    for (const bool negative : {false, true}) {
      SCOPED_TRACE(std::to_string(width) + (negative ? " negative" : ""));
      JobCase job;
      if (negative) job.negative();
      job.addPage(width, 9, "noise");
      job.addPage(width, 1, "solid");
      expectAsPlain(job);
    }
  }
}

TEST(Page, SkewsAFiveDotPageByItsPaddingBytes) {
  // Width 5, rows 8 bytes apart, all ink: 1 1 1 1 1 0 0 0 | 1 1 1 1 1 0 0 0, read 5 by 5:
  // 11111 -> F8, 00011 -> 18.
  const std::string frame = frameOf(onePage(5, 2, "solid"));
  // Margin ((812 - 5) / 2 + 7) / 8 = 51.3 -> 51; record = 2 + 51 + 1 = 54 bytes.
  ASSERT_EQ(frame.size(), 22U + 2 * 54);
  EXPECT_EQ(frame.substr(22 + 53, 1), hex("F8"));
  EXPECT_EQ(frame.substr(22 + 54, 2), hex("02 00"));
  EXPECT_EQ(frame.substr(22 + 54 + 53, 1), hex("18"));
}

TEST(Page, IgnoresBytesBehindTheWidth) {
  for (const unsigned extra : {1U, 2U, 3U, 4U, 5U, 13U, 100U}) {
    for (const unsigned width : {1U, 5U, 8U, 30U}) {
      JobCase job;
      job.halftone(static_cast<int>(extra % 8));
      job.addPage(width, 10, "noise", width + extra);
      job.addPage(width, 1, "solid", width + extra);
      expectAsPlain(job);
    }
  }
}

TEST(Page, CentresThePageOnTheHead) {
  // 812 printable dots. width 784..812: half the rest plus 7, over 8.
  for (const unsigned width : {8U, 700U, 784U, 796U, 797U, 798U, 799U, 800U, 808U, 812U}) {
    SCOPED_TRACE(width);
    expectAsPlain(onePage(width, 3, "noise"));
  }
}

TEST(Page, KeepsMarginZeroUpToTwentyNineDotsTooMany) {
  // (-29 / 2 + 7) / 8 = -0.94 -> 0; (-30 / 2 + 7) / 8 = -1.
  // 841 dots: 106 bytes + 2.
  EXPECT_EQ(frameOf(onePage(812 + 29, 2, "solid")).substr(18, 2), hex("6C 00"));
  // 842 dots: 106 bytes + 2 - 1.
  EXPECT_EQ(frameOf(onePage(812 + 30, 2, "solid")).substr(18, 2), hex("6B 00"));
}

TEST(Page, LetsRowsOverwriteCountsWhenThePageIsTooWide) {
  // Margins -1, -2, -3 and on: 16 dots more take one byte more.
  for (unsigned width = 842; width < 842 + 16 * 8; width += 8) {
    SCOPED_TRACE(width);
    JobCase job;
    job.addPage(width, 5, "noise");
    job.addPage(width, 1, "solid");
    expectAsPlain(job);
  }
}

TEST(Page, OverlapsTheRecordsOfANarrowHeadInTheWrittenOrder) {
  // Printable width 0 (no MaxMediaWidth): width 32 gives ((0 - 32) / 2 + 7) / 8 = -1.125 -> -1.
  // Record = 4 + 2 - 1 = 5 bytes. Two solid rows, each FF FF FF FF with 32 dots = 20 00:
  //   row 0: count at 0, 1; row at 0 + 2 - 1 = 1..4
  //   row 1: count at 5, 6; row at 6..9
  JobCase job = onePage(32, 2, "solid");
  job.mediaWidth("");
  const std::string frame = frameOf(job);
  EXPECT_EQ(frame.substr(16), hex("30 00 05 00 02 00 20 FF FF FF FF 20 FF FF FF FF"));
}

TEST(Page, WritesOverTheRecordBeforeFromMarginMinusThreeOn) {
  // Printable width 0, width 64: (-32 + 7) / 8 = -3.1 -> -3; record = 8 + 2 - 3 = 7 bytes.
  // Rows A = 80 x 8 (8 dots), B = C0 x 8 (16 dots):
  //   row 0: 08 00 at 0; eight 80 from 0 + 2 - 3 = -1 on: the first is lost, seven at 0..6
  //   row 1: 10 00 at 7; eight C0 from 6 on: 6..13
  JobCase job;
  job.mediaWidth("");
  std::vector<std::uint8_t> pixels;
  for (int x = 0; x < 64; ++x) pixels.push_back(x % 8 < 1 ? 255 : 0);
  for (int x = 0; x < 64; ++x) pixels.push_back(x % 8 < 2 ? 255 : 0);
  job.addPixels(64, 2, pixels);
  const std::string frame = frameOf(job);
  EXPECT_EQ(frame.substr(18), hex("07 00 02 00 80 80 80 80 80 80 C0 C0 C0 C0 C0 C0 C0 C0"));
}

TEST(Page, MakesNoFrameWhenTheRecordsHaveNoBytes) {
  // Printable width 0: a row of w / 8 bytes and a margin of about -w / 16 always leave a record.
  for (const unsigned width : {1U, 8U, 100U, 1000U, 4000U}) {
    SCOPED_TRACE(width);
    JobCase job = onePage(width, 2, "noise");
    job.mediaWidth("");
    expectAsPlain(job);
  }
  // A negative MaxMediaWidth does it: -720 points are -254 mm, -2030 dots, a margin of
  // ((-2030 - 8) / 2 + 7) / 8 = -126.5 -> -126. No frame, no number used up.
  JobCase job;
  job.mediaWidth("-720");
  job.addPage(8, 2, "solid");
  job.addPage(8, 2, "solid");
  job.makeDataDirectory();
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(result.output.size(), 14U);
  EXPECT_EQ(counterOf(result), hex("01 00"));
}

TEST(Page, DropsWhatFallsOutsideTheRecordsAtTheSmallestRecordLengths) {
  // Printable widths that leave 1, 2 and 3 bytes per record for rows of 1 byte: margins -2, -1, 0;
  // and longer rows with margins just above the end.
  for (const int points : {-20, -15, -10, -8, -6, -4, -2, 0}) {
    for (const unsigned width : {8U, 16U, 24U, 40U}) {
      SCOPED_TRACE(std::to_string(points) + " points, " + std::to_string(width) + " dots");
      JobCase job = onePage(width, 6, "noise");
      job.mediaWidth(std::to_string(points));
      expectAsPlain(job);
    }
  }
}

TEST(Page, EndsWithStatusOneAtAPageThatHasNotEightBits) {
  for (const unsigned bits : {1U, 16U, 24U, 32U}) {
    SCOPED_TRACE(bits);
    cups_page_header2_t bad = ts::makeHeader(16, 2, 16 * bits / 8);
    bad.cupsBitsPerPixel = bits;
    bad.cupsBitsPerColor = bits == 1 ? 1 : bits == 16 ? 16 : 8;
    bad.cupsNumColors = bits == 24 ? 3 : bits == 32 ? 4 : 1;
    bad.cupsColorSpace = bits == 24   ? CUPS_CSPACE_RGB
                         : bits == 32 ? CUPS_CSPACE_CMYK
                                      : CUPS_CSPACE_K;
    JobCase job;
    const auto good = ts::makeHeader(16, 2, 16);
    job.stream = ts::rawStream({{good, ts::noise(16, 2, 1)},
                                {bad, ts::noise(bad.cupsBytesPerLine, 2, 2)},
                                {good, ts::noise(16, 2, 3)}});
    job.makeDataDirectory();
    const ts::Result result = expectAsPlain(job);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(says(result, "ERROR:Unsupported bits per pixel : " + std::to_string(bits) +
                                 " ! Requires 8 bits per pixel!\n"));
    EXPECT_EQ(result.files.count(std::string(ts::kData) + "/label.pgc"), 0U) << "no job end";
    EXPECT_EQ(result.output.size(), 7U) << "the first page's command only";
  }
}

TEST(Page, EndsTheJobNormallyAtAPageOfHeightZero) {
  JobCase job;
  const auto good = ts::makeHeader(16, 2, 16);
  job.stream = ts::rawStream(
      {{good, ts::noise(16, 2, 1)}, {ts::makeHeader(16, 0, 16), {}}, {good, ts::noise(16, 2, 3)}});
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output.size(), 7U);
  EXPECT_EQ(counterOf(result), hex("02 00"));
}

TEST(Page, SendsTheCommandOfAPageWhosePixelsCannotBeRead) {
  JobCase job;
  const auto header = ts::makeHeader(16, 4, 16);
  std::vector<std::uint8_t> half = ts::noise(16, 4, 2);
  half.resize(30);
  job.stream = ts::rawStream({{header, ts::noise(16, 4, 1)}, {header, half}});
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, hex("1B 73 01 00 00 02 01 1B 73 01 00 00 02 01"));
  onlyFrame(result);
}

TEST(Page, KeepsOnlyTheLastPageInTheSideFile) {
  JobCase job;
  job.addPage(16, 4, "noise", 20);
  job.addPage(24, 3, "noise");
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(result.files.at("tmp/xxxxx.log"),
            "cupsWidth:24, cupsHeight:3, cupsBytesPerLine:24, cupsBitsPerPixel:8\n");
}

TEST(Page, LogsEveryHeaderField) {
  cups_page_header2_t header = ts::makeHeader(16, 2, 16);
  header.HWResolution[1] = 300;
  header.cupsMediaType = 11;
  header.cupsCompression = 12;
  header.cupsRowCount = 13;
  header.cupsRowFeed = 14;
  header.cupsRowStep = 15;
  header.NumCopies = 16;
  JobCase job;
  job.pages.push_back({header, ts::noise(16, 2, 1)});
  const ts::Result result = expectAsPlain(job);
  EXPECT_TRUE(says(result,
                   "DEBUG:PAGE: 1 16\n\nDEBUG:header.HWResolution[0]:203\n\n"
                   "DEBUG:header.HWResolution[1]:300\nDEBUG:header.cupsWidth:16\n"));
}

TEST(Page, PrintsAThousandPages) {
  JobCase job;
  for (int i = 0; i < 1000; ++i) job.addPage(8, 2, "solid");
  const ts::Result result = expectAsPlain(job);
  // 1000 = 0x3E8 frames, so the next number is 0x3E9.
  EXPECT_EQ(counterOf(result), hex("E9 03"));
}

}  // namespace kestra::blackbox
