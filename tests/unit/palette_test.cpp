// Tests the palette: the grey ramp of a page, single entries, and the search for the nearest colour
// with its memory.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/unit/test_images.h"

namespace kestra {
namespace {

TEST(Palette, GreyRampHasEvenSteps) {
  BlackImage image(4, 4, 1);
  image.SetGrayPalette();
  EXPECT_TRUE(sameColor(image.GetPaletteColor(0), 0, 0, 0, 0));
  EXPECT_TRUE(sameColor(image.GetPaletteColor(1), 255, 255, 255, 0));

  ASSERT_NE(nullptr, image.Create(4, 4, 4, 0));
  image.SetGrayPalette();
  for (int i = 0; i < 16; ++i) {  // 255 / 15 = 17
    const auto grey = static_cast<std::uint8_t>(17 * i);
    EXPECT_TRUE(
        sameColor(image.GetPaletteColor(static_cast<std::uint8_t>(i)), grey, grey, grey, 0));
  }

  ASSERT_NE(nullptr, image.Create(4, 4, 8, 0));
  image.SetGrayPalette();
  for (int i = 0; i < 256; ++i) {
    const auto grey = static_cast<std::uint8_t>(i);
    EXPECT_TRUE(sameColor(image.GetPaletteColor(grey), grey, grey, grey, 0));
  }
}

TEST(Palette, GreyRampLeavesTheReservedByte) {
  BlackImage image(4, 4, 4);
  image.SetPaletteColor(3, 1, 2, 3, 200);
  image.SetGrayPalette();
  EXPECT_TRUE(sameColor(image.GetPaletteColor(3), 51, 51, 51, 200));
}

TEST(Palette, StoresAnEntryAsBlueGreenRedReserved) {
  BlackImage image(4, 4, 8);
  image.SetPaletteColor(7, 10, 20, 30, 40);  // red, green, blue, alpha
  EXPECT_TRUE(sameColor(image.GetPaletteColor(7), 30, 20, 10, 40));
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(image.GetPalette()) + 28;
  EXPECT_EQ((std::vector<std::uint8_t>{30, 20, 10, 40}),
            std::vector<std::uint8_t>(bytes, bytes + 4));
}

TEST(Palette, IgnoresEntriesBeyondItsEnd) {
  BlackImage image(4, 4, 4);
  image.SetPaletteColor(16, 1, 2, 3, 4);
  EXPECT_TRUE(sameColor(image.GetPaletteColor(16), 0, 0, 0, 0));
  EXPECT_EQ(std::vector<std::uint8_t>(16, 0), rowBytesOf(image));  // the rows lie behind entry 15
}

TEST(Palette, IsNoneWithoutABlockOrAt24Bits) {
  OwnedImage image;
  image.SetPaletteColor(0, 1, 2, 3, 4);
  image.SetGrayPalette();
  const tagRGBQUAD color = {1, 2, 3, 4};
  image.SetPalette(&color, 1);
  EXPECT_TRUE(sameColor(image.GetPaletteColor(0), 0, 0, 0, 0));
  EXPECT_EQ(0, image.GetNearestIndex(color));

  ASSERT_NE(nullptr, image.Create(2, 2, 24, 0));
  image.SetPaletteColor(0, 1, 2, 3, 4);
  image.SetGrayPalette();
  image.SetPalette(&color, 1);
  EXPECT_TRUE(sameColor(image.GetPaletteColor(0), 0, 0, 0, 0));
  EXPECT_EQ(0, image.GetNearestIndex(color));
  EXPECT_EQ(std::vector<std::uint8_t>(16, 0), rowBytesOf(image));
}

TEST(Palette, TakesAsManyColoursAsItHolds) {
  BlackImage image(2, 2, 1);
  const tagRGBQUAD colors[3] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 9, 9, 9}};
  image.SetPalette(colors, 3);
  EXPECT_TRUE(sameColor(image.GetPaletteColor(0), 1, 2, 3, 4));
  EXPECT_TRUE(sameColor(image.GetPaletteColor(1), 5, 6, 7, 8));
  EXPECT_EQ(std::vector<std::uint8_t>(8, 0), rowBytesOf(image));

  ASSERT_NE(nullptr, image.Create(2, 2, 4, 0));
  image.SetPalette(colors, 2);
  EXPECT_TRUE(sameColor(image.GetPaletteColor(1), 5, 6, 7, 8));
  EXPECT_TRUE(sameColor(image.GetPaletteColor(2), 0, 0, 0, 0));
  image.SetPalette(nullptr, 2);  // changes nothing
  EXPECT_TRUE(sameColor(image.GetPaletteColor(0), 1, 2, 3, 4));
}

