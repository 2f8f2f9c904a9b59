// Tests the error-diffusion kernels and their loop over bare rows: where the error of a dot goes,
// and that no byte beside the image is read into it or written.
#include "imaging/paletteimage/error_diffusion.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/unit/plain_dither.h"
#include "tests/unit/test_images.h"

namespace kestra {
namespace {

using Bytes = std::vector<std::uint8_t>;

void expectKernel(std::uint64_t number, const plain::Kernel& wanted) {
  const DiffusionKernel& kernel = diffusionKernel(number);
  EXPECT_EQ(wanted.divisor, kernel.divisor) << number;
  ASSERT_EQ(wanted.taps.size(), kernel.tapCount) << number;
  for (std::size_t i = 0; i < wanted.taps.size(); ++i) {
    EXPECT_EQ(wanted.taps[i].dx, kernel.taps[i].dx) << number << " tap " << i;
    EXPECT_EQ(wanted.taps[i].dy, kernel.taps[i].dy) << number << " tap " << i;
    EXPECT_EQ(wanted.taps[i].weight, kernel.taps[i].weight) << number << " tap " << i;
  }
}

TEST(DiffusionKernels, ServeTheirTapsInTheirOrder) {
  for (std::uint64_t number = 2; number <= 6; ++number) {
    expectKernel(number, plain::kernelOf(static_cast<std::int64_t>(number)));
  }
}

TEST(DiffusionKernels, OfOtherNumbersAreFloydAndSteinbergs) {
  const plain::Kernel floydSteinberg = plain::kernelOf(8);
  for (const std::uint64_t number : {std::uint64_t{8}, std::uint64_t{100}, ~std::uint64_t{0}}) {
    expectKernel(number, floydSteinberg);
  }
}

/// Sums of the weights, added up by hand row by row.
TEST(DiffusionKernels, PassOnTheWholeError) {
  const struct {
    std::uint64_t number;
    int sum, divisor;
  } table[] = {{2, 32, 32},    // 12 + 20
               {3, 42, 42},    // 12 + 20 + 10
               {4, 48, 48},    // 12 + 23 + 13
               {5, 32, 32},    // 8 + 17 + 7
               {6, 200, 200},  // 32 + 84 + 50 + 34
               {8, 16, 16}};   // 7 + 9
  for (const auto& row : table) {
    const DiffusionKernel& kernel = diffusionKernel(row.number);
    int sum = 0;
    for (std::size_t i = 0; i < kernel.tapCount; ++i) sum += kernel.taps[i].weight;
    EXPECT_EQ(row.sum, sum) << row.number;
    EXPECT_EQ(row.divisor, kernel.divisor) << row.number;
  }
}

TEST(DiffuseErrors, WritesBitsFromTheHighestAndLeavesPaddingAlone) {
  // 5 pixels a row, rows 7 and 3 bytes apart; 255 behind the rows must neither print nor change.
  const std::int64_t width = 5;
  const std::int64_t height = 3;
  const Bytes levels = greyPage(5, 3, Fill::Random);
  for (const std::uint64_t number : {2U, 3U, 4U, 5U, 6U, 8U}) {
    Bytes grey;
    for (std::size_t y = 0; y < 3; ++y) {
      for (std::size_t x = 0; x < 5; ++x) grey.push_back(levels[y * 5 + x]);
      grey.insert(grey.end(), 2, 255);
    }
    Bytes bits(9, 0);
    diffuseErrors(diffusionKernel(number), grey.data(), 7, bits.data(), 3, width, height);
    const Bytes wanted = plain::dither(width, height, levels, static_cast<std::int64_t>(number));
    for (std::size_t y = 0; y < 3; ++y) {
      unsigned row = 0;
      for (std::size_t x = 0; x < 5; ++x)
        row |= static_cast<unsigned>(wanted[y * 5 + x]) << (7 - x);
      EXPECT_EQ(row, bits[y * 3]) << "method " << number << " row " << y;
      EXPECT_EQ(0, bits[y * 3 + 1]);
      EXPECT_EQ(0, bits[y * 3 + 2]);
      EXPECT_EQ(255, grey[y * 7 + 5]);
      EXPECT_EQ(255, grey[y * 7 + 6]);
    }
  }
}

TEST(DiffuseErrors, MatchesThePlainVersionInTightBuffers) {
  // Buffers end with the last pixel: a tap beyond the last row or column would leave them.
  for (const std::uint64_t number : {2U, 3U, 4U, 5U, 6U, 8U}) {
    for (const std::uint32_t width : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 836U}) {
      for (const std::uint32_t height : {1U, 2U, 3U, 4U, 5U}) {
        const Bytes levels = greyPage(width, height, Fill::Random);
        Bytes grey = levels;
        const std::size_t stride = (width + 7) / 8;
        Bytes bits(stride * height, 0);
        diffuseErrors(diffusionKernel(number), grey.data(), width, bits.data(), stride, width,
                      height);
        const Bytes wanted =
            plain::dither(width, height, levels, static_cast<std::int64_t>(number));
        for (std::uint32_t y = 0; y < height; ++y) {
          for (std::uint32_t x = 0; x < width; ++x) {
            const int bit = (bits[y * stride + x / 8] >> (7 - x % 8)) & 1;
            ASSERT_EQ(wanted[std::size_t{y} * width + x], bit)
                << "method " << number << ", " << width << "x" << height << " at " << x << "," << y;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace kestra
