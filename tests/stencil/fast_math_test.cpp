// Tests of the stencil chain's arithmetic: worked values, awkward arguments, every bit against the
// plain version.
// Why: the threshold and the tone of a page hang on single bits of these functions.
#include "imaging/tattoo/fast_math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/plain_stencil/maths.h"
#include "tests/stencil/stencil_images.h"

namespace kestra {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kLargest = std::numeric_limits<float>::max();
constexpr float kSmallestNormal = std::numeric_limits<float>::min();
constexpr float kSmallest = std::numeric_limits<float>::denorm_min();
constexpr float kLargestSubnormal = kSmallestNormal - kSmallest;
constexpr int kSmallestInt = std::numeric_limits<int>::min();

// Zeros, infinities, NaN, the ends of the range, and three numbers of each power of two.
std::vector<float> manyNumbers() {
  const float special[] = {0.0F,      kNan,          kInfinity,         kLargest, kSmallestNormal,
                           kSmallest, 2 * kSmallest, kLargestSubnormal, 0.00001F, 2.5F,
                           1e10F,     6.2831855F};
  std::vector<float> numbers(std::begin(special), std::end(special));
  for (std::uint32_t exponent = 0; exponent < 255; ++exponent) {
    for (const std::uint32_t fraction : {0U, 0x2AAAAAU, 0x7FFFFFU}) {
      numbers.push_back(floatOf(exponent * 0x800000U + fraction));
    }
  }
  const std::size_t positive = numbers.size();
  for (std::size_t i = 0; i < positive; ++i) numbers.push_back(-numbers[i]);
  return numbers;
}

}  // namespace

TEST(FastMath, AbsoluteValueLeavesMinusZeroAndNanAlone) {
  EXPECT_EQ(myabs(-2.5F), 2.5F);
  EXPECT_EQ(myabs(2.5F), 2.5F);
  EXPECT_EQ(myabs(-kInfinity), kInfinity);
  EXPECT_EQ(bitsOf(myabs(-0.0F)), 0x80000000U);
  EXPECT_EQ(bitsOf(myabs(0.0F)), 0U);
  EXPECT_TRUE(std::isnan(myabs(kNan)));
}

TEST(FastMath, RootOfFourStopsWithinAMillionthOfTwo) {
  EXPECT_NEAR(my_sqrt(4.0F), 2.0F, 1e-6);
  EXPECT_NEAR(my_sqrt(2.0F), 1.4142136F, 1e-6);
  EXPECT_NEAR(my_sqrt(16.0F), 4.0F, 1e-6);
}

TEST(FastMath, RootOfZeroIsZeroAndBelowItMinusOne) {
  EXPECT_EQ(bitsOf(my_sqrt(0.0F)), 0U);
  EXPECT_EQ(bitsOf(my_sqrt(-0.0F)), 0U);
  EXPECT_EQ(my_sqrt(-1.0F), -1.0F);
  EXPECT_EQ(my_sqrt(-kSmallest), -1.0F);
  EXPECT_EQ(my_sqrt(-kInfinity), -1.0F);
}

TEST(FastMath, RootIsTheEstimateBeforeTheLastStep) {
  // x = 1e-30: x / g counts for nothing, so each step halves: 1, 1/2, 1/4 ... At 2^-18 the next
  // step is 1.9e-6 long and is taken, at 2^-19 it is 0.95e-6 long and ends the search.
  EXPECT_EQ(my_sqrt(1e-30F), std::ldexp(1.0F, -19));
  EXPECT_EQ(my_sqrt(2 * kSmallest), std::ldexp(1.0F, -19));
  // x = 1e-12, from g = 3.906e-6 on: 0.5 * (3.906e-6 + 1e-12 / 3.906e-6) = 2.081e-6, a step of
  // 1.8e-6; next 0.5 * (2.081e-6 + 0.4805e-6) = 1.281e-6, a step of 0.8e-6: 2.081e-6 it is.
  EXPECT_NEAR(my_sqrt(1e-12F), 2.081e-6F, 1e-8);
}

