// Tests of the frame reader: every field, every way to be broken, and the rows.
//
// The reader judges what the filter wrote, so it is tested on frames spelled out by hand.
#include "tools/frame/frame_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/tools/frame_bytes.h"

namespace kestra {
namespace {

std::string problemOf(const Bytes& bytes) {
  const Result<PageFrame> parsed = parsePageFrame(bytes);
  EXPECT_FALSE(parsed);
  return parsed.problem();
}

TEST(PageFrame, ReadsEveryField) {
  const Result<PageFrame> parsed = parsePageFrame(smallFrame());
  ASSERT_TRUE(parsed) << parsed.problem();
  EXPECT_EQ(parsed.problem(), "");
  EXPECT_EQ(parsed->media, Media::kGaps);
  EXPECT_EQ(parsed->widthDots, 12);
  EXPECT_EQ(parsed->heightDots, 2);
  EXPECT_EQ(parsed->gapDots, 16);
  EXPECT_EQ(parsed->reserved, 0);
  EXPECT_EQ(parsed->pageNumber, 7);
  EXPECT_EQ(parsed->recordBytes, 5);
  EXPECT_EQ(parsed->rowCount, 2);
  EXPECT_EQ(parsed->drawnWidth(), 24U);  // 5 - 2 bytes of 8 dots
}

TEST(PageFrame, ReadsNumbersLowByteFirst) {
  FrameStart start;
  start.width = 0x0102;
  start.height = 0xFF01;
  start.gap = 0x0300;
  start.page = 0xFFFE;
  start.record = 3;
  start.rows = 1;
  Bytes bytes = frameStart(start);
  EXPECT_EQ(bytes[4], 0x02);
  EXPECT_EQ(bytes[5], 0x01);
  bytes.insert(bytes.end(), {0, 0, 0});
  const Result<PageFrame> parsed = parsePageFrame(bytes);
  ASSERT_TRUE(parsed) << parsed.problem();
  EXPECT_EQ(parsed->widthDots, 258);
  EXPECT_EQ(parsed->heightDots, 65281);
  EXPECT_EQ(parsed->gapDots, 768);
  EXPECT_EQ(parsed->pageNumber, 65534);
}

TEST(PageFrame, KnowsTheThreeMedia) {
  const Media media[] = {Media::kContinuous, Media::kGaps, Media::kMarks};
  for (unsigned code = 0; code < 3; ++code) {
    Bytes bytes = smallFrame();
    bytes[3] = static_cast<std::uint8_t>(code);
    const Result<PageFrame> parsed = parsePageFrame(bytes);
    ASSERT_TRUE(parsed) << parsed.problem();
    EXPECT_EQ(parsed->media, media[code]);
  }
}

TEST(PageFrame, SplitsARowIntoCountMarginAndPage) {
  const Result<PageFrame> parsed = parsePageFrame(smallFrame());
  ASSERT_TRUE(parsed);
  const FrameRow row = parsed->row(0);
  EXPECT_EQ(row.announced, 12);
  // 12 dots need 2 bytes; the record has 3 behind the count, so 1 is margin.
  ASSERT_EQ(row.margin.size, 1U);
  ASSERT_EQ(row.page.size, 2U);
  ASSERT_EQ(row.dots.size, 3U);
  EXPECT_EQ(row.margin.data[0], 0x00);
  EXPECT_EQ(row.page.data[0], 0xFF);
  EXPECT_EQ(row.page.data[1], 0xF0);
  EXPECT_EQ(parsed->row(1).page.data[1], 0x10);
  EXPECT_FALSE(parsed->widerThanHead());
}

// A page of 17 dots is 3 bytes wide but may be announced as 16 dots, which need only 2.
TEST(PageFrame, GivesThePageTheByteThatTheAnnouncedWidthLacks) {
  FrameStart start;
  start.width = 16;
  start.rows = 1;
  start.record = 6;  // 2 count + 1 margin + 3 page
  Bytes bytes = frameStart(start);
  bytes.insert(bytes.end(), {2, 0, 0x00, 0x80, 0x00, 0x80});
  const Result<PageFrame> parsed = parsePageFrame(bytes);
  ASSERT_TRUE(parsed) << parsed.problem();
  EXPECT_EQ(parsed->marginBytes(), 1U);
  EXPECT_EQ(parsed->row(0).page.size, 3U);
}

// The same page on a head of just that width: its only margin byte is none.
TEST(PageFrame, GivesThePageItsOnlyMarginByteAsWell) {
  FrameStart start;
  start.width = 16;
  start.rows = 2;
  start.record = 5;  // 2 count + 3 page
  Bytes bytes = frameStart(start);
  bytes.insert(bytes.end(), {1, 0, 0x00, 0x00, 0x80, 2, 0, 0x80, 0x00, 0x80});
  const Result<PageFrame> parsed = parsePageFrame(bytes);
  ASSERT_TRUE(parsed) << parsed.problem();
  EXPECT_EQ(parsed->marginBytes(), 0U);
  EXPECT_EQ(parsed->row(0).page.size, 3U);
}

// 16 dots are 2 bytes: behind the count nothing else fits, and nothing is missing.
TEST(PageFrame, APageAsWideAsTheHeadHasNoMarginAndFits) {
  FrameStart start;
  start.width = 16;
  start.rows = 1;
  start.record = 4;  // 2 count + 2 page
  Bytes bytes = frameStart(start);
  bytes.insert(bytes.end(), {2, 0, 0x80, 0x01});
  const Result<PageFrame> parsed = parsePageFrame(bytes);
  ASSERT_TRUE(parsed) << parsed.problem();
  EXPECT_FALSE(parsed->widerThanHead());
  EXPECT_EQ(parsed->marginBytes(), 0U);
}

// 16 dots are 2 bytes, not 3: the byte 0 before them is margin.
TEST(PageFrame, AWidthOfWholeBytesTakesNoByteMore) {
  FrameStart start;
  start.width = 16;
  start.rows = 1;
  start.record = 5;  // 2 count + 1 margin + 2 page
  Bytes bytes = frameStart(start);
  bytes.insert(bytes.end(), {2, 0, 0x00, 0x80, 0x01});
  const Result<PageFrame> parsed = parsePageFrame(bytes);
  ASSERT_TRUE(parsed) << parsed.problem();
  EXPECT_EQ(parsed->marginBytes(), 1U);
  EXPECT_EQ(parsed->row(0).page.size, 2U);
}

TEST(PageFrame, SaysSoWhenRowsAreShorterThanThePageIsWide) {
  FrameStart start;
  start.width = 40;  // 5 bytes
  start.rows = 1;
  start.record = 6;  // leaves 4
  Bytes bytes = frameStart(start);
  bytes.insert(bytes.end(), {0, 0, 0, 0, 0, 0});
  const Result<PageFrame> parsed = parsePageFrame(bytes);
  ASSERT_TRUE(parsed) << parsed.problem();
  EXPECT_TRUE(parsed->widerThanHead());
  EXPECT_EQ(parsed->marginBytes(), 0U);
  EXPECT_EQ(parsed->row(0).page.size, 4U);
}

TEST(PageFrame, RefusesAFileShorterThanAFrameStart) {
  EXPECT_EQ(problemOf({}), "too short: 0 bytes, a frame has at least 22");
  Bytes bytes = smallFrame();
  bytes.resize(21);
  EXPECT_EQ(problemOf(bytes), "too short: 21 bytes, a frame has at least 22");
}

TEST(PageFrame, RefusesAWrongSignature) {
  Bytes bytes = smallFrame();
  bytes[2] = 'S';
  EXPECT_EQ(problemOf(bytes), "wrong signature 53 49 53, a frame starts with 53 49 5A (\"SIZ\")");
}

TEST(PageFrame, RefusesAWrongRasterCommand) {
  for (std::size_t at = 14; at < 18; ++at) {
    Bytes bytes = smallFrame();
    bytes[at] ^= 1;
    EXPECT_NE(problemOf(bytes).find("wrong raster command"), std::string::npos);
  }
  Bytes bytes = smallFrame();
  bytes[17] = 3;
  EXPECT_EQ(problemOf(bytes), "wrong raster command 1D 76 30 03 at byte 14, expected 1D 76 30 00");
}

TEST(PageFrame, RefusesAnUnknownMediaCode) {
  Bytes bytes = smallFrame();
  bytes[3] = 3;
  EXPECT_EQ(problemOf(bytes),
            "unknown media code 3, known are 0 (continuous), 1 (gaps) and 2 (marks)");
}

TEST(PageFrame, RefusesRecordsWithoutDots) {
  for (unsigned record = 0; record < 3; ++record) {
    FrameStart start;
    start.record = record;
    Bytes bytes = frameStart(start);
    bytes.resize(22 + std::size_t{2} * record);
    EXPECT_EQ(problemOf(bytes), "record length " + std::to_string(record) +
                                    ", a row needs more than the 2 bytes of its dot count");
  }
}

TEST(PageFrame, RefusesAPageWithoutRows) {
  FrameStart start;
  start.rows = 0;
  EXPECT_EQ(problemOf(frameStart(start)), "0 rows, a page has at least one");
}

TEST(PageFrame, RefusesAFileThatIsCutOrTooLong) {
  Bytes bytes = smallFrame();  // 22 + 2 x 5 = 32 bytes
  bytes.pop_back();
  EXPECT_EQ(problemOf(bytes),
            "2 rows of 5 bytes make a file of 32 bytes, this one has 31 (cut off?)");
  bytes.insert(bytes.end(), {0, 0});
  EXPECT_EQ(problemOf(bytes),
            "2 rows of 5 bytes make a file of 32 bytes, this one has 33 (something follows the "
            "page)");
}

// 65535 x 65535 + 22 = 4294836225 + 22; in 32 bits 65535 x 65535 would still fit, but a signed
// product would not, and 22 bytes are all that is there.
TEST(PageFrame, ComputesTheLargestSizeWithoutOverflow) {
  FrameStart start;
  start.record = 65535;
  start.rows = 65535;
  EXPECT_EQ(problemOf(frameStart(start)),
            "65535 rows of 65535 bytes make a file of 4294836247 bytes, this one has 22 (cut "
            "off?)");
}

TEST(PageFrame, FindsTheRowsWhoseCountDoesNotAgree) {
  Bytes bytes = smallFrame();
  const Result<PageFrame> good = parsePageFrame(bytes);
  ASSERT_TRUE(good);
  EXPECT_TRUE(rowsWithWrongCount(*good).empty());
  bytes[27] = 3;  // row 1 announces 3, holds 2
  const Result<PageFrame> bad = parsePageFrame(bytes);
  ASSERT_TRUE(bad);
  EXPECT_EQ(rowsWithWrongCount(*bad), std::vector<std::size_t>{1});
}

// 33 bytes FF are 264 black dots, 0x0108: both bytes of the count are looked at.
TEST(PageFrame, ComparesBothBytesOfACount) {
  FrameStart start;
  start.width = 264;
  start.rows = 1;
  start.record = 35;
  Bytes bytes = frameStart(start);
  bytes.insert(bytes.end(), {0x08, 0x01});
  bytes.insert(bytes.end(), 33, 0xFF);
  const Result<PageFrame> right = parsePageFrame(bytes);
  ASSERT_TRUE(right) << right.problem();
  EXPECT_TRUE(rowsWithWrongCount(*right).empty());
  bytes[23] = 0x00;  // 8 dots announced
  const Result<PageFrame> wrong = parsePageFrame(bytes);
  ASSERT_TRUE(wrong) << wrong.problem();
  EXPECT_EQ(rowsWithWrongCount(*wrong), std::vector<std::size_t>{0});
}

// 8192 bytes FF are 65536 black dots, whose count keeps only its low 16 bits: 0.
TEST(PageFrame, AcceptsACountThatWrapped) {
  FrameStart start;
  start.width = 65535;
  start.rows = 1;
  start.record = 8194;
  Bytes bytes = frameStart(start);
  bytes.insert(bytes.end(), {0, 0});
  bytes.insert(bytes.end(), 8192, 0xFF);
  const Result<PageFrame> parsed = parsePageFrame(bytes);
  ASSERT_TRUE(parsed) << parsed.problem();
  EXPECT_EQ(countBlackDots(parsed->row(0).dots), 65536U);
  EXPECT_TRUE(rowsWithWrongCount(*parsed).empty());
}

TEST(PageFrame, CountsTheBitsOfEveryByteValue) {
  for (unsigned value = 0; value < 256; ++value) {
    const auto byte = static_cast<std::uint8_t>(value);
    std::uint64_t bits = 0;
    for (unsigned bit = 0; bit < 8; ++bit) bits += (value >> bit) & 1U;
    EXPECT_EQ(countBlackDots({&byte, 1}), bits);
  }
}

}  // namespace
}  // namespace kestra
