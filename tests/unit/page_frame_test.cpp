// Tests the bytes of a page frame: label block, raster-image command and row records, with every
// margin that a page wider than the head can give.
#include "printer/page_frame.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace kestra {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(MediaCodes, AreGivenForExactNames) {
  EXPECT_EQ(MediaCode::LabelGaps, mediaCode("LabelGaps"));
  EXPECT_EQ(MediaCode::LabelMark, mediaCode("LabelMark"));
  EXPECT_EQ(MediaCode::Continuous, mediaCode("Continue"));
  for (const char* other : {"labelgaps", "labelmark", "continue", "", "Continuous"}) {
    EXPECT_EQ(MediaCode::LabelGaps, mediaCode(other)) << other;  // gaps, not endless
  }
  EXPECT_EQ(0, static_cast<int>(MediaCode::Continuous));
  EXPECT_EQ(1, static_cast<int>(MediaCode::LabelGaps));
  EXPECT_EQ(2, static_cast<int>(MediaCode::LabelMark));
}

TEST(LabelBlock, IsFourteenBytesLittleEndian) {
  EXPECT_EQ((LabelInfo{'S', 'I', 'Z', 2, 0x2C, 0x03, 0xC2, 0x04, 0x17, 0x00, 0, 0, 0x27, 0x23}),
            labelInfo(MediaCode::LabelMark, 812, 1218, 23, 8999));
  EXPECT_EQ((LabelInfo{'S', 'I', 'Z', 0, 0xFF, 0xFF, 0, 0x01, 0xE9, 0xFF, 0, 0, 0, 0}),
            labelInfo(MediaCode::Continuous, 65535, 256, 0xFFE9, 0));
}

TEST(DotsOfMillimetres, AreTruncated) {
  EXPECT_EQ(203, dotsOfMillimetres(25.4, 203));
  EXPECT_EQ(23, dotsOfMillimetres(3, 203));  // 23.98
  EXPECT_EQ(23, dotsOfMillimetres(2, 300));  // 23.62
  EXPECT_EQ(0, dotsOfMillimetres(0, 203));
  EXPECT_EQ(0, dotsOfMillimetres(0.1, 203));  // 0.8
}

TEST(DotsOfMillimetres, MayBeOneShortOfThePageTheyComeFrom) {
  // 100 dots at 203 are 12.5123153 mm; the float next to it is 12.5123148, which is 99.999996 dots.
  const float width = 12.5123148F;
  EXPECT_EQ(99, dotsOfMillimetres(static_cast<double>(width), 203));
  // 4 inches: the float is 101.5999985 mm, 811.99999 dots.
  EXPECT_EQ(811, dotsOfMillimetres(static_cast<double>(101.6F), 203));
}

TEST(DotsOfMillimetres, KeepTheLow16BitsOfNegativeAndLargeValues) {
  EXPECT_EQ(0xFFE9, dotsOfMillimetres(-3, 203));    // -23
  EXPECT_EQ(34464, dotsOfMillimetres(12700, 200));  // 500 inches, 100000 - 65536
  EXPECT_EQ(0, dotsOfMillimetres(1e9, 203));        // 7.99e9 fits no 32 bits
  EXPECT_EQ(0, dotsOfMillimetres(std::numeric_limits<double>::infinity(), 203));
  EXPECT_EQ(0, dotsOfMillimetres(std::numeric_limits<double>::infinity(), 0));  // NaN
}