TEST(NearestColour, IsTheOneOfTheSmallestSquaredDistance) {
  BlackImage image(2, 2, 4);
  image.SetGrayPalette();
  // 60 lies between 51 (entry 3) and 68 (entry 4): 3 * 81 = 243 against 3 * 64 = 192.
  EXPECT_EQ(4, image.GetNearestIndex({60, 60, 60, 0}));
  // Red 255, the rest 0: entry i of grey g has (255 - g)^2 + 2 g^2, smallest at g = 85, entry 5.
  EXPECT_EQ(5, image.GetNearestIndex({0, 0, 255, 0}));
}

TEST(NearestColour, IsTheLowerOneOfTwoAtEqualDistance) {
  BlackImage image(2, 2, 1);
  image.SetPaletteColor(0, 110, 100, 100, 0);
  image.SetPaletteColor(1, 90, 100, 100, 0);
  EXPECT_EQ(0, image.GetNearestIndex({100, 100, 100, 0}));
}

TEST(NearestColour, IsTheFirstOfSeveralExactOnes) {
  BlackImage image(2, 2, 4);
  image.SetPaletteColor(6, 1, 2, 3, 0);
  image.SetPaletteColor(9, 1, 2, 3, 0);
  EXPECT_EQ(6, image.GetNearestIndex({3, 2, 1, 0}));
}

TEST(NearestColour, IgnoresTheReservedByteInItsSearch) {
  BlackImage image(2, 2, 4);
  image.SetPaletteColor(6, 1, 2, 3, 250);
  EXPECT_EQ(6, image.GetNearestIndex({3, 2, 1, 0}));
}

TEST(NearestColour, ReachesTheFarthestCorner) {
  // Black to white: 3 * 255^2 = 195075, still below the starting distance of 200000.
  BlackImage image(2, 2, 1);
  image.SetPaletteColor(0, 0, 0, 0, 0);
  image.SetPaletteColor(1, 1, 0, 0, 0);
  EXPECT_EQ(1, image.GetNearestIndex({255, 255, 255, 0}));
}

TEST(NearestColour, IsRememberedAcrossEveryPaletteChange) {
  BlackImage image(2, 2, 8);
  image.SetGrayPalette();
  ASSERT_EQ(50, image.GetNearestIndex({50, 50, 50, 0}));
  image.SetPaletteColor(50, 0, 0, 0, 0);
  image.SetPaletteColor(3, 50, 50, 50, 0);
  EXPECT_EQ(50, image.GetNearestIndex({50, 50, 50, 0}));
  const tagRGBQUAD black = {0, 0, 0, 0};
  image.SetPalette(&black, 1);
  EXPECT_EQ(50, image.GetNearestIndex({50, 50, 50, 0}));
  // Another colour is searched for, and takes the place of the remembered one.
  EXPECT_EQ(60, image.GetNearestIndex({60, 60, 60, 0}));
  EXPECT_EQ(3, image.GetNearestIndex({50, 50, 50, 0}));
}

TEST(NearestColour, IsRememberedForAllFourBytesOfAColour) {
  BlackImage image(2, 2, 8);
  image.SetGrayPalette();
  ASSERT_EQ(50, image.GetNearestIndex({50, 50, 50, 0}));
  image.SetPaletteColor(50, 0, 0, 0, 0);
  image.SetPaletteColor(3, 50, 50, 50, 0);
  // The same blue, green and red with another reserved byte is another colour: searched anew.
  EXPECT_EQ(3, image.GetNearestIndex({50, 50, 50, 1}));
  // That search replaced the remembered colour.
  EXPECT_EQ(3, image.GetNearestIndex({50, 50, 50, 0}));
}

TEST(NearestColour, OfFreshZeroMemoryIsNotTakenForRemembered) {
  // Black (0, 0, 0, 0) equals an unused memory; entry 0 is not black here.
  BlackImage image(2, 2, 1);
  image.SetPaletteColor(0, 9, 9, 9, 0);
  EXPECT_EQ(1, image.GetNearestIndex({0, 0, 0, 0}));
}

TEST(NearestColour, IsForgottenWithAnEmptiedImage) {
  OwnedImage to;
  BlackImage from(2, 2, 8);
  from.SetGrayPalette();
  ASSERT_EQ(50, from.GetNearestIndex({50, 50, 50, 0}));
  to.Transfer(from, true);
  to.SetPaletteColor(50, 0, 0, 0, 0);
  EXPECT_EQ(50, to.GetNearestIndex({50, 50, 50, 0}));  // the memory moved along
  ASSERT_NE(nullptr, from.Create(2, 2, 8, 0));
  from.SetPaletteColor(3, 50, 50, 50, 0);
  EXPECT_EQ(3, from.GetNearestIndex({50, 50, 50, 0}));
}

}  // namespace
}  // namespace kestra
