// Tests of the blur in whole numbers: ties and near ties of its rounding, the kernels for which it
// does not serve, the sharpening behind it.
// Why: a blur that is wrong in one pixel of a thousand is four levels wrong there after sharpening.
#include "imaging/kernels/gaussian.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "tests/kernels/versions.h"
#include "tests/plain_stencil/sharpen.h"

namespace kestra {
namespace {

using Bytes = std::vector<unsigned char>;
using Kernel = std::vector<double>;

// 1 1 2 4 5 6 5 4 2 1 1, whose sum is 32: sums are whole 32nds, one pixel in 32 is a tie.
constexpr int kThirtySeconds[] = {1, 1, 2, 4, 5, 6, 5, 4, 2, 1, 1};

Kernel thirtySeconds() {
  Kernel kernel;
  for (const int weight : kThirtySeconds) kernel.push_back(weight / 32.0);
  return kernel;
}

// A quarter in the middle: 2 * (1 + 1 + 2 + 4 + 4) + 8 = 32.
Kernel steepKernel() {
  Kernel kernel = thirtySeconds();
  kernel[4] = kernel[6] = 4.0 / 32;
  kernel[5] = 8.0 / 32;
  return kernel;
}

Kernel stencilKernel() { return plain_stencil::blurKernel(kGaussianTaps, 3.0); }

Bytes randomBytes(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  Bytes bytes(count);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random() & 0xFF);
  return bytes;
}

// Eleven offsets of a row that has ten bytes more than pixels.
std::array<const unsigned char*, kGaussianTaps> along(const Bytes& row) {
  std::array<const unsigned char*, kGaussianTaps> taps = {};
  for (std::size_t k = 0; k < taps.size(); ++k) taps[k] = row.data() + k;
  return taps;
}

Bytes blurred(const Bytes& row, const Kernel& kernel) {
  Bytes out(row.size() - 10);
  blurPixels(along(row).data(), gaussianWeights(kernel.data()), out.data(), out.size());
  return out;
}

// The same by the plain version, which repeats edges: they are cut off again.
Bytes plainBlurred(const Bytes& row, const Kernel& kernel) {
  plain::Rows rows(1, std::vector<int>(row.begin(), row.end()));
  const plain::Rows result = plain_stencil::blurPass(rows, kernel, kGaussianTaps, true);
  Bytes out;
  for (std::size_t i = 5; i + 5 < row.size(); ++i) {
    out.push_back(static_cast<unsigned char>(result[0][i]));
  }
  return out;
}

}  // namespace

TEST(Gaussian, RoundTiesUp) {
  // Whole numbers say it: (sum + 16) / 32 cut.
  const Bytes row = randomBytes(4096 + 10, 1);
  Bytes expected;
  std::size_t ties = 0;
  for (std::size_t i = 0; i < 4096; ++i) {
    int sum = 16;
    for (std::size_t k = 0; k < kGaussianTaps; ++k) sum += row[i + k] * kThirtySeconds[k];
    if (sum % 32 == 0) ++ties;
    expected.push_back(static_cast<unsigned char>(sum / 32));
  }
  ASSERT_GT(ties, 80U);
  inEveryVersion([&] { EXPECT_EQ(blurred(row, thirtySeconds()), expected); });
}

TEST(Gaussian, SumsAHairOffATieEqualThePlainVersion) {
  // The middle weight is off by 2^-n, the sum by up to 255 * 2^-n: for large n single precision
  // makes a tie of it again, for small n it does not, and the byte is another one.
  for (const double side : {-1.0, 1.0}) {
    bool differs = false;
    for (int n = 12; n <= 40; ++n) {
      Kernel kernel = thirtySeconds();
      kernel[5] += side * std::ldexp(1.0, -n);
      const Bytes row = randomBytes(2048 + 10, static_cast<unsigned>(n));
      const Bytes expected = plainBlurred(row, kernel);
      differs = differs || expected != plainBlurred(row, thirtySeconds());
      inEveryVersion([&] { ASSERT_EQ(blurred(row, kernel), expected) << "2^-" << n; });
    }
    EXPECT_TRUE(differs || side > 0);
  }
}

TEST(Gaussian, NearTiesOfTheStencilsOwnKernelEqualThePlainVersion) {
  // Windows whose sum lies within 2^-13 of a half: two million random ones hold about 500.
  const Kernel kernel = stencilKernel();
  std::mt19937 random(99);
  Bytes row;
  int found = 0;
  for (int tries = 0; tries < 2000000; ++tries) {
    std::array<unsigned char, kGaussianTaps> window = {};
    std::uint64_t bits = random();
    bits = (bits << 32U) | random();
    const unsigned rest = static_cast<unsigned>(random());
    double sum = 0.0;
    for (std::size_t k = 0; k < kGaussianTaps; ++k) {
      const std::uint64_t byte = k < 8 ? bits >> (8 * k) : std::uint64_t{rest} >> (8 * (k - 8));
      window[k] = static_cast<unsigned char>(byte & 0xFF);
      sum += window[k] * kernel[k];
    }
    if (std::fabs(sum - std::floor(sum) - 0.5) > std::ldexp(1.0, -13)) continue;
    row.insert(row.end(), window.begin(), window.end());
    ++found;
  }
  ASSERT_GT(found, 300);
  const Bytes expected = plainBlurred(row, kernel);
  inEveryVersion([&] { EXPECT_EQ(blurred(row, kernel), expected); });
}