TEST(FastMath, RootEndsForWhatIsNoNumber) {
  EXPECT_TRUE(std::isnan(my_sqrt(kNan)));
  // Infinity: the next estimate is NaN, so the first one stands.
  EXPECT_EQ(my_sqrt(kInfinity), kInfinity);
  // Half of the smallest number is 0: 0, then infinity, then no more steps.
  EXPECT_EQ(my_sqrt(kSmallest), kInfinity);
  EXPECT_NEAR(my_sqrt(kLargest) / 1.8446743e19F, 1.0F, 1e-6);
}

TEST(FastMath, ExponentialOfZeroIsOneAndOfMinusOneAReciprocal) {
  EXPECT_EQ(my_exp(0.0F), 1.0F);
  EXPECT_EQ(my_exp(-0.0F), 1.0F);
  EXPECT_NEAR(my_exp(1.0F), 2.7182818F, 1e-6);
  EXPECT_EQ(bitsOf(my_exp(-1.0F)),
            bitsOf(static_cast<float>(1.0 / static_cast<double>(my_exp(1.0F)))));
}

TEST(FastMath, ExponentialStopsAfterTwentyTerms) {
  // 1 + 30 + 450 + ... + 30^20 / 20! = 3.77e11; e^30 is 1.07e13.
  double sum = 1;
  double term = 1;
  for (int k = 1; k <= 20; ++k) sum += term *= 30.0 / k;
  EXPECT_NEAR(sum, 3.77e11, 0.01e11);
  EXPECT_NEAR(static_cast<double>(my_exp(30.0F)) / sum, 1.0, 1e-5);
}

TEST(FastMath, ExponentialComparesItsTermsInDoublePrecision) {
  // The eighth term, 0.66940671^8 / 8!, comes out as the float nearest 1e-6, which is
  // 0.999999997e-6: below 1e-6 as a double, so it is the last one. The ninth, 7.4e-8, is more than
  // half a last place of 1.953078 and would make it 1.95307803.
  EXPECT_EQ(my_exp(floatOf(0x3F2B5E3DU)), 1.95307791F);
}

TEST(FastMath, ExponentialOfInfinityAndNan) {
  EXPECT_EQ(my_exp(kInfinity), kInfinity);
  EXPECT_EQ(bitsOf(my_exp(-kInfinity)), 0U);
  EXPECT_EQ(my_exp(kLargest), kInfinity);
  EXPECT_TRUE(std::isnan(my_exp(kNan)));
}

TEST(FastMath, LogarithmOfOneIsZeroAndFromZeroDownMinusOne) {
  EXPECT_EQ(bitsOf(my_ln(1.0F)), 0U);
  EXPECT_EQ(my_ln(0.0F), -1.0F);
  EXPECT_EQ(my_ln(-0.0F), -1.0F);
  EXPECT_EQ(my_ln(-2.0F), -1.0F);
  EXPECT_EQ(my_ln(-kInfinity), -1.0F);
  EXPECT_NEAR(my_ln(2.0F), 0.6931472F, 2e-6);
  EXPECT_NEAR(my_ln(0.25F), -1.3862944F, 2e-6);
  EXPECT_NEAR(my_ln(1.0F / 256.0F), -5.5451774F, 2e-5);
}

TEST(FastMath, LogarithmEndsForWhatIsNoNumberAndForTinyOnes) {
  EXPECT_TRUE(std::isnan(my_ln(kNan)));
  EXPECT_TRUE(std::isnan(my_ln(kInfinity)));  // (x - 1) / (1 + x) already is NaN
  // From -1 the first step is -0.3679 / x: beyond all floats for subnormal x.
  EXPECT_EQ(my_ln(kSmallest), -kInfinity);
  EXPECT_EQ(my_ln(1e-40F), -kInfinity);
  // For the smallest normal x it is -3.1295723e37, to which a step of + 1 adds nothing.
  EXPECT_NEAR(my_ln(kSmallestNormal) / -3.1295723e37F, 1.0F, 1e-6);
  // 1e-5: -36788.9 after the first step, then + 1 a step while the exponential there is 0; the
  // limit of 4096 estimates ends it: -1, -36788.9 and 4095 steps more.
  EXPECT_NEAR(my_ln(0.00001F), -36788.9F + 4095.0F, 2.0F);
}

