// Tests packing, unpacking and counting of dots: worked rows, and every version against the plain
// one over many sizes.
#include "imaging/kernels/dot_rows.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/unit/row_sizes.h"

namespace kestra {
namespace {

using Bytes = std::vector<std::uint8_t>;

class DotRows : public testing::TestWithParam<KernelLevel> {
 protected:
  DotRowKernels kernels = dotRowKernels(GetParam());
  DotRowKernels plain = dotRowKernels(KernelLevel::kPlain);
};

TEST_P(DotRows, PackTheLeftmostPixelIntoTheHighestBit) {
  // 0010 0001 | 1... .... -> 21 80
  const Bytes pixels = {0, 0, 9, 0, 0, 0, 0, 1, 255};
  Bytes bits(2, 0xFF);
  kernels.pack(pixels.data(), pixels.size(), bits.data());
  EXPECT_EQ((Bytes{0x21, 0x80}), bits);
}

TEST_P(DotRows, PackEveryByteButZeroAsADot) {
  Bytes pixels;
  for (int level = 0; level < 256; ++level) pixels.push_back(static_cast<std::uint8_t>(level));
  Bytes wanted(32, 0xFF);
  wanted[0] = 0x7F;  // level 0 alone is none
  Bytes bits(32);
  kernels.pack(pixels.data(), pixels.size(), bits.data());
  EXPECT_EQ(wanted, bits);
}

TEST_P(DotRows, UnpackOneByteForEachBit) {
  const Bytes bits = {0x21, 0x80};
  Bytes pixels(10, 7);
  kernels.unpack(bits.data(), 9, pixels.data());
  EXPECT_EQ((Bytes{0, 0, 1, 0, 0, 0, 0, 1, 1, 7}), pixels);
}

TEST_P(DotRows, CountEveryBit) {
  // 1 + 2 + 8 + 0 + 1 + 4 bits
  const Bytes bits = {0x80, 0x11, 0xFF, 0x00, 0x01, 0x0F};
  EXPECT_EQ(16U, kernels.count(bits.data(), bits.size()));
  EXPECT_EQ(0U, kernels.count(bits.data(), 0));
}

TEST_P(DotRows, AreTheSameAsPlainForEverySize) {
  for (const RowFill fill : kRowFills) {
    for (const std::size_t size : kRowSizes) {
      const Bytes pixels = filledRow(size, fill);
      Bytes bits((size + 7) / 8 + 1, 0xA5);
      Bytes wantedBits = bits;
      kernels.pack(pixels.data(), size, bits.data());
      plain.pack(pixels.data(), size, wantedBits.data());
      ASSERT_EQ(wantedBits, bits) << size;  // and the byte behind is as it was

      Bytes back(size + 1, 0xA5);
      Bytes wantedBack = back;
      kernels.unpack(bits.data(), size, back.data());
      plain.unpack(bits.data(), size, wantedBack.data());
      ASSERT_EQ(wantedBack, back) << size;

      ASSERT_EQ(plain.count(pixels.data(), size), kernels.count(pixels.data(), size)) << size;
    }
  }
}

TEST_P(DotRows, MayBePackedOverTheirOwnPixels) {
  for (const std::size_t size : kRowSizes) {
    for (const std::size_t before : {std::size_t{0}, std::size_t{1}, std::size_t{5}}) {
      Bytes pixels = filledRow(size + before, RowFill::Extremes);
      Bytes wanted((size + 7) / 8);
      plain.pack(pixels.data() + before, size, wanted.data());
      kernels.pack(pixels.data() + before, size, pixels.data());
      pixels.resize(wanted.size());
      ASSERT_EQ(wanted, pixels) << size << " from " << before;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryLevel, DotRows, testing::ValuesIn(kernelLevels()), levelName);

TEST(DotRowLevels, AreVersionsOfTheirOwn) {
  std::vector<DotRowKernels> seen;
  for (const KernelLevel level : kernelLevels()) {
    const DotRowKernels now = dotRowKernels(level);
    for (const DotRowKernels& other : seen) {
      EXPECT_NE(other.pack, now.pack) << kernelLevelName(level);
      EXPECT_NE(other.unpack, now.unpack) << kernelLevelName(level);
      EXPECT_NE(other.count, now.count) << kernelLevelName(level);
    }
    seen.push_back(now);
  }
}

}  // namespace
}  // namespace kestra
