// Tests creation and lifetime of the palette image: the one block of memory that a page lives in.
#include "imaging/paletteimage/palette_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/test_images.h"

namespace kestra {
namespace {

constexpr char kNoSize[] = "PaletteImage::Create : width and height must be greater than zero";

TEST(PaletteImage, IsEmptyAtFirst) {
  PaletteImage image;
  EXPECT_FALSE(image.IsValid());
  EXPECT_EQ(0U, image.GetWidth());
  EXPECT_EQ(0U, image.GetHeight());
  EXPECT_EQ(0U, image.GetNumColors());
  EXPECT_EQ(0U, image.GetEffWidth());
  EXPECT_EQ(0U, image.GetPaletteSize());
  EXPECT_EQ(nullptr, image.GetBits());
  EXPECT_EQ(nullptr, image.GetPalette());
  EXPECT_STREQ("", image.GetLastError());
}

TEST(PaletteImage, RoundsDepthsUpToAKnownOne) {
  const struct {
    std::uint32_t asked, depth, colors;
  } table[] = {{0, 1, 2},   {1, 1, 2},   {2, 4, 16},          {3, 4, 16}, {4, 4, 16},
               {5, 8, 256}, {7, 8, 256}, {8, 8, 256},         {9, 24, 0}, {16, 24, 0},
               {24, 24, 0}, {32, 24, 0}, {0xFFFFFFFFU, 24, 0}};
  OwnedImage image;
  for (const auto& row : table) {
    ASSERT_NE(nullptr, image.Create(5, 5, row.asked, 0)) << row.asked;
    EXPECT_EQ(row.depth, image.GetBitsPerPixel()) << row.asked;
    EXPECT_EQ(row.colors, image.GetNumColors()) << row.asked;
    EXPECT_EQ(row.colors * 4, image.GetPaletteSize()) << row.asked;
  }
}

TEST(PaletteImage, PadsItsRowsToFourBytes) {
  const struct {
    std::uint32_t width, depth, effWidth;
  } table[] = {{1, 1, 4},   {31, 1, 4},  {32, 1, 4},    {33, 1, 8},    {1, 4, 4},    {8, 4, 4},
               {9, 4, 8},   {4, 8, 4},   {5, 8, 8},     {8, 8, 8},     {1, 24, 4},   {3, 24, 12},
               {4, 24, 12}, {5, 24, 16}, {836, 8, 836}, {837, 8, 840}, {836, 1, 108}};
  OwnedImage image;
  for (const auto& row : table) {
    ASSERT_NE(nullptr, image.Create(row.width, 2, row.depth, 0));
    EXPECT_EQ(row.effWidth, image.GetEffWidth()) << row.width << " at " << row.depth;
  }
}

TEST(PaletteImage, HoldsHeaderPaletteAndRowsInOneBlock) {
  OwnedImage image;
  auto* block = static_cast<const std::uint8_t*>(image.Create(5, 3, 8, 77));
  ASSERT_NE(nullptr, block);
  EXPECT_TRUE(image.IsValid());
  EXPECT_EQ(5U, image.GetWidth());
  EXPECT_EQ(3U, image.GetHeight());
  EXPECT_EQ(77U, image.GetType());
  EXPECT_EQ(40U + 24U + 1024U, image.GetSize());  // header, 3 rows of 8, 256 entries of 4
  // The header at the start of the block, little-endian on the machines that print.
  const Bytes header = {40, 0, 0, 0, 5, 0, 0, 0, 3, 0, 0, 0, 1, 0, 8, 0, 0, 0, 0, 0,
                        24, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(header, Bytes(block, block + 40));
  EXPECT_EQ(block + 40, reinterpret_cast<const std::uint8_t*>(image.GetPalette()));
  EXPECT_EQ(block + 40 + 1024, image.GetBits(0));
  EXPECT_EQ(block + 40 + 1024 + 8, image.GetBits(1));
  EXPECT_EQ(block + 40 + 1024 + 16, image.GetBits(2));
  EXPECT_EQ(nullptr, image.GetBits(3));
  EXPECT_EQ(nullptr, image.GetBits(0xFFFFFFFFU));
}

TEST(PaletteImage, HasNoPaletteAt24Bits) {
  OwnedImage image;
  auto* block = static_cast<const std::uint8_t*>(image.Create(3, 2, 24, 0));
  ASSERT_NE(nullptr, block);
  EXPECT_EQ(nullptr, image.GetPalette());
  EXPECT_EQ(block + 40, image.GetBits(0));
  EXPECT_EQ(40U + 24U, image.GetSize());  // 2 rows of 12
}

TEST(PaletteImage, StartsWithBlackPixelsAndABlackPalette) {
  OwnedImage image;
  for (int round = 0; round < 2; ++round) {  // also where the block is made a second time
    ASSERT_NE(nullptr, image.Create(5, 3, 8, 0));
    EXPECT_EQ(Bytes(24, 0), rowBytesOf(image));
    for (int i = 0; i < 256; ++i) {
      EXPECT_TRUE(sameColor(image.GetPalette()[i], 0, 0, 0, 0)) << i;
    }
    std::memset(image.GetBits(0), 0xAA, 24);
    std::memset(image.GetPalette(), 0xAA, 1024);
  }
}

TEST(PaletteImage, RefusesASizeOfZeroAndIsEmptyThen) {
  BlackImage image(2, 2, 8);
  EXPECT_EQ(nullptr, image.Create(0, 5, 8, 0));
  EXPECT_STREQ(kNoSize, image.GetLastError());
  EXPECT_FALSE(image.IsValid());
  EXPECT_EQ(nullptr, image.GetBits());

  OwnedImage other;
  EXPECT_EQ(nullptr, other.Create(5, 0, 8, 0));
  EXPECT_STREQ(kNoSize, other.GetLastError());
}

void expectTooLarge(std::uint32_t width, std::uint32_t height, std::uint32_t depth) {
  OwnedImage image;
  EXPECT_EQ(nullptr, image.Create(width, height, depth, 0)) << width << "x" << height;
  EXPECT_STREQ("PALETTEIMAGE_MAX_MEMORY exceeded", image.GetLastError());
  EXPECT_FALSE(image.IsValid());
}

TEST(PaletteImage, RefusesSizesWhoseBitCountWraps) {
  expectTooLarge(40000, 40000, 8);   // 12.8e9 bits, more than 2^32
  expectTooLarge(65536, 8192, 8);    // 2^32 bits: wraps to 0
  expectTooLarge(1, 536870912, 8);   // 2^29 bytes
  expectTooLarge(178956971, 1, 24);  // 24 * 178956971 = 2^32 + 8
}

TEST(PaletteImage, RefusesWidthsWhosePaddedRowWouldWrap) {
  // 8 * 536870911 = 2^32 - 8 does not wrap, but 31 more for the padding do: rows of 0 bytes.
  expectTooLarge(536870911, 1, 8);
  expectTooLarge(536870909, 1, 8);   // 2^32 - 24 + 31
  expectTooLarge(178956970, 1, 24);  // 2^32 - 16 + 31
  expectTooLarge(1073741823, 1, 4);  // 2^32 - 4 + 31
}

TEST(PaletteImage, RefusesPaddedRowsThatTogetherWouldWrap) {
  // One bit per row is 2^30 bits, but rows of 4 bytes are 2^32 bytes: a block of 0 bytes of pixels.
  expectTooLarge(1, 1073741824, 1);
  // One row less is 2^32 - 4 bytes, which 40 bytes of header and 8 of palette lift over the limit:
  // a block of 44 bytes.
  expectTooLarge(1, 1073741823, 1);
}

TEST(PaletteImage, AllowsTheWidestRowThatCanBePadded) {
  // 8 * 536870908 + 31 = 2^32 - 1. The block of 512 MB is never touched, except for its header.
  OwnedImage image;
  if (image.Create(536870908, 1, 8, 0) == nullptr) {
    ASSERT_STREQ("PaletteImage::Create can't allocate memory", image.GetLastError());
    GTEST_SKIP() << "no room for 512 MB";
  }
  EXPECT_EQ(536870908U, image.GetEffWidth());
}

TEST(PaletteImage, ReleasesItsBlockAndKeepsTheRest) {
  PaletteImage image;
  ASSERT_NE(nullptr, image.Create(5, 3, 8, 9));
  EXPECT_TRUE(image.Destroy());
  EXPECT_FALSE(image.IsValid());
  EXPECT_EQ(5U, image.GetWidth());
  EXPECT_EQ(3U, image.GetHeight());
  EXPECT_EQ(8U, image.GetEffWidth());
  EXPECT_EQ(256U, image.GetNumColors());
  EXPECT_EQ(nullptr, image.GetBits());
  EXPECT_EQ(nullptr, image.GetPalette());
  EXPECT_TRUE(image.Destroy());  // also a second time
}

TEST(CreateFromArray, CopiesRowsAndMakesAGreyPalette) {
  ArrayImage image({1, 2, 3, 4, 5, 6}, 3, 2, 8, 3);
  EXPECT_EQ((Bytes{1, 2, 3, 0, 4, 5, 6, 0}), rowBytesOf(image));  // padding is 0
  EXPECT_TRUE(sameColor(image.GetPaletteColor(200), 200, 200, 200, 0));
  EXPECT_EQ(0U, image.GetType());
}

TEST(CreateFromArray, LeavesPaddingZeroInABlockMadeAnew) {
  ArrayImage image(Bytes(12, 0xFF), 4, 3, 8, 4);
  const Bytes narrow = {9, 9, 9};
  ASSERT_TRUE(image.CreateFromArray(narrow.data(), 1, 3, 8, 1, false));
  EXPECT_EQ((Bytes{9, 0, 0, 0, 9, 0, 0, 0, 9, 0, 0, 0}), rowBytesOf(image));
}

TEST(CreateFromArray, CutsLongRowsToThePaddedRow) {
  // Rows of 6 bytes for 3 pixels: the fourth byte still fits the padded row, the others are cut.
  ArrayImage image({1, 2, 3, 4, 5, 6, 11, 12, 13, 14, 15, 16}, 3, 2, 8, 6);
  EXPECT_EQ((Bytes{1, 2, 3, 4, 11, 12, 13, 14}), rowBytesOf(image));
}

TEST(CreateFromArray, FlipsRowsWhenAsked) {
  ArrayImage image({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 4, 3, 8, 4, true);
  EXPECT_EQ((Bytes{9, 10, 11, 12, 5, 6, 7, 8, 1, 2, 3, 4}), rowBytesOf(image));
}

TEST(CreateFromArray, TakesOneAndFourBitRows) {
  const Bytes rows = {0xA0, 0x50};
  ArrayImage bits(rows, 4, 2, 1, 1);
  EXPECT_EQ((Bytes{1, 0, 1, 0, 0, 1, 0, 1}), indicesOf(bits));
  EXPECT_TRUE(sameColor(bits.GetPaletteColor(1), 255, 255, 255, 0));

  ArrayImage nibbles(rows, 2, 2, 4, 1, true);
  EXPECT_EQ((Bytes{5, 0, 10, 0}), indicesOf(nibbles));  // flipped
  EXPECT_TRUE(sameColor(nibbles.GetPaletteColor(2), 34, 34, 34, 0));
}

TEST(CreateFromArray, Takes24BitRows) {
  ArrayImage image({1, 2, 3, 4, 5, 6}, 1, 2, 24, 3);  // one pixel of each row
  EXPECT_EQ((Bytes{1, 2, 3, 0, 4, 5, 6, 0}), rowBytesOf(image));
  EXPECT_EQ(0U, image.GetNumColors());
}

TEST(CreateFromArray, DropsEveryFourthByteOf32BitRows) {
  ArrayImage image({1, 2, 3, 99, 4, 5, 6, 99, 11, 12, 13, 99, 14, 15, 16, 99}, 2, 2, 32, 8, true);
  EXPECT_EQ(24, image.GetBitsPerPixel());
  EXPECT_EQ((Bytes{11, 12, 13, 14, 15, 16, 0, 0, 1, 2, 3, 4, 5, 6, 0, 0}), rowBytesOf(image));
}

TEST(CreateFromArray, RefusesNoArrayAndOtherDepthsAndKeepsTheImage) {
  const Bytes rows = {1, 2, 3, 4};
  ArrayImage image(rows, 4, 1, 8, 4);
  EXPECT_FALSE(image.CreateFromArray(nullptr, 4, 1, 8, 4, false));
  for (const std::uint32_t depth : {0U, 2U, 3U, 5U, 16U, 33U}) {
    EXPECT_FALSE(image.CreateFromArray(rows.data(), 1, 1, depth, 4, false)) << depth;
  }
  EXPECT_STREQ("", image.GetLastError());
  EXPECT_EQ(rows, rowBytesOf(image));
}

TEST(CreateFromArray, FailsForASizeOfZero) {
  const Bytes rows = {1, 2, 3, 4};
  OwnedImage image;
  EXPECT_FALSE(image.CreateFromArray(rows.data(), 0, 1, 8, 4, false));
  EXPECT_STREQ(kNoSize, image.GetLastError());
  EXPECT_FALSE(image.IsValid());
}

TEST(Transfer, MovesAnImageAndEmptiesItsSource) {
  BlackImage to(9, 9, 1, 1);  // released by the transfer
  GreyImage from({1, 2, 3, 4}, 4, 1);
  const std::uint8_t* rows = from.GetBits();
  EXPECT_TRUE(to.Transfer(from, true));
  EXPECT_EQ(rows, to.GetBits());
  EXPECT_EQ(4U, to.GetWidth());
  EXPECT_EQ(256U, to.GetNumColors());
  EXPECT_FALSE(from.IsValid());
  EXPECT_EQ(0U, from.GetWidth());
  EXPECT_EQ(0U, from.GetHeight());
  EXPECT_EQ(0U, from.GetNumColors());
  EXPECT_EQ(0U, from.GetEffWidth());
  EXPECT_STREQ("", from.GetLastError());
}

TEST(Transfer, OfAnEmptyImageEmptiesTheTarget) {
  BlackImage to(9, 9, 1, 1);
  PaletteImage from;
  EXPECT_TRUE(to.Transfer(from, false));
  EXPECT_FALSE(to.IsValid());
  EXPECT_EQ(0U, to.GetWidth());
}

TEST(CopyInfo, TakesTypeAndLastErrorIntoAnImageWithoutABlock) {
  OwnedImage from;
  EXPECT_EQ(nullptr, from.Create(0, 1, 8, 0));
  ASSERT_NE(nullptr, from.Create(4, 1, 8, 42));
  OwnedImage to;
  to.CopyInfo(from);
  EXPECT_EQ(42U, to.GetType());
  EXPECT_EQ(4U, to.GetEffWidth());
  EXPECT_STREQ(kNoSize, to.GetLastError());
  EXPECT_FALSE(to.IsValid());
  EXPECT_EQ(0U, to.GetWidth());  // the header is not part of it
}

TEST(CopyInfo, ChangesNothingInAnImageWithABlock) {
  BlackImage from(4, 1, 8, 42);
  BlackImage to(9, 1, 8, 7);
  to.CopyInfo(from);
  EXPECT_EQ(7U, to.GetType());
  EXPECT_EQ(12U, to.GetEffWidth());
}

TEST(CopyInfo, TakesTheRememberedNearestColour) {
  BlackImage from(4, 1, 8);
  from.SetGrayPalette();
  ASSERT_EQ(90, from.GetNearestIndex({90, 90, 90, 0}));
  OwnedImage to;
  to.CopyInfo(from);
  ASSERT_NE(nullptr, to.Create(4, 1, 8, 0));  // all entries black: a search would give 0
  EXPECT_EQ(90, to.GetNearestIndex({90, 90, 90, 0}));
}

}  // namespace
}  // namespace kestra
