// Tests the bytes of debug bitmaps, header field by header field, and the packing of 1-bit rows.
#include "printer/debug_bitmap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace kestra {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(DebugBitmap, Announces8BitPages) {
  // 10 x 3: rows of 12 bytes, 36 in all; 14 + 40 + 1024 = 1078 = 0x436; 1078 + 36 = 1114 = 0x45A.
  const Bytes header = debugBitmapHeader(10, 3, 8);
  ASSERT_EQ(1078U, header.size());
  const Bytes wanted = {'B', 'M', 0x5A, 0x04, 0,  0, 0,  0, 0, 0, 0x36, 0x04, 0, 0,  //
                        40,  0,   0,    0,    10, 0, 0,  0, 3, 0, 0,    0,    1, 0,
                        8,   0,   0,    0,    0,  0, 36, 0, 0, 0, 0,    0,    0, 0,
                        0,   0,   0,    0,    0,  1, 0,  0, 0, 1, 0,    0};
  EXPECT_EQ(wanted, Bytes(header.begin(), header.begin() + 54));
  for (std::size_t i = 0; i < 256; ++i) {
    const auto grey = static_cast<std::uint8_t>(i);
    EXPECT_EQ((Bytes{grey, grey, grey, 0}),
              Bytes(header.begin() + static_cast<std::ptrdiff_t>(54 + 4 * i),
                    header.begin() + static_cast<std::ptrdiff_t>(58 + 4 * i)));
  }
}

TEST(DebugBitmap, Announces1BitPages) {
  // 10 x 3: rows of 4 bytes, 12 in all; 62 + 12 = 74.
  EXPECT_EQ((Bytes{'B', 'M', 74, 0, 0,   0,   0,   0, 0, 0, 62, 0, 0, 0,  //
                   40,  0,   0,  0, 10,  0,   0,   0, 3, 0, 0,  0, 1, 0, 1, 0, 0, 0, 0, 0,
                   12,  0,   0,  0, 0,   0,   0,   0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0, 0, 0,  //
                   0,   0,   0,  0, 255, 255, 255, 0}),
            debugBitmapHeader(10, 3, 1));
}

TEST(DebugBitmap, AnnouncesOtherDepthsAsOneBitWithoutItsPalette) {
  Bytes wanted = debugBitmapHeader(33, 7, 1);
  wanted.resize(54);
  for (const unsigned depth : {0U, 4U, 24U, 32U}) {
    EXPECT_EQ(wanted, debugBitmapHeader(33, 7, depth)) << depth;
  }
}

TEST(DebugBitmap, PadsAnnouncedRows) {
  const struct {
    std::uint32_t width, grey, bits;
  } table[] = {{1, 4, 4},   {3, 4, 4},   {4, 4, 4},   {5, 8, 4},       {8, 8, 4},
               {32, 32, 4}, {33, 36, 8}, {64, 64, 8}, {836, 836, 108}, {837, 840, 108}};
  for (const auto& row : table) {
    EXPECT_EQ(row.grey, debugBitmapRowBytes(row.width, 8)) << row.width;
    EXPECT_EQ(row.bits, debugBitmapRowBytes(row.width, 1)) << row.width;
    EXPECT_EQ(row.bits, debugBitmapRowBytes(row.width, 24)) << row.width;
  }
}

TEST(DebugRow, WritesZeroPixelsAsOneBits) {
  EXPECT_EQ((Bytes{0xFF, 0xFF, 0, 0}), packDebugRow(Bytes(10, 0).data(), 10, 4));
}

TEST(DebugRow, WritesOtherPixelsAsZeroBitsFromTheHighest) {
  // pixels 0 1 0 255 0 0 0 7 | 0 9: bits 1010 1110 | 10 and six filling ones
  const Bytes row = {0, 1, 0, 255, 0, 0, 0, 7, 0, 9};
  EXPECT_EQ((Bytes{0xAE, 0xBF, 0, 0}), packDebugRow(row.data(), 10, 4));
}

TEST(DebugRow, FillsUpNoWholeBytes) {
  EXPECT_EQ((Bytes{0x00, 0, 0, 0}), packDebugRow(Bytes(8, 1).data(), 8, 4));
  EXPECT_EQ((Bytes{0xFF, 0, 0, 0}), packDebugRow(Bytes(8, 0).data(), 8, 4));
  EXPECT_EQ((Bytes{0, 0, 0, 0}), packDebugRow(nullptr, 0, 4));
}

TEST(DebugRow, FillsUpBehindASinglePixel) {
  EXPECT_EQ((Bytes{0x7F, 0, 0, 0}), packDebugRow(Bytes{1}.data(), 1, 4));
  EXPECT_EQ((Bytes{0xFF, 0, 0, 0}), packDebugRow(Bytes{0}.data(), 1, 4));
}

TEST(DebugRow, LeavesOutPixelsBehindTheRow) {
  EXPECT_EQ((Bytes{0xFF, 0xFF, 0xFF, 0xFF}), packDebugRow(Bytes(41, 0).data(), 41, 4));
  EXPECT_EQ((Bytes{0, 0, 0, 0}), packDebugRow(Bytes(100, 1).data(), 100, 4));
}

}  // namespace
}  // namespace kestra
