// Tests the memory of pages: zeroed, of any size, and not taken before it is touched.
#include "filter/base/page_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace kestra {
namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

TEST(PageBlock, IsZeroAndWritableAtEverySize) {
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1}, std::size_t{100}, kMebibyte - 1, kMebibyte, kMebibyte + 1,
        2 * kMebibyte, 2 * kMebibyte + 1, std::size_t{2480} * 3508, 16 * kMebibyte}) {
    for (int again = 0; again < 2; ++again) {  // memory that comes back must be zero, too
      auto* bytes = static_cast<std::uint8_t*>(allocatePageBlock(size));
      ASSERT_NE(nullptr, bytes) << size;
      EXPECT_TRUE(std::all_of(bytes, bytes + size, [](std::uint8_t byte) { return byte == 0; }))
          << size;
      std::memset(bytes, 0xAA, size);
      freePageBlock(bytes, size);
    }
  }
}

TEST(PageBlock, TellsWhenThereIsNoMemory) {
  EXPECT_EQ(nullptr, allocatePageBlock(std::numeric_limits<std::size_t>::max() / 2));
  EXPECT_EQ(nullptr, allocatePageBlock(std::numeric_limits<std::size_t>::max() / 4));
}

TEST(PageBlock, MayBeNullWhenFreed) {
  freePageBlock(nullptr, 0);
  freePageBlock(nullptr, 16 * kMebibyte);
}

}  // namespace
}  // namespace kestra
