// Tests the kernels, the shares that need no division, and the order in which a pixel pulls them.
// Why: one share that is off by one, or two that change places, and a page prints other dots.
#include <gtest/gtest.h>

#include <cstdlib>

#include "imaging/kernels/diffusion_plan.h"

namespace kestra {
namespace {

TEST(DiffusionShares, AreTheDivisionsOfAllErrorsByAllKernels) {
  for (const DiffusionKernel& kernel : kDiffusionKernels) {
    for (std::size_t t = 0; t < kernel.tapCount; ++t) {
      const int weight = kernel.taps[t].weight;
      const unsigned multiplier = shareMultiplier(weight, kernel.divisor);
      ASSERT_LE(multiplier, 0x7FFFU) << "does not fit a 16-bit lane with a sign";
      // A black dot's error is 0..128, a white one's -126..0: division cuts toward zero on both
      // sides, so the size alone decides.
      for (int error = -126; error <= 128; ++error) {
        const int size = std::abs(error);
        const int part = static_cast<int>(shareOf(static_cast<unsigned>(size), multiplier));
        ASSERT_EQ(error * weight / kernel.divisor, error < 0 ? -part : part)
            << error << " * " << weight << " / " << kernel.divisor;
      }
    }
  }
}

TEST(DiffusionShares, FitASignedByte) {
  // The largest share: 128 * 7 / 16 = 56.
  for (const DiffusionKernel& kernel : kDiffusionKernels) {
    for (std::size_t t = 0; t < kernel.tapCount; ++t) {
      EXPECT_LE(128 * kernel.taps[t].weight / kernel.divisor, 127);
    }
  }
}

TEST(DiffusionKernels, PassOnTheWholeError) {
  // Sums of the weights, added up by hand row by row.
  const struct {
    DiffusionMethod method;
    int sum;
  } table[] = {{DiffusionMethod::kBurkes, 32},             // 12 + 20
               {DiffusionMethod::kStucki, 42},             // 12 + 20 + 10
               {DiffusionMethod::kJarvisJudiceNinke, 48},  // 12 + 23 + 13
               {DiffusionMethod::kSierra, 32},             // 8 + 17 + 7
               {DiffusionMethod::kStevensonArce, 200},     // 32 + 84 + 50 + 34
               {DiffusionMethod::kFloydSteinberg, 16}};    // 7 + 9
  for (const auto& row : table) {
    const DiffusionKernel& kernel = kDiffusionKernels[static_cast<std::size_t>(row.method)];
    int sum = 0;
    for (std::size_t t = 0; t < kernel.tapCount; ++t) sum += kernel.taps[t].weight;
    EXPECT_EQ(row.method, kernel.method);
    EXPECT_EQ(row.sum, sum);
    EXPECT_EQ(row.sum, kernel.divisor);
  }
}

TEST(DiffusionPlans, PullFromTheSourcesInTheOrderInWhichTheyArePrinted) {
  for (const DiffusionKernel& kernel : kDiffusionKernels) {
    const DiffusionPlan plan = planOf(kernel);
    ASSERT_EQ(kernel.tapCount, plan.pullCount);
    for (std::size_t i = 1; i < plan.pullCount; ++i) {
      const DiffusionPull& before = plan.pulls[i - 1];
      const DiffusionPull& pull = plan.pulls[i];
      // A source higher up is printed earlier; in one row, one further to the left.
      EXPECT_TRUE(before.rows > pull.rows ||
                  (before.rows == pull.rows && before.columns > pull.columns));
      EXPECT_EQ(pull.rows > 0, i < plan.upperPulls);
    }
  }
}

TEST(DiffusionPlans, PullWhatTheTapsGive) {
  for (const DiffusionKernel& kernel : kDiffusionKernels) {
    const DiffusionPlan plan = planOf(kernel);
    for (std::size_t t = 0; t < kernel.tapCount; ++t) {
      const DiffusionTap& tap = kernel.taps[t];
      int found = 0;
      for (std::size_t i = 0; i < plan.pullCount; ++i) {
        const DiffusionPull& pull = plan.pulls[i];
        if (pull.columns != tap.dx || pull.rows != tap.dy) continue;
        ++found;
        EXPECT_EQ(shareMultiplier(tap.weight, kernel.divisor), plan.multipliers[pull.share]);
      }
      EXPECT_EQ(1, found);
    }
  }
}

TEST(DiffusionPlans, OfFloydAndSteinbergReadAsWorkedByHand) {
  //     X   7        a pixel's givers:   1  5  3
  //  3  5   1                            7  X
  const DiffusionPlan plan =
      planOf(kDiffusionKernels[static_cast<std::size_t>(DiffusionMethod::kFloydSteinberg)]);
  const struct {
    int columns, rows, weight;
  } wanted[] = {{1, 1, 1}, {0, 1, 5}, {-1, 1, 3}, {1, 0, 7}};
  ASSERT_EQ(4U, plan.pullCount);
  EXPECT_EQ(3U, plan.upperPulls);
  EXPECT_EQ(4U, plan.shareCount);
  EXPECT_EQ(1, plan.reach);
  EXPECT_EQ(1, plan.rows);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(wanted[i].columns, plan.pulls[i].columns) << i;
    EXPECT_EQ(wanted[i].rows, plan.pulls[i].rows) << i;
    // 4096 = 65536 / 16
    EXPECT_EQ(4096U * static_cast<unsigned>(wanted[i].weight) + 1,
              plan.multipliers[plan.pulls[i].share])
        << i;
  }
}

}  // namespace
}  // namespace kestra
