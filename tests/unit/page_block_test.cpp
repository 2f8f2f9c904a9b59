// Tests the memory of pages: zeroed, of any size, and not taken before it is touched.
#include "filter/base/page_block.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "tests/support/sanitized.h"

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

#if defined(__linux__)
// Bytes of a block's large memory pages that are still there, in the machine's usual memory pages,
// of 4 to 64 KiB.
std::size_t stillMapped(std::uint8_t* block, std::size_t size) {
  const auto smallPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  std::size_t mapped = 0;
  for (std::size_t at = 0; at < size; at += smallPage) {
    unsigned char resident = 0;
    if (mincore(block + at, smallPage, &resident) == 0) mapped += smallPage;
  }
  return mapped;
}

TEST(PageBlock, LeavesNothingOfALargePageBehind) {
#ifdef KESTRA_SANITIZED
  GTEST_SKIP() << "the sanitizer keeps freed memory";
#endif
  // From half a large page of 2 MiB on, blocks are made of whole ones: 2, 4 and 6 MiB.
  for (const std::size_t pages : {1U, 2U, 3U}) {
    const std::size_t whole = 2 * pages * kMebibyte;
    const std::size_t size = whole - kMebibyte;
    auto* bytes = static_cast<std::uint8_t*>(allocatePageBlock(size));
    ASSERT_NE(nullptr, bytes);
    EXPECT_EQ(whole, stillMapped(bytes, whole));
    freePageBlock(bytes, size);
    EXPECT_EQ(0U, stillMapped(bytes, whole)) << pages;
  }
}
#endif

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
