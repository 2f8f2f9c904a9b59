// Tests dots made by thresholds, packed and counted: worked rows, every level against every
// threshold, and every version against a plain one over many sizes.
#include "imaging/kernels/dots.h"

#include <gtest/gtest.h>

#include <bitset>
#include <numeric>

#include "tests/kernels/rows_of_all_sizes.h"
#include "tests/kernels/versions.h"
#include "tests/plain/frame.h"

namespace kestra {
namespace {

Bytes dithered(const Bytes& levels, const RowThresholds& thresholds) {
  Bytes dots(levels.size());
  ditherRow(levels.data(), levels.size(), thresholds.data(), dots.data());
  return dots;
}

Bytes plainlyPacked(const Bytes& pixels) {
  return plain::packSkewed({{pixels.begin(), pixels.end()}}, static_cast<int>(pixels.size()));
}

}  // namespace

TEST(Matrix, ComparesEachPixelWithTheThresholdOfItsColumn) {
  // Thresholds 10 20 30 255, then again from column 4 on: 10 is white, 19 not, 30 is, 254 not;
  // 9 is not, 20 is.
  inEveryVersion([] {
    EXPECT_EQ((Bytes{1, 0, 1, 0, 0, 1}), dithered({10, 19, 30, 254, 9, 20}, {10, 20, 30, 255}));
  });
}

TEST(Matrix, CutsEveryLevelAtEveryThreshold) {
  Bytes levels(256);
  std::iota(levels.begin(), levels.end(), std::uint8_t{0});
  for (unsigned threshold = 1; threshold < 256; ++threshold) {
    const auto byte = static_cast<std::uint8_t>(threshold);
    Bytes wanted(threshold, 0);
    wanted.resize(256, 1);
    inEveryVersion([&] { ASSERT_EQ(wanted, dithered(levels, {byte, byte, byte, byte})); });
  }
}

TEST(Matrix, MakesTheDotsOfThePlainVersionForEverySizeInPlaceAndWritesNoOthers) {
  const RowThresholds sets[] = {{129, 129, 129, 129}, {16, 144, 48, 176}, {1, 193, 49, 241}};
  for (const RowThresholds& thresholds : sets) {
    withRowsOfAllSizes([&](const Bytes& levels) {
      Bytes wanted;
      for (std::size_t x = 0; x < levels.size(); ++x) {
        wanted.push_back(levels[x] < thresholds[x % 4] ? 0 : 1);
      }
      wanted.push_back(0xA5);
      inEveryVersion([&] {
        Bytes row = levels;
        row.push_back(0xA5);
        ditherRow(row.data(), levels.size(), thresholds.data(), row.data());
        ASSERT_EQ(wanted, row);
      });
    });
  }
}

TEST(Dots, PackTheLeftmostPixelIntoTheHighestBit) {
  // 0010 0001 | 1... .... -> 21 80
  const Bytes pixels = {0, 0, 9, 0, 0, 0, 0, 1, 255};
  inEveryVersion([&] {
    Bytes bits(2, 0xFF);
    packDots(pixels.data(), pixels.size(), bits.data());
    EXPECT_EQ((Bytes{0x21, 0x80}), bits);
  });
}

TEST(Dots, PackEveryByteButZeroAsADot) {
  Bytes pixels(256);
  std::iota(pixels.begin(), pixels.end(), std::uint8_t{0});
  Bytes wanted(32, 0xFF);
  wanted[0] = 0x7F;  // level 0 alone is none
  inEveryVersion([&] {
    Bytes bits(32);
    packDots(pixels.data(), pixels.size(), bits.data());
    EXPECT_EQ(wanted, bits);
  });
}

TEST(Dots, CountEveryBit) {
  // 1 + 2 + 8 + 0 + 1 + 4 bits
  const Bytes bits = {0x80, 0x11, 0xFF, 0x00, 0x01, 0x0F};
  inEveryVersion([&] {
    EXPECT_EQ(16U, countDots(bits.data(), bits.size()));
    EXPECT_EQ(0U, countDots(bits.data(), 0));
  });
}

TEST(Dots, AreThoseOfThePlainVersionForEverySize) {
  withRowsOfAllSizes([](const Bytes& pixels) {
    Bytes wanted = plainlyPacked(pixels);
    wanted.push_back(0xA5);  // the byte behind is as it was
    std::uint64_t dots = 0;
    for (const std::uint8_t byte : pixels) dots += std::bitset<8>(byte).count();
    inEveryVersion([&] {
      Bytes bits(wanted.size(), 0xA5);
      packDots(pixels.data(), pixels.size(), bits.data());
      ASSERT_EQ(wanted, bits);
      ASSERT_EQ(dots, countDots(pixels.data(), pixels.size()));
    });
  });
}

TEST(Dots, MayBePackedOverTheirOwnPixels) {
  withRowsOfAllSizes([](const Bytes& row) {
    const Bytes wanted = plainlyPacked(row);
    for (const std::size_t before : {0U, 1U, 5U}) {
      inEveryVersion([&] {
        Bytes pixels(before, 0xFF);
        pixels.insert(pixels.end(), row.begin(), row.end());
        packDots(pixels.data() + before, row.size(), pixels.data());
        pixels.resize(wanted.size());
        ASSERT_EQ(wanted, pixels) << "from " << before;
      });
    }
  });
}

}  // namespace kestra
