// Tests threshold and matrix dithering of rows: worked rows, every level against every threshold,
// and every version against a plain one over many sizes.
#include "imaging/kernels/matrix.h"

#include <gtest/gtest.h>

#include <numeric>

#include "tests/kernels/rows_of_all_sizes.h"
#include "tests/kernels/versions.h"

namespace kestra {
namespace {

Bytes dithered(const Bytes& levels, const RowThresholds& thresholds) {
  Bytes dots(levels.size());
  ditherRow(levels.data(), levels.size(), thresholds.data(), dots.data());
  return dots;
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

}  // namespace kestra