TEST(FastMath, LogarithmThatNeverSettlesEndsAtTheLimit) {
  // Beyond 16 floats lie 1.9e-6 apart: a step is 0 or too long, and the estimate may go to and fro.
  int most = 0;
  for (float x = 8e6F; x < 1e10F; x *= 1.001F) {
    int steps = 0;
    const float expected = plain_stencil::ln(x, &steps);
    EXPECT_EQ(bitsOf(my_ln(x)), bitsOf(expected)) << x;
    most = std::max(most, steps);
  }
  EXPECT_EQ(most, plain_stencil::kMaxSteps) << "none of the arguments went to and fro";
}

TEST(FastMath, PowerOfZero) {
  EXPECT_EQ(my_pow(0.0F, 0.0F), 1.0F);
  EXPECT_EQ(my_pow(0.0F, 2.0F), 0.0F);
  EXPECT_EQ(my_pow(0.0F, -1.0F), -1.0F);
  EXPECT_EQ(my_pow(-0.0F, 0.5F), 0.0F);
  EXPECT_EQ(my_pow(0.0F, kNan), -1.0F);
}

TEST(FastMath, PowerOfANegativeNumberTakesTheLogarithmMinusOne) {
  EXPECT_EQ(my_pow(-2.0F, 0.5F), -1.0F);
  EXPECT_EQ(bitsOf(my_pow(-2.0F, 2.0F)), bitsOf(my_exp(-2.0F)));
  EXPECT_EQ(bitsOf(my_pow(-7.0F, -3.0F)), bitsOf(my_exp(3.0F)));
  EXPECT_EQ(bitsOf(my_pow(-2.0F, 0.0F)), bitsOf(1.0F));
  EXPECT_EQ(my_pow(-2.0F, kNan), -1.0F);
  EXPECT_EQ(my_pow(-2.0F, kInfinity), -1.0F);
  // A whole number beyond 32 bits is cut to the smallest one, which it is not.
  EXPECT_EQ(my_pow(-2.0F, 4e9F), -1.0F);
  // The smallest one itself is whole: e^2147483648 has no number.
  EXPECT_EQ(my_pow(-2.0F, -2147483648.0F), kInfinity);
}

TEST(FastMath, PowersOfOrdinaryNumbers) {
  EXPECT_EQ(my_pow(1.0F, 0.7F), 1.0F);
  EXPECT_NEAR(my_pow(0.25F, 0.5F), 0.5F, 2e-6);
  EXPECT_NEAR(my_pow(0.5F, 1.5F), 0.35355339F, 2e-6);
  EXPECT_TRUE(std::isnan(my_pow(kNan, 0.5F)));
}

TEST(FastMath, RoundsHalvesAwayFromZero) {
  EXPECT_EQ(my_round(0.5F), 1);
  EXPECT_EQ(my_round(-0.5F), -1);
  EXPECT_EQ(my_round(-0.4F), 0);
  EXPECT_EQ(my_round(2.5F), 3);
  EXPECT_EQ(my_round(-2.5F), -3);
  EXPECT_EQ(my_round(-0.0F), 0);
  EXPECT_EQ(my_round(254.49998F), 254);
}

TEST(FastMath, RoundingAddsTheHalfInSinglePrecision) {
  // 0.49999997 + 0.5 = 0.99999997 lies halfway between two floats; the even one is 1.
  EXPECT_EQ(my_round(0.49999997F), 1);
  EXPECT_EQ(my_round(-0.49999997F), -1);
  // 8388609 + 0.5 lies halfway between 8388609 and 8388610.
  EXPECT_EQ(my_round(8388609.0F), 8388610);
}