TEST(RowRecords, CentreTheRowOnTheHead) {
  const struct {
    float head;
    long width;
    int margin;
  } table[] = {{812, 812, 0},     // 7 / 8
               {812, 810, 1},     // (1 + 7) / 8
               {812, 800, 1},     // 13 / 8
               {812, 796, 1},     // 15 / 8
               {812, 794, 2},     // 16 / 8
               {812, 400, 26},    // 213 / 8 = 26.6
               {811.5F, 810, 0},  // 7.75 / 8
               {812, 841, 0},     // -29: (-14.5 + 7) / 8 = -0.94, toward zero
               {812, 842, -1},    // -30: (-15 + 7) / 8
               {812, 858, -2},    // -46: -16 / 8
               {812, 857, -1},    // -45: -15.5 / 8 = -1.94
               {812, 874, -3},    // -62: -24 / 8
               {0, 400, -24}};    // -193 / 8 = -24.1
  for (const auto& row : table) {
    const std::int64_t rowBytes = (row.width + 7) / 8;
    const RowRecords records = rowRecords(rowBytes * 3, {row.width, 3}, row.head);
    EXPECT_EQ(row.margin, records.margin) << row.head << " " << row.width;
    EXPECT_EQ(static_cast<std::uint32_t>(rowBytes), records.rowBytes);
    EXPECT_EQ((rowBytes + 2 + row.margin) * 3, records.total);
  }
}

TEST(RowRecords, DivideTheImageIntoWholeRows) {
  EXPECT_EQ(3U, rowRecords(11, {24, 3}, 24).rowBytes);  // 11 / 3
}

TEST(RowRecords, AreNoneForNoRows) {
  EXPECT_LE(rowRecords(0, {8, 0}, 8).total, 0);
  EXPECT_LE(rowRecords(100, {8, 0}, 8).total, 0);
}

TEST(RowRecords, MayComeToNothingOrLess) {
  // 1 byte a row, but 1000 dots announced on a head of 0: margin (-500 + 7) / 8 = -61.6.
  EXPECT_EQ(2 * (1 + 2 - 61), rowRecords(2, {1000, 2}, 0).total);
  // Margin (-40 + 7) / 8 = -4.1: 2 + 2 - 4 = 0.
  EXPECT_EQ(0, rowRecords(4, {80, 2}, 0).total);
}

TEST(RowRecords, TakeAPrintWidthThatIsNoNumber) {
  // Out of every range: the margin is the smallest integer, the total far below 0.
  EXPECT_LT(rowRecords(10, {8, 10}, std::numeric_limits<float>::quiet_NaN()).total, 0);
  EXPECT_LT(rowRecords(10, {8, 10}, std::numeric_limits<float>::infinity()).total, 0);
}

Bytes written(std::int32_t margin, const Bytes& dots, std::uint32_t rowBytes, long rows) {
  RowRecords records;
  records.rowBytes = rowBytes;
  records.margin = margin;
  records.total = (std::int64_t{rowBytes} + 2 + margin) * rows;
  Bytes out(static_cast<std::size_t>(records.total), 0);
  writeRowRecords(records, dots.data(), rows, out.data());
  return out;
}

// Two rows: FF 01 80 03 has 8 + 1 + 1 + 2 = 12 dots, 01 02 04 08 has 4.
const Bytes kDots = {0xFF, 0x01, 0x80, 0x03, 0x01, 0x02, 0x04, 0x08};

TEST(WriteRowRecords, PutsCountMarginAndRowBehindEachOther) {
  EXPECT_EQ((Bytes{12, 0, 0xFF, 0x01, 0x80, 0x03, 4, 0, 0x01, 0x02, 0x04, 0x08}),
            written(0, kDots, 4, 2));
  EXPECT_EQ((Bytes{12, 0, 0, 0, 0, 0xFF, 0x01, 0x80, 0x03,  //
                   4, 0, 0, 0, 0, 0x01, 0x02, 0x04, 0x08}),
            written(3, kDots, 4, 2));
}

TEST(WriteRowRecords, CoversTheHighByteOfTheCountAtMarginMinusOne) {
  EXPECT_EQ((Bytes{12, 0xFF, 0x01, 0x80, 0x03, 4, 0x01, 0x02, 0x04, 0x08}),
            written(-1, kDots, 4, 2));
}

TEST(WriteRowRecords, CoversTheWholeCountAtMarginMinusTwo) {
  EXPECT_EQ((Bytes{0xFF, 0x01, 0x80, 0x03, 0x01, 0x02, 0x04, 0x08}), written(-2, kDots, 4, 2));
}

