// Tests of counting and replacing grey levels: every length, runs of one level, in place.
// Why: a pixel that is not counted moves the threshold of the page.
#include "imaging/kernels/histogram.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "tests/stencil/levels.h"

namespace kestra {
namespace {

// 0 37 74 ... with a run of 200 in between.
std::vector<unsigned char> someLevels(std::size_t count) {
  std::vector<unsigned char> levels;
  for (std::size_t i = 0; i < count; ++i) {
    levels.push_back(i % 32 < 12 ? 200 : static_cast<unsigned char>(i * 37 & 0xFF));
  }
  return levels;
}

}  // namespace

TEST(Histogram, CountsEveryByteOfEveryLength) {
  for (std::size_t count = 0; count <= 300; ++count) {
    const std::vector<unsigned char> levels = someLevels(count);
    std::array<std::uint32_t, 256> expected = {};
    for (const unsigned char level : levels) ++expected[level];
    atEveryLevel([&](KernelLevel level) {
      std::array<std::uint32_t, 256> counts = {};
      countLevels(levels.data(), count, counts.data());
      EXPECT_EQ(counts, expected) << count << ", " << kernelLevelName(level);
    });
  }
}

TEST(Histogram, AddsToWhatIsThere) {
  const std::vector<unsigned char> levels(25, 9);
  atEveryLevel([&](KernelLevel /*level*/) {
    std::array<std::uint32_t, 256> counts = {};
    counts[9] = 5;
    counts[8] = 3;
    countLevels(levels.data(), levels.size(), counts.data());
    EXPECT_EQ(counts[9], 30U);
    EXPECT_EQ(counts[8], 3U);
  });
}

TEST(LevelTable, ReplacesEveryByteOfEveryLengthAndNoOther) {
  std::array<std::uint8_t, 256> table = {};
  for (std::size_t i = 0; i < 256; ++i) table[i] = static_cast<std::uint8_t>(255 - i * 3);
  for (std::size_t count = 0; count <= 40; ++count) {
    const std::vector<unsigned char> levels = someLevels(count);
    std::vector<unsigned char> expected;
    for (const unsigned char level : levels) expected.push_back(table[level]);
    expected.push_back(170);
    atEveryLevel([&](KernelLevel level) {
      std::vector<unsigned char> out(count + 1, 170);
      mapLevels(levels.data(), table.data(), out.data(), count);
      EXPECT_EQ(out, expected) << count << ", " << kernelLevelName(level);
      std::vector<unsigned char> same = levels;
      same.push_back(170);
      mapLevels(same.data(), table.data(), same.data(), count);
      EXPECT_EQ(same, expected) << count << ", in place, " << kernelLevelName(level);
    });
  }
}

}  // namespace kestra
