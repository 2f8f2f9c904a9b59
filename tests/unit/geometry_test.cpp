// Tests the operations that move pixels: turning, mirroring and the larger canvas.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/support/grey_pages.h"
#include "tests/unit/test_images.h"

namespace kestra {
namespace {

using testing_support::PageKind;
constexpr tagRGBQUAD kWhite = {255, 255, 255, 0};

TEST(Rotate180, TurnsAnImage) {
  //  1 2 3      6 5 4
  //  4 5 6  ->  3 2 1
  GreyImage image({1, 2, 3, 4, 5, 6}, 3, 2);
  EXPECT_TRUE(image.Rotate180(nullptr));
  EXPECT_EQ((Bytes{6, 5, 4, 0, 3, 2, 1, 0}), rowBytesOf(image));
  EXPECT_TRUE(sameColor(image.GetPaletteColor(77), 77, 77, 77, 0));
}

TEST(Rotate180, TwiceRestoresAnImage) {
  GreyImage image(makeLevels(PageKind::kRandom, 17, 9), 17, 9);
  const Bytes before = rowBytesOf(image);
  image.Rotate180(nullptr);
  EXPECT_NE(before, rowBytesOf(image));
  image.Rotate180(nullptr);
  EXPECT_EQ(before, rowBytesOf(image));
}

TEST(Rotate180, LeavesOnePixelAsItIs) {
  GreyImage image({201}, 1, 1);
  EXPECT_TRUE(image.Rotate180(nullptr));
  EXPECT_EQ((Bytes{201}), indicesOf(image));
}

TEST(Rotate180, FillsADestinationAndLeavesTheSource) {
  GreyImage source({1, 2, 3, 4}, 2, 2);
  BlackImage destination(9, 9, 1);
  EXPECT_TRUE(source.Rotate180(&destination));
  EXPECT_EQ((Bytes{1, 2, 3, 4}), indicesOf(source));
  EXPECT_EQ((Bytes{4, 3, 2, 1}), indicesOf(destination));
}

TEST(Rotate180, MakesEightBitsOfEveryDepth) {
  BlackImage bits(3, 1, 1, 8);
  bits.SetPaletteColor(1, 1, 2, 3, 4);
  bits.SetPixelIndex(0, 0, 1);
  EXPECT_TRUE(bits.Rotate180(nullptr));
  EXPECT_EQ(8, bits.GetBitsPerPixel());
  EXPECT_EQ((Bytes{0, 0, 1, 0}), rowBytesOf(bits));
  EXPECT_TRUE(sameColor(bits.GetPaletteColor(1), 3, 2, 1, 4));
  EXPECT_EQ(8U, bits.GetType());

  BlackImage nibbles(2, 2, 4);
  nibbles.SetPixelIndex(0, 0, 9);
  EXPECT_TRUE(nibbles.Rotate180(nullptr));
  EXPECT_EQ((Bytes{0, 0, 0, 9}), indicesOf(nibbles));
  EXPECT_EQ(8, nibbles.GetBitsPerPixel());

  BlackImage color(2, 1, 24);  // has no indices: all 0
  color.BlindSetPixelColor(0, 0, kWhite, false);
  EXPECT_TRUE(color.Rotate180(nullptr));
  EXPECT_EQ(8, color.GetBitsPerPixel());
  EXPECT_EQ((Bytes{0, 0, 0, 0}), rowBytesOf(color));
}

TEST(Rotate180, NeedsAnImage) { EXPECT_FALSE(PaletteImage().Rotate180(nullptr)); }

TEST(Mirror, ReversesEachRow) {
  GreyImage image({1, 2, 3}, 3, 1);
  image.Mirror();
  EXPECT_EQ((Bytes{3, 2, 1, 0}), rowBytesOf(image));

  GreyImage whole({1, 2, 3, 4, 5, 6, 7, 8}, 4, 2);
  whole.Mirror();
  EXPECT_EQ((Bytes{4, 3, 2, 1, 8, 7, 6, 5}), rowBytesOf(whole));
  EXPECT_TRUE(sameColor(whole.GetPaletteColor(77), 77, 77, 77, 0));
}

TEST(Mirror, LeavesOnePixelAsItIs) {
  GreyImage image({201}, 1, 1);
  image.Mirror();
  EXPECT_EQ((Bytes{201, 0, 0, 0}), rowBytesOf(image));
}

TEST(Mirror, TwiceRestoresAnImage) {
  for (const std::uint32_t width : {2U, 3U, 5U, 33U, 836U}) {
    GreyImage image(makeLevels(PageKind::kRandom, width, 4), width, 4);
    const Bytes before = rowBytesOf(image);
    image.Mirror();
    EXPECT_NE(before, rowBytesOf(image));
    image.Mirror();
    EXPECT_EQ(before, rowBytesOf(image));
  }
}

TEST(Mirror, DoesNothingWithoutAnImage) {
  PaletteImage none;
  none.Mirror();
  EXPECT_FALSE(none.IsValid());
}

TEST(Mirror, StaysInsideTheRowsAtOtherDepths) {
  // One byte is taken per pixel although rows of 1 and 4 bits are shorter, and three per pixel go
  // into rows of one byte per pixel: under the sanitizers nothing beside them may be touched.
  for (const std::uint32_t depth : {1U, 4U, 24U}) {
    for (const std::uint32_t width : {1U, 2U, 3U, 4U, 5U, 33U, 836U}) {
      for (const std::uint32_t height : {1U, 2U, 7U}) {
        BlackImage image(width, height, depth);
        std::memset(image.GetBits(), 0x5A, std::size_t{image.GetEffWidth()} * height);
        image.Mirror();
        EXPECT_EQ(8, image.GetBitsPerPixel());
        EXPECT_EQ(width, image.GetWidth());
        EXPECT_EQ(height, image.GetHeight());
        EXPECT_EQ((width + 3) / 4 * 4, image.GetEffWidth());
      }
    }
  }
}

TEST(Mirror, TakesBytesForPixelsOfAOneBitImage) {
  // One row of 8 pixels: span 7, result byte i is row byte 7 - i; the row has 4 bytes.
  BlackImage image(8, 1, 1);
  image.GetBits()[0] = 0xA5;
  image.Mirror();
  EXPECT_EQ((Bytes{0, 0, 0, 0, 0, 0, 0, 0xA5}), rowBytesOf(image));
}

TEST(Expand, PutsTheOldRowsAtItsFourthArgument) {
  //        left 1, right 3, top 2, bottom 1: the old rows are rows 1 and 2 of 5
  //  1 2   f f f f f f
  //  3 4   f 1 2 f f f
  //        f 3 4 f f f
  //        f f f f f f
  //        f f f f f f
  GreyImage image({1, 2, 3, 4}, 2, 2);
  ASSERT_TRUE(image.Expand(1, 2, 3, 1, kWhite));
  EXPECT_EQ(6U, image.GetWidth());
  EXPECT_EQ(5U, image.GetHeight());
  const std::uint8_t f = 255;               // padding is filled too
  EXPECT_EQ((Bytes{f, f, f, f, f, f, f, f,  //
                   f, 1, 2, f, f, f, f, f,  //
                   f, 3, 4, f, f, f, f, f,  //
                   f, f, f, f, f, f, f, f,  //
                   f, f, f, f, f, f, f, f}),
            rowBytesOf(image));
  EXPECT_TRUE(sameColor(image.GetPaletteColor(9), 9, 9, 9, 0));
}

TEST(Expand, FillsWithTheNearestIndex) {
  GreyImage image({1, 2, 3, 4}, 4, 1);
  image.SetPaletteColor(17, 200, 0, 0, 0);
  ASSERT_TRUE(image.Expand(0, 1, 0, 0, {0, 0, 200, 0}));
  EXPECT_EQ((Bytes{1, 2, 3, 4, 17, 17, 17, 17}), rowBytesOf(image));
  EXPECT_TRUE(sameColor(image.GetPaletteColor(17), 0, 0, 200, 0));
}

TEST(Expand, FillsWithARememberedIndexOfTheOldPalette) {
  GreyImage image({1, 2, 3, 4}, 4, 1);
  ASSERT_EQ(50, image.GetNearestIndex({50, 50, 50, 0}));
  image.SetPaletteColor(50, 0, 0, 0, 0);
  ASSERT_TRUE(image.Expand(0, 0, 0, 1, {50, 50, 50, 0}));
  EXPECT_EQ((Bytes{50, 50, 50, 50, 1, 2, 3, 4}), rowBytesOf(image));
}

TEST(Expand, WorksOnBits) {
  // 1 0 1 with a border of white: bits 11111, 11011, 11111; bits behind the width stay 0.
  ArrayImage image(Bytes{0xA0}, 3, 1, 1, 1);
  ASSERT_TRUE(image.Expand(1, 1, 1, 1, kWhite));
  EXPECT_EQ(1, image.GetBitsPerPixel());
  EXPECT_EQ((Bytes{0xF8, 0, 0, 0, 0xD8, 0, 0, 0, 0xF8, 0, 0, 0}), rowBytesOf(image));
}

TEST(Expand, WorksOnFourBits) {
  ArrayImage image(Bytes{0x12, 0x30}, 3, 1, 4, 2);
  // Grey 34 is entry 2. Left 2, top 0, right 0, bottom 1: 2 2 2 2 2 and 2 2 1 2 3.
  ASSERT_TRUE(image.Expand(2, 0, 0, 1, {34, 34, 34, 0}));
  EXPECT_EQ(4, image.GetBitsPerPixel());
  EXPECT_EQ((Bytes{0x22, 0x22, 0x20, 0, 0x22, 0x12, 0x30, 0}), rowBytesOf(image));
  EXPECT_TRUE(sameColor(image.GetPaletteColor(2), 34, 34, 34, 0));
}

TEST(Expand, WorksOnColours) {
  ArrayImage image(Bytes{1, 2, 3}, 1, 1, 24, 3);
  ASSERT_TRUE(image.Expand(1, 0, 1, 1, {7, 8, 9, 99}));
  EXPECT_EQ((Bytes{7, 8, 9, 7, 8, 9, 7, 8, 9, 0, 0, 0,  //
                   7, 8, 9, 1, 2, 3, 7, 8, 9, 0, 0, 0}),
            rowBytesOf(image));
}

TEST(Expand, ByNothingKeepsTheImage) {
  for (const std::uint32_t depth : {1U, 4U, 8U, 24U}) {
    OwnedImage image;
    const Bytes row = {0x12, 0x34, 0x56, 0};
    ASSERT_TRUE(image.CreateFromArray(row.data(), 1, 1, depth, 4, false));
    const std::uint8_t before = image.GetBits()[0];
    EXPECT_TRUE(image.Expand(0, 0, 0, 0, kWhite));
    EXPECT_EQ(1U, image.GetWidth());
    EXPECT_EQ(1U, image.GetHeight());
    // What lies behind the one pixel is padding; only the pixel counts.
    const std::uint8_t mask = depth == 1 ? 0x80 : depth == 4 ? 0xF0 : 0xFF;
    EXPECT_EQ(before & mask, image.GetBits()[0] & mask) << depth;
  }
}

TEST(Expand, KeepsTheType) {
  BlackImage image(2, 2, 8, 31);
  ASSERT_TRUE(image.Expand(1, 1, 1, 1, kWhite));
  EXPECT_EQ(31U, image.GetType());
}

TEST(Expand, RefusesNegativeMargins) {
  GreyImage image({1, 2, 3, 4}, 2, 2);
  EXPECT_FALSE(image.Expand(-1, 5, 5, 5, kWhite));
  EXPECT_FALSE(image.Expand(5, -1, 5, 5, kWhite));
  EXPECT_FALSE(image.Expand(5, 5, -1, 5, kWhite));
  EXPECT_FALSE(image.Expand(5, 5, 5, -1, kWhite));
  EXPECT_FALSE(image.Expand(std::numeric_limits<std::int64_t>::min(), 0, 0, 0, kWhite));
  EXPECT_EQ((Bytes{1, 2, 3, 4}), indicesOf(image));
}

TEST(Expand, RefusesACanvasThatCannotBeMade) {
  const std::int64_t most = std::numeric_limits<std::int64_t>::max();
  const std::int64_t wrap = std::int64_t{1} << 32;  // would be the old size again in 32 bits
  const std::int64_t table[][4] = {{1 << 29, 0, 0, 0},
                                   {0, 1 << 29, 0, 0},
                                   {wrap, 0, 0, 0},
                                   {0, wrap, 0, 0},
                                   {0, 0, wrap, 0},
                                   {0, 0, 0, wrap},
                                   {wrap / 2, 0, wrap / 2, 0},
                                   {most, most, most, most},
                                   {most, 0, 1, 0},
                                   {0, most, 0, 1}};
  for (const auto& margins : table) {
    GreyImage image({1, 2, 3, 4}, 2, 2);
    EXPECT_FALSE(image.Expand(margins[0], margins[1], margins[2], margins[3], kWhite));
    EXPECT_STREQ("PALETTEIMAGE_MAX_MEMORY exceeded", image.GetLastError());
    EXPECT_EQ((Bytes{1, 2, 3, 4}), indicesOf(image));
  }
}

TEST(Expand, NeedsAnImage) { EXPECT_FALSE(PaletteImage().Expand(1, 1, 1, 1, kWhite)); }

}  // namespace
}  // namespace kestra