TEST(WriteRowRecords, CoversTheRecordBeforeFromMarginMinusThreeOn) {
  // Records of 3 bytes. First: count 0C 00, row from -1 on: FF is dropped, 01 80 03.
  // Second: count at 3, row from 2 on: 01 covers the 03.
  EXPECT_EQ((Bytes{0x01, 0x80, 0x01, 0x02, 0x04, 0x08}), written(-3, kDots, 4, 2));
}

TEST(WriteRowRecords, WritesShortRecordsLiterally) {
  // Margin -4, records of 2 bytes: row 0 from -2 on, 80 03 stay; row 1 from 0 on covers them.
  EXPECT_EQ((Bytes{0x01, 0x02, 0x04, 0x08}), written(-4, kDots, 4, 2));
  // Margin -5, records of 1 byte: row 0 from -3 on; count 1 at 1 (its high byte is outside), row 1
  // from -2 on: 01 02 are dropped, 04 08 stay.
  EXPECT_EQ((Bytes{0x04, 0x08}), written(-5, kDots, 4, 2));
}

TEST(WriteRowRecords, LeavesTheCountsHighByteToTheRecordBehindAtLengthOne) {
  // Rows of 1 byte, margin -2: records of 1 byte. Row 0: count 01 at 0, 00 at 1, then row 80 at 0.
  // Row 1: count 02 at 1, 00 at 2, row C0 at 1. Row 2: count 03 at 2, its high byte outside, row
  // E0.
  EXPECT_EQ((Bytes{0x80, 0xC0, 0xE0}), written(-2, {0x80, 0xC0, 0xE0}, 1, 3));
}

TEST(WriteRowRecords, LetsTheNextCountCoverNothingBehindItsRow) {
  // Rows of 1 byte, margin -1: records of 2 bytes, row over the high byte of the count.
  EXPECT_EQ((Bytes{1, 0x80, 2, 0xC0}), written(-1, {0x80, 0xC0}, 1, 2));
}

TEST(WriteRowRecords, CutsCountsTo16Bits) {
  // 8193 bytes of 8 dots: 65544 = 65536 + 8.
  const Bytes out = written(0, Bytes(8193, 0xFF), 8193, 1);
  EXPECT_EQ(8, out[0]);
  EXPECT_EQ(0, out[1]);
  EXPECT_EQ(0xFF, out[2]);
  EXPECT_EQ(0xFF, out[8194]);
  // 8191 bytes of 8 and one of 7: 65535, the most that fits.
  Bytes dots(8192, 0xFF);
  dots[8191] = 0x7F;
  const Bytes most = written(0, dots, 8192, 1);
  EXPECT_EQ(0xFF, most[0]);
  EXPECT_EQ(0xFF, most[1]);
}

TEST(PageFrame, BeginsWithLabelAndRasterCommand) {
  const LabelInfo label = labelInfo(MediaCode::LabelMark, 400, 3, 16, 513);
  // 3 records of 300 bytes: 2C 01 and 03 00.
  EXPECT_EQ((PageFrameHeader{'S',  'I',  'Z',  2,    0x90, 0x01, 3, 0, 16, 0, 0, 0, 0x01, 0x02,  //
                             0x1D, 0x76, 0x30, 0x00, 0x2C, 0x01, 3, 0}),
            pageFrameHeader(label, 900, 3));
}

TEST(PageFrame, CutsRecordLengthAndRowCountTo16Bits) {
  const LabelInfo label{};
  const auto lengths = [&label](std::int64_t total, int rows) {
    const PageFrameHeader header = pageFrameHeader(label, total, rows);
    return Bytes(header.begin() + 18, header.end());
  };
  EXPECT_EQ((Bytes{0x70, 0x11, 1, 0}), lengths(70000, 1));  // 4464
  EXPECT_EQ((Bytes{2, 0, 3, 0}), lengths(65539 * 2, 65539));
}

}  // namespace
}  // namespace kestra