TEST(Gaussian, EveryLengthOfARowEqualsThePlainVersionAndNothingElseIsWritten) {
  const Kernel kernel = stencilKernel();
  const GaussianWeights weights = gaussianWeights(kernel.data());
  for (std::size_t count = 0; count <= 101; ++count) {
    const Bytes row = randomBytes(count + 10, static_cast<unsigned>(count) + 7);
    inEveryVersion([&] {
      Bytes out(count + 2, 170);
      blurPixels(along(row).data(), weights, out.data() + 1, count);
      EXPECT_EQ(out.front(), 170);
      EXPECT_EQ(out.back(), 170);
      out.erase(out.begin());
      out.pop_back();
      EXPECT_EQ(out, plainBlurred(row, kernel)) << count << ", ";
    });
  }
}

TEST(Gaussian, FlatRowsStayFlat) {
  for (int value = 0; value < 256; ++value) {
    const Bytes row(64 + 10, static_cast<unsigned char>(value));
    inEveryVersion([&] {
      EXPECT_EQ(blurred(row, stencilKernel()), Bytes(64, static_cast<unsigned char>(value)));
    });
  }
}

TEST(Gaussian, WholeWeightsLieLessThanTheirLastPlaceBelowTheRealOnes) {
  for (const Kernel& kernel : {stencilKernel(), thirtySeconds()}) {
    const GaussianWeights weights = gaussianWeights(kernel.data());
    ASSERT_TRUE(weights.haveWhole);
    for (std::size_t k = 0; k <= kGaussianReach; ++k) {
      const double unit = std::ldexp(1.0, -32);
      const double whole = (weights.coarse[k] * 32768.0 + weights.fine[k]) * unit;
      EXPECT_LE(whole, kernel[k]);
      EXPECT_GT(whole + unit, kernel[k]);
    }
  }
}

TEST(Gaussian, HasNoWholeWeightsForWhatTheirNumbersCannotHold) {
  const auto serve = [&](std::size_t k, double weight, bool symmetric = true) {
    Kernel kernel = thirtySeconds();
    kernel[k] = weight;
    if (symmetric) kernel[10 - k] = weight;
    return gaussianWeights(kernel.data()).haveWhole;
  };
  EXPECT_TRUE(serve(0, 1.0 / 32));
  EXPECT_TRUE(serve(0, 0.0));
  EXPECT_FALSE(serve(0, 1.0 / 64, false));
  EXPECT_FALSE(serve(0, -1.0 / 64));
  EXPECT_FALSE(serve(5, 0.25));
  EXPECT_FALSE(serve(0, std::numeric_limits<double>::quiet_NaN()));
  // 2 / 32 more than 1.
  EXPECT_FALSE(serve(0, 2.0 / 32));
}

TEST(Gaussian, HasNoWholeWeightsForAQuarterInAKernelWhoseSumIsOne) {
  // 1/4 is 32768 units of 2^-17, one more than 16 bits hold.
  Kernel kernel = steepKernel();
  EXPECT_FALSE(gaussianWeights(kernel.data()).haveWhole);
  // A hair less, 2^-17, is 32767 units: it fits.
  kernel[5] -= std::ldexp(1.0, -17);
  const GaussianWeights weights = gaussianWeights(kernel.data());
  ASSERT_TRUE(weights.haveWhole);
  EXPECT_EQ(weights.coarse[5], 32767);
}

TEST(Gaussian, WithoutWholeWeightsEqualsThePlainVersion) {
  Kernel skew = thirtySeconds();
  skew[0] = 0.0;
  const Bytes row = randomBytes(200 + 10, 8);
  for (const Kernel& kernel : {skew, steepKernel()}) {
    inEveryVersion([&] { EXPECT_EQ(blurred(row, kernel), plainBlurred(row, kernel)); });
  }
}

TEST(Gaussian, SharpeningIsFourTimesThePixelMinusThreeTimesItsBlurForAllBytes) {
  Bytes own;
  Bytes soft;
  std::vector<int> expected;
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      own.push_back(static_cast<unsigned char>(a));
      soft.push_back(static_cast<unsigned char>(b));
      expected.push_back(std::clamp(4 * a - 3 * b, 0, 255));
    }
  }
  // The rule in single precision says the same.
  const plain::Rows ruled =
      plain_stencil::addWeighted({std::vector<int>(own.begin(), own.end())},
                                 {std::vector<int>(soft.begin(), soft.end())}, 3.0F);
  ASSERT_EQ(ruled[0], expected);
  inEveryVersion([&] {
    Bytes out(own.size());
    sharpenPixels(own.data(), soft.data(), out.data(), own.size());
    EXPECT_EQ(std::vector<int>(out.begin(), out.end()), expected);
    Bytes same = soft;
    sharpenPixels(own.data(), same.data(), same.data(), own.size());
    EXPECT_EQ(std::vector<int>(same.begin(), same.end()), expected) << "in place of the blur";
  });
}

}  // namespace kestra