TEST(FastMath, RoundingOfWhatDoesNotFitGivesTheSmallestNumber) {
  EXPECT_EQ(my_round(kNan), kSmallestInt);
  EXPECT_EQ(my_round(kInfinity), kSmallestInt);
  EXPECT_EQ(my_round(-kInfinity), kSmallestInt);
  EXPECT_EQ(my_round(2147483648.0F), kSmallestInt);
  EXPECT_EQ(my_round(-3e9F), kSmallestInt);
  EXPECT_EQ(my_round(2147483520.0F), 2147483520);
}

TEST(FastMath, ClampsToBothEnds) {
  EXPECT_EQ(myClamp(300, 0, 255), 255);
  EXPECT_EQ(myClamp(-4, 0, 255), 0);
  EXPECT_EQ(myClamp(255, 0, 255), 255);
  EXPECT_EQ(myClamp(17, 0, 255), 17);
  // Crossed limits: the lower one is asked first, then the upper one.
  EXPECT_EQ(myClamp(5, 10, 0), 10);
  EXPECT_EQ(myClamp(15, 10, 0), 0);
}

TEST(FastMath, EveryBitEqualsThePlainVersion) {
  for (const float x : manyNumbers()) {
    int steps = 0;
    EXPECT_EQ(bitsOf(myabs(x)), bitsOf(plain_stencil::abs(x))) << x;
    EXPECT_EQ(bitsOf(my_exp(x)), bitsOf(plain_stencil::exp(x))) << x;
    EXPECT_EQ(my_round(x), plain_stencil::round(x)) << x;
    EXPECT_EQ(bitsOf(my_sqrt(x)), bitsOf(plain_stencil::sqrt(x, &steps))) << x;
    EXPECT_LE(steps, plain_stencil::kMaxSteps);
    EXPECT_EQ(bitsOf(my_ln(x)), bitsOf(plain_stencil::ln(x, &steps))) << x;
    EXPECT_LE(steps, plain_stencil::kMaxSteps);
  }
}

TEST(FastMath, PowersEndForEveryPairOfAwkwardNumbers) {
  const float numbers[] = {0.0F,  -0.0F,    1.0F,      -1.0F,     0.5F,       -0.5F,
                           2.0F,  -2.0F,    kNan,      kInfinity, -kInfinity, 1e-5F,
                           1e10F, kLargest, -kLargest, kSmallest, -kSmallest, kSmallestNormal};
  for (const float x : numbers) {
    for (const float y : numbers) {
      EXPECT_EQ(bitsOf(my_pow(x, y)), bitsOf(plain_stencil::pow(x, y))) << x << " ^ " << y;
    }
  }
}

TEST(FastMath, EveryEntryOfEveryGammaTableEndsWithin95Steps) {
  const float exponents[][2] = {{0.85F, 0.7F}, {0.5F, 1.5F}};
  int most = 0;
  for (int knee = -1; knee <= 255; ++knee) {
    for (const auto& pair : exponents) {
      for (int k = 0; k < 256; ++k) {
        const bool lower = k < knee;
        const float base = lower ? static_cast<float>(k) / static_cast<float>(knee)
                                 : (static_cast<float>(k) - static_cast<float>(knee)) /
                                       static_cast<float>(255 - knee);
        const float exponent = lower ? pair[0] : pair[1];
        int steps = 0;
        const float expected = plain_stencil::pow(base, exponent, &steps);
        most = std::max(most, steps);
        ASSERT_EQ(bitsOf(my_pow(base, exponent)), bitsOf(expected)) << knee << ", level " << k;
      }
    }
  }
  EXPECT_LE(most, 95);
  EXPECT_GE(most, 50) << "the sweep missed the small bases";
}

}  // namespace kestra
