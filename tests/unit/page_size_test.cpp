// Tests the computation of a page's size: header values come from outside and must never make a
// buffer that is too small for its pixels.
#include "filter/base/page_size.h"

#include <gtest/gtest.h>

namespace kestra {
namespace {

TEST(PageSize, IsExactForEveryPairOf32BitValues) {
  EXPECT_EQ(0U, pageBytes(0, 0));
  EXPECT_EQ(989016U, pageBytes(812, 1218));  // 800 * 1218 = 974400, 12 * 1218 = 14616
  EXPECT_EQ(std::uint64_t{1} << 32, pageBytes(65536, 65536));
  // (2^32 - 1)^2 = 2^64 - 2^33 + 1
  EXPECT_EQ(0xFFFFFFFE00000001U, pageBytes(0xFFFFFFFFU, 0xFFFFFFFFU));
}

TEST(PaddedRowBytes, AreAMultipleOfFourAtEveryDepth) {
  EXPECT_EQ(0U, paddedRowBytes(0));
  EXPECT_EQ(4U, paddedRowBytes(1));
  EXPECT_EQ(8U, paddedRowBytes(8));
  EXPECT_EQ(12U, paddedRowBytes(9));
  EXPECT_EQ(4U, paddedRowBytes(32, 1));
  EXPECT_EQ(8U, paddedRowBytes(33, 1));
  EXPECT_EQ(8U, paddedRowBytes(9, 4));    // 36 bits
  EXPECT_EQ(12U, paddedRowBytes(3, 24));  // 9 bytes
  EXPECT_EQ(std::uint64_t{1} << 32, paddedRowBytes(0xFFFFFFFFU));
}

TEST(PrintablePage, AllowsOrdinaryPages) {
  EXPECT_TRUE(isPrintablePage(812, 812, 1218));
  EXPECT_TRUE(isPrintablePage(812, 816, 1218));
  EXPECT_TRUE(isPrintablePage(1, 1, 1));
}

TEST(PrintablePage, RefusesRowsShorterThanThePageIsWide) {
  EXPECT_FALSE(isPrintablePage(813, 812, 10));
  EXPECT_FALSE(isPrintablePage(0xFFFFFFFFU, 1, 1));
}

TEST(PrintablePage, AllowsUpToTwoTo29MinusOneBytes) {
  EXPECT_EQ(536870911U, kMaxPageBytes);
  EXPECT_TRUE(isPrintablePage(100, 536870911, 1));
  EXPECT_FALSE(isPrintablePage(100, 536870912, 1));
  EXPECT_FALSE(isPrintablePage(100, 16384, 32768));  // 2^14 * 2^15 = 2^29
  EXPECT_TRUE(isPrintablePage(100, 16384, 32767));
}

TEST(PrintablePage, RefusesSizesThatWouldWrapIn32Bits) {
  EXPECT_FALSE(isPrintablePage(100, 65536, 65536));              // would be 0
  EXPECT_FALSE(isPrintablePage(100, 65537, 65536));              // would be 65536
  EXPECT_FALSE(isPrintablePage(100, 0xFFFFFFFFU, 0xFFFFFFFFU));  // would be 1
}

TEST(PrintablePage, LetsAWidthOfZeroThroughToTheImageThatFails) {
  EXPECT_TRUE(isPrintablePage(0, 4, 4));
}

}  // namespace
}  // namespace kestra
