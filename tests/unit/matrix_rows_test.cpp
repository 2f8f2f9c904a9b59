// Tests threshold and matrix dithering of rows: worked rows, every level against every threshold,
// and every version against the plain one over many sizes.
#include "imaging/kernels/matrix_rows.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/unit/row_sizes.h"

namespace kestra {
namespace {

using Bytes = std::vector<std::uint8_t>;

class MatrixRows : public testing::TestWithParam<KernelLevel> {
 protected:
  MatrixRowKernels kernels = matrixRowKernels(GetParam());
  MatrixRowKernels plain = matrixRowKernels(KernelLevel::kPlain);
};

TEST_P(MatrixRows, CompareEachPixelWithTheThresholdOfItsColumn) {
  // Thresholds 10 20 30 255, then again from column 4 on: 10 is white, 19 not, 30 is, 254 not;
  // 9 is not, 20 is.
  const RowThresholds thresholds = {10, 20, 30, 255};
  const Bytes levels = {10, 19, 30, 254, 9, 20};
  Bytes dots(7, 9);
  kernels.toBytes(levels.data(), levels.size(), thresholds.data(), dots.data());
  EXPECT_EQ((Bytes{1, 0, 1, 0, 0, 1, 9}), dots);
  Bytes bits(2, 0xFF);
  kernels.toBits(levels.data(), levels.size(), thresholds.data(), bits.data());
  EXPECT_EQ((Bytes{0xA4, 0xFF}), bits);  // 1010 01..
}

TEST_P(MatrixRows, CutEveryLevelAtEveryThreshold) {
  Bytes levels(256);
  for (std::size_t level = 0; level < levels.size(); ++level) {
    levels[level] = static_cast<std::uint8_t>(level);
  }
  for (unsigned threshold = 1; threshold < 256; ++threshold) {
    const auto byte = static_cast<std::uint8_t>(threshold);
    const RowThresholds thresholds = {byte, byte, byte, byte};
    Bytes dots(256);
    kernels.toBytes(levels.data(), levels.size(), thresholds.data(), dots.data());
    Bytes wanted(threshold, 0);
    wanted.resize(256, 1);
    ASSERT_EQ(wanted, dots) << threshold;
  }
}

TEST_P(MatrixRows, AreTheSameAsPlainForEverySize) {
  const RowThresholds sets[] = {{129, 129, 129, 129}, {16, 144, 48, 176}, {1, 193, 49, 241}};
  for (const RowThresholds& thresholds : sets) {
    for (const RowFill fill : kRowFills) {
      for (const std::size_t size : kRowSizes) {
        const Bytes levels = filledRow(size, fill);
        Bytes bits((size + 7) / 8 + 1, 0xA5);
        Bytes wantedBits = bits;
        kernels.toBits(levels.data(), size, thresholds.data(), bits.data());
        plain.toBits(levels.data(), size, thresholds.data(), wantedBits.data());
        ASSERT_EQ(wantedBits, bits) << size;

        Bytes dots = levels;  // in place
        Bytes wantedDots(size);
        kernels.toBytes(dots.data(), size, thresholds.data(), dots.data());
        plain.toBytes(levels.data(), size, thresholds.data(), wantedDots.data());
        ASSERT_EQ(wantedDots, dots) << size;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryLevel, MatrixRows, testing::ValuesIn(kernelLevels()), levelName);

TEST(MatrixRowLevels, AreVersionsOfTheirOwn) {
  std::vector<MatrixRowKernels> seen;
  for (const KernelLevel level : kernelLevels()) {
    const MatrixRowKernels now = matrixRowKernels(level);
    for (const MatrixRowKernels& other : seen) {
      EXPECT_NE(other.toBits, now.toBits) << kernelLevelName(level);
      EXPECT_NE(other.toBytes, now.toBytes) << kernelLevelName(level);
    }
    seen.push_back(now);
  }
}

}  // namespace
}  // namespace kestra
