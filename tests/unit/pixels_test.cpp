// Tests pixel access at every depth: where a pixel's bits lie, and what happens beside the image.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "tests/unit/test_images.h"

namespace kestra {
namespace {

TEST(Pixels, OfOneBitFillAByteFromItsHighestBit) {
  BlackImage image(10, 2, 1);
  image.SetPixelIndex(0, 0, 255);  // only the lowest bit counts: 1
  EXPECT_EQ(0x80, image.GetBits(0)[0]);
  image.SetPixelIndex(7, 0, 1);
  EXPECT_EQ(0x81, image.GetBits(0)[0]);
  image.SetPixelIndex(9, 1, 3);
  EXPECT_EQ(0x40, image.GetBits(1)[1]);
  image.SetPixelIndex(0, 0, 254);  // lowest bit 0
  EXPECT_EQ(0x01, image.GetBits(0)[0]);
  EXPECT_EQ(0, image.GetPixelIndex(0, 0));
  EXPECT_EQ(1, image.GetPixelIndex(7, 0));
  EXPECT_EQ(1, image.GetPixelIndex(9, 1));
}

TEST(Pixels, OfFourBitsFillAByteFromItsHighHalf) {
  BlackImage image(3, 1, 4);
  image.SetPixelIndex(1, 0, 0xAB);
  EXPECT_EQ(0x0B, image.GetBits(0)[0]);
  image.SetPixelIndex(0, 0, 0x0C);
  EXPECT_EQ(0xCB, image.GetBits(0)[0]);
  image.SetPixelIndex(2, 0, 0xF5);
  EXPECT_EQ(0x50, image.GetBits(0)[1]);
  EXPECT_EQ((Bytes{0xC, 0xB, 0x5}), indicesOf(image));
  image.BlindSetPixelIndex(0, 0, 0);
  EXPECT_EQ(0x0B, image.GetBits(0)[0]);  // the neighbour stays
}

TEST(Pixels, OfEightBitsAreWholeBytes) {
  BlackImage image(3, 2, 8);
  image.SetPixelIndex(2, 1, 0xAB);
  image.BlindSetPixelIndex(0, 0, 0xFF);
  EXPECT_EQ((Bytes{0xFF, 0, 0, 0, 0, 0, 0xAB, 0}), rowBytesOf(image));
  EXPECT_EQ(0xAB, image.BlindGetPixelIndex(2, 1));
}

TEST(Pixels, Of24BitsHaveNoIndex) {
  BlackImage image(2, 1, 24);
  image.BlindSetPixelColor(0, 0, {1, 2, 3, 4}, true);
  EXPECT_EQ(0, image.BlindGetPixelIndex(0, 0));
  EXPECT_EQ(0, image.GetPixelIndex(0, 0));
  EXPECT_EQ(0, image.GetPixelIndex(-1, 0));
  image.BlindSetPixelIndex(0, 0, 99);
  image.SetPixelIndex(1, 0, 99);
  EXPECT_EQ((Bytes{1, 2, 3, 0, 0, 0, 0, 0}), rowBytesOf(image));
}

TEST(Pixels, Of24BitsStoreBlueGreenRed) {
  BlackImage image(2, 2, 24);
  image.BlindSetPixelColor(1, 1, {10, 20, 30, 40}, false);
  EXPECT_EQ((Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10, 20, 30, 0, 0}), rowBytesOf(image));
  EXPECT_TRUE(sameColor(image.BlindGetPixelColor(1, 1, true), 10, 20, 30, 0));
  EXPECT_TRUE(sameColor(image.BlindGetPixelColor(1, 1, false), 10, 20, 30, 0));
}

TEST(Pixels, OfAPaletteImageReadAsTheirEntry) {
  BlackImage image(2, 1, 4);
  image.SetPaletteColor(5, 30, 20, 10, 77);
  image.SetPixelIndex(1, 0, 5);
  EXPECT_TRUE(sameColor(image.BlindGetPixelColor(1, 0, false), 10, 20, 30, 77));
  EXPECT_TRUE(sameColor(image.BlindGetPixelColor(0, 0, true), 0, 0, 0, 0));
}

TEST(Pixels, OfAPaletteImageTakeTheNearestEntry) {
  BlackImage image(2, 1, 4);
  image.SetGrayPalette();
  image.BlindSetPixelColor(1, 0, {70, 70, 70, 0}, true);  // 68 is entry 4
  EXPECT_EQ((Bytes{0, 4}), indicesOf(image));
}

TEST(Pixels, OutsideReadAsTheFirstByteOfTheImage) {
  BlackImage image(4, 3, 8);
  image.SetPixelIndex(0, 0, 0xC7);
  const std::int64_t far = std::numeric_limits<std::int64_t>::max();
  const std::int64_t wrap = std::int64_t{1} << 32;  // no wrap to column 0
  const std::int64_t outside[][2] = {
      {-1, 0}, {4, 0}, {0, -1}, {0, 3}, {wrap, 0}, {far, far}, {-far - 1, -far - 1}};
  for (const auto& at : outside) {
    EXPECT_EQ(0xC7, image.GetPixelIndex(at[0], at[1])) << at[0] << ", " << at[1];
  }
}

TEST(Pixels, OutsideReadTheWholeFirstByteAtOneAndFourBits) {
  BlackImage bits(8, 1, 1);
  bits.GetBits(0)[0] = 0xA5;
  EXPECT_EQ(0xA5, bits.GetPixelIndex(8, 0));
  BlackImage nibbles(2, 1, 4);
  nibbles.GetBits(0)[0] = 0xA5;
  EXPECT_EQ(0xA5, nibbles.GetPixelIndex(0, 1));
}

TEST(Pixels, OutsideAreNotWritten) {
  for (const std::uint32_t depth : {1U, 4U, 8U}) {
    BlackImage image(5, 3, depth);
    const Bytes before = rowBytesOf(image);
    image.SetPixelIndex(5, 0, 255);
    image.SetPixelIndex(-1, 0, 255);
    image.SetPixelIndex(0, 3, 255);
    image.SetPixelIndex(0, -1, 255);
    image.SetPixelIndex(std::int64_t{1} << 32, 0, 255);
    image.SetPixelIndex(0, std::int64_t{1} << 32, 255);
    EXPECT_EQ(before, rowBytesOf(image)) << depth;
  }
}

TEST(Pixels, OfNoImageReadAsZero) {
  PaletteImage image;
  EXPECT_EQ(0, image.GetPixelIndex(0, 0));
  image.SetPixelIndex(0, 0, 1);  // nothing happens
  EXPECT_FALSE(image.IsValid());

  ASSERT_NE(nullptr, image.Create(2, 2, 8, 0));
  image.Destroy();  // keeps its size, but has no pixels
  EXPECT_EQ(0, image.GetPixelIndex(0, 0));
  EXPECT_EQ(0, image.GetPixelIndex(-1, 0));
  image.SetPixelIndex(0, 0, 1);
}

}  // namespace
}  // namespace kestra
