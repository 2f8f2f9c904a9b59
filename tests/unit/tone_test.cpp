// Tests the tone operations: negative, brightness and contrast, tables, and the raising of depth.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/grey_pages.h"
#include "tests/unit/test_images.h"

namespace kestra {
namespace {

using testing_support::PageKind;

/// All 256 levels in one row, after Light.
Bytes lit(int brightness, int contrast) {
  Bytes levels;
  for (int i = 0; i < 256; ++i) levels.push_back(static_cast<std::uint8_t>(i));
  GreyImage image(levels, 256, 1);
  EXPECT_TRUE(image.Light(brightness, contrast));
  return indicesOf(image);
}

TEST(Negative, ComplementsEveryByteAndItsPadding) {
  GreyImage image({0, 1, 128, 254, 255}, 5, 1);
  image.Negative();
  EXPECT_EQ((Bytes{255, 254, 127, 1, 0, 255, 255, 255}), rowBytesOf(image));
  EXPECT_TRUE(sameColor(image.GetPaletteColor(255), 255, 255, 255, 0));  // the palette stays
}

TEST(Negative, TwiceRestoresTheImage) {
  GreyImage image(makeLevels(PageKind::kRandom, 33, 7), 33, 7);
  const Bytes before = rowBytesOf(image);
  image.Negative();
  EXPECT_NE(before, rowBytesOf(image));
  image.Negative();
  EXPECT_EQ(before, rowBytesOf(image));
}

TEST(Negative, WorksAtEveryDepthAndWithoutAnImage) {
  const Bytes rows = {0x0F, 0x00, 0x00, 0x00};
  for (const std::uint32_t depth : {1U, 4U, 24U}) {
    ArrayImage image(rows, 1, 1, depth, 4);
    image.Negative();
    EXPECT_EQ((Bytes{0xF0, 0xFF, 0xFF, 0xFF}), rowBytesOf(image)) << depth;
  }
  PaletteImage none;
  none.Negative();
  EXPECT_FALSE(none.IsValid());
}

TEST(Light, OfZeroAndZeroChangesNothing) {
  const Bytes levels = lit(0, 0);
  for (std::size_t i = 0; i < 256; ++i) EXPECT_EQ(i, levels[i]);
}

TEST(Light, OfTheLargestBrightnessIsFlat) {
  EXPECT_EQ(Bytes(256, 255), lit(500, 0));
  EXPECT_EQ(Bytes(256, 0), lit(-500, 0));
}

TEST(Light, AddsTheBrightness) {
  const Bytes brighter = lit(10, 0);
  EXPECT_EQ(10, brighter[0]);
  EXPECT_EQ(138, brighter[128]);
  EXPECT_EQ(255, brighter[245]);
  EXPECT_EQ(255, brighter[255]);
  const Bytes darker = lit(-10, 0);
  EXPECT_EQ(0, darker[0]);
  EXPECT_EQ(0, darker[10]);
  EXPECT_EQ(1, darker[11]);
  EXPECT_EQ(245, darker[255]);
}

TEST(Light, SpreadsLevelsAroundTheMiddle) {
  // Contrast 100, factor 2: v = 2 (i - 128) + 128.5 cut.
  const Bytes spread = lit(0, 100);
  EXPECT_EQ(0, spread[0]);
  EXPECT_EQ(0, spread[64]);  // -128 + 128.5 = 0.5
  EXPECT_EQ(2, spread[65]);  // -126 + 128.5
  EXPECT_EQ(128, spread[128]);
  EXPECT_EQ(130, spread[129]);
  EXPECT_EQ(254, spread[191]);  // 126 + 128.5
  EXPECT_EQ(255, spread[192]);  // 256.5
  // Contrast 200, factor 3, the most that a printer's contrast of 100 gives.
  const Bytes most = lit(0, 200);
  EXPECT_EQ(0, most[85]);     // -129 + 128.5 = -0.5
  EXPECT_EQ(2, most[86]);     // -126 + 128.5
  EXPECT_EQ(254, most[170]);  // 126 + 128.5
  EXPECT_EQ(255, most[171]);
}

TEST(Light, FlattensAndInvertsBelowZeroContrast) {
  // Contrast -50, factor 0.5.
  const Bytes half = lit(0, -50);
  EXPECT_EQ(64, half[0]);     // -64 + 128.5
  EXPECT_EQ(65, half[1]);     // -63.5 + 128.5
  EXPECT_EQ(65, half[2]);     // -63 + 128.5
  EXPECT_EQ(192, half[255]);  // 63.5 + 128.5
  EXPECT_EQ(Bytes(256, 128), lit(0, -100));
  // Contrast -200, factor -1: 256 - i.
  const Bytes inverted = lit(0, -200);
  EXPECT_EQ(255, inverted[0]);
  EXPECT_EQ(255, inverted[1]);
  EXPECT_EQ(254, inverted[2]);
  EXPECT_EQ(128, inverted[128]);
  EXPECT_EQ(1, inverted[255]);
}

TEST(Light, FollowsItsFormulaForEveryPrinterSetting) {
  for (int b = -100; b <= 100; b += 4) {
    for (int c = -100; c <= 100; c += 5) {
      const Bytes levels = lit(b * 5, c * 2);
      const float factor = static_cast<float>(c * 2 + 100) / 100.0F;
      const auto offset = static_cast<float>(b * 5 + 128);
      for (int i = 0; i < 256; ++i) {
        const float product = static_cast<float>(i - 128) * factor;
        const float sum = product + offset;
        int wanted = static_cast<int>(sum + 0.5F);
        if (wanted < 0) wanted = 0;
        if (wanted > 255) wanted = 255;
        ASSERT_EQ(wanted, levels[static_cast<std::size_t>(i)]) << b << " " << c << " " << i;
      }
    }
  }
}

TEST(Light, NeedsAnImage) { EXPECT_FALSE(PaletteImage().Light(10, 0)); }

TEST(Lut, ReplacesEachIndexAndNoPadding) {
  std::uint8_t table[256];
  for (int i = 0; i < 256; ++i) table[i] = static_cast<std::uint8_t>(i ^ 0x55);
  GreyImage image({0, 1, 0x55, 0xAA, 255, 7}, 3, 2);
  EXPECT_TRUE(image.Lut(table));
  EXPECT_EQ((Bytes{0x55, 0x54, 0x00, 0, 0xFF, 0xAA, 0x52, 0}), rowBytesOf(image));
  EXPECT_TRUE(sameColor(image.GetPaletteColor(1), 1, 1, 1, 0));
}

TEST(Lut, KeepsWhatFitsTheDepth) {
  std::uint8_t table[256] = {};
  table[0] = 0xF3;
  table[1] = 0xF2;
  BlackImage bits(2, 1, 1);
  bits.SetPixelIndex(1, 0, 1);
  EXPECT_TRUE(bits.Lut(table));
  EXPECT_EQ((Bytes{1, 0}), indicesOf(bits));
  BlackImage nibbles(2, 1, 4);
  nibbles.SetPixelIndex(1, 0, 1);
  EXPECT_TRUE(nibbles.Lut(table));
  EXPECT_EQ((Bytes{3, 2}), indicesOf(nibbles));
  BlackImage color(1, 1, 24);
  EXPECT_TRUE(color.Lut(table));
  EXPECT_EQ(Bytes(4, 0), rowBytesOf(color));  // no indices, nothing written
}

TEST(Lut, NeedsATableAndAnImage) {
  const std::uint8_t table[256] = {};
  EXPECT_FALSE(PaletteImage().Lut(table));
  GreyImage image({1, 2, 3, 4}, 4, 1);
  EXPECT_FALSE(image.Lut(nullptr));
  EXPECT_EQ((Bytes{1, 2, 3, 4}), indicesOf(image));
}

TEST(IncreaseBpp, KeepsIndicesAndColoursOfTwoLevels) {
  for (const unsigned depth : {4U, 8U}) {
    BlackImage image(5, 2, 1, 55);
    image.SetPaletteColor(0, 1, 2, 3, 4);
    image.SetPaletteColor(1, 250, 240, 230, 220);
    image.SetPixelIndex(1, 0, 1);
    image.SetPixelIndex(4, 1, 1);
    ASSERT_TRUE(image.IncreaseBpp(depth));
    EXPECT_EQ(depth, image.GetBitsPerPixel());
    EXPECT_EQ(depth == 4 ? 16U : 256U, image.GetNumColors());
    EXPECT_EQ((Bytes{0, 1, 0, 0, 0, 0, 0, 0, 0, 1}), indicesOf(image));
    EXPECT_TRUE(sameColor(image.GetPaletteColor(0), 3, 2, 1, 4));
    EXPECT_TRUE(sameColor(image.GetPaletteColor(1), 230, 240, 250, 220));
    EXPECT_TRUE(sameColor(image.GetPaletteColor(2), 0, 0, 0, 0));
    EXPECT_EQ(55U, image.GetType());
  }
}

TEST(IncreaseBpp, LeavesPaddingZero) {
  BlackImage image(5, 1, 1);
  image.GetBits()[0] = 0xFF;  // the bits behind the 5 pixels too
  ASSERT_TRUE(image.IncreaseBpp(8));
  EXPECT_EQ((Bytes{1, 1, 1, 1, 1, 0, 0, 0}), rowBytesOf(image));
}

TEST(IncreaseBpp, RaisesSixteenLevelsTo256) {
  BlackImage image(3, 1, 4);
  image.SetGrayPalette();
  image.SetPixelIndex(0, 0, 15);
  image.SetPixelIndex(2, 0, 9);
  ASSERT_TRUE(image.IncreaseBpp(8));
  EXPECT_EQ((Bytes{15, 0, 9, 0}), rowBytesOf(image));
  EXPECT_TRUE(sameColor(image.GetPaletteColor(9), 153, 153, 153, 0));  // 9 * 17, indices stay
}

TEST(IncreaseBpp, WritesColoursAt24Bits) {
  for (const std::uint32_t depth : {1U, 4U, 8U}) {
    BlackImage image(2, 2, depth, 66);
    image.SetPaletteColor(0, 1, 2, 3, 4);  // red 1, green 2, blue 3
    image.SetPaletteColor(1, 10, 20, 30, 40);
    image.SetPixelIndex(1, 0, 1);
    image.SetPixelIndex(0, 1, 1);
    ASSERT_TRUE(image.IncreaseBpp(24)) << depth;
    EXPECT_EQ(24, image.GetBitsPerPixel());
    EXPECT_EQ(0U, image.GetNumColors());
    EXPECT_EQ(66U, image.GetType());
    EXPECT_EQ((Bytes{3, 2, 1, 30, 20, 10, 0, 0, 30, 20, 10, 3, 2, 1, 0, 0}), rowBytesOf(image));
  }
}

TEST(IncreaseBpp, IsTrueWithoutAChangeAtTheSameDepth) {
  for (const std::uint32_t depth : {4U, 8U, 24U}) {
    BlackImage image(3, 3, depth);
    const std::uint8_t* rows = image.GetBits();
    EXPECT_TRUE(image.IncreaseBpp(depth));
    EXPECT_EQ(rows, image.GetBits());
  }
}

TEST(IncreaseBpp, RefusesLowerAndUnknownDepths) {
  GreyImage image({1, 2, 3, 4}, 4, 1);
  for (const unsigned depth : {0U, 1U, 2U, 3U, 4U, 5U, 16U, 32U}) {
    EXPECT_FALSE(image.IncreaseBpp(depth)) << depth;
  }
  EXPECT_EQ((Bytes{1, 2, 3, 4}), indicesOf(image));
  BlackImage color(1, 1, 24);
  EXPECT_FALSE(color.IncreaseBpp(8));
  BlackImage bits(1, 1, 1);
  EXPECT_FALSE(bits.IncreaseBpp(1));  // not a depth to raise to, even though it is there already
  EXPECT_FALSE(PaletteImage().IncreaseBpp(8));
}

TEST(IncreaseBpp, TellsWhyTheNewImageCannotBeMade) {
  // 200 million bits are 25 MB; at 24 bits they are 4.8e9 bits, more than 2^32.
  BlackImage image(200000000, 1, 1);
  EXPECT_FALSE(image.IncreaseBpp(24));
  EXPECT_STREQ("PALETTEIMAGE_MAX_MEMORY exceeded", image.GetLastError());
  EXPECT_EQ(1, image.GetBitsPerPixel());
  EXPECT_TRUE(image.IsValid());
}

}  // namespace
}  // namespace kestra
