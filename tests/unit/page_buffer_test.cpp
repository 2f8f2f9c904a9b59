// Tests the page buffer: every page starts on zero bytes, however large the page before it was.
#include "filter/page_buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>

namespace kestra {
namespace {

bool isAllZero(const unsigned char* bytes, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    if (bytes[i] != 0) return false;
  }
  return true;
}

TEST(PageBuffer, IsZeroForEveryPage) {
  PageBuffer buffer;
  for (const std::size_t size : {std::size_t{100}, std::size_t{7}, std::size_t{100},
                                 std::size_t{5000}, std::size_t{5000}, std::size_t{1}}) {
    ASSERT_TRUE(buffer.reset(size)) << size;
    ASSERT_NE(nullptr, buffer.data());
    EXPECT_TRUE(isAllZero(buffer.data(), size)) << size;
    std::memset(buffer.data(), 0xAA, size);
  }
}

TEST(PageBuffer, HoldsALargePage) {
  PageBuffer buffer;
  const std::size_t size = 2480U * 3508U;  // A4 at 300 dpi
  ASSERT_TRUE(buffer.reset(size));
  EXPECT_TRUE(isAllZero(buffer.data(), size));
  buffer.data()[size - 1] = 1;
}

TEST(PageBuffer, TellsWhenThereIsNoMemory) {
  PageBuffer buffer;
  ASSERT_TRUE(buffer.reset(10));
  EXPECT_FALSE(buffer.reset(std::numeric_limits<std::size_t>::max() / 2));
  EXPECT_TRUE(buffer.reset(20));  // and is still of use afterwards
  EXPECT_TRUE(isAllZero(buffer.data(), 20));
}

TEST(PageBuffer, HoldsAPageOfNoBytes) {
  PageBuffer buffer;
  for (int again = 0; again < 2; ++again) {
    ASSERT_TRUE(buffer.reset(0));
    EXPECT_NE(nullptr, buffer.data());
  }
  ASSERT_TRUE(buffer.reset(3));
  EXPECT_TRUE(isAllZero(buffer.data(), 3));
}

TEST(PageBuffer, MayStayUnused) { EXPECT_EQ(nullptr, PageBuffer().data()); }

}  // namespace
}  // namespace kestra
