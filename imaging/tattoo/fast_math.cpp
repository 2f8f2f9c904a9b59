// Iterations and series of the stencil chain, each operation rounded to single precision in the
// order written.
#include "imaging/tattoo/fast_math.h"

#include "filter/base/number.h"

namespace kestra {
namespace {

constexpr float kSmallestStep = 0.000001F;

// Enough for every tone table (95 at most); arguments that never settle end here.
constexpr int kMostSteps = 4096;

constexpr int kSeriesTerms = 20;
constexpr double kSmallestTerm = 1e-6;

// False for NaN as well: an estimate that is no number gets no better.
bool isWorthAnotherStep(float next, float estimate) {
  return myabs(next - estimate) >= kSmallestStep;
}

}  // namespace

float myabs(float x) { return 0.0F > x ? -x : x; }

float my_sqrt(float x) {
  if (0.0F > x) return -1.0F;
  if (x == 0.0F) return 0.0F;
  float estimate = x / 2.0F;
  for (int step = 0; step < kMostSteps; ++step) {
    const float next = 0.5F * (estimate + x / estimate);
    if (!isWorthAnotherStep(next, estimate)) break;
    estimate = next;
  }
  return estimate;
}

float my_exp(float x) {
  if (0.0F > x) return static_cast<float>(1.0 / static_cast<double>(my_exp(-x)));
  float sum = 1.0F;
  float term = 1.0F;
  for (int k = 1; k <= kSeriesTerms; ++k) {
    const float factor = x / static_cast<float>(k);
    term = factor * term;
    sum = sum + term;
    if (static_cast<double>(term) < kSmallestTerm) break;
  }
  return sum;
}

float my_ln(float x) {
  if (0.0F >= x) return -1.0F;
  float estimate = (x - 1.0F) / (1.0F + x);
  for (int step = 0; step < kMostSteps; ++step) {
    const float next = estimate - (my_exp(estimate) - x) / x;
    if (!isWorthAnotherStep(next, estimate)) break;
    estimate = next;
  }
  return estimate;
}

float my_pow(float x, float y) {
  if (x == 0.0F) {
    if (y == 0.0F) return 1.0F;
    return y > 0.0F ? 0.0F : -1.0F;
  }
  if (x < 0.0F) {
    const auto whole = static_cast<float>(truncateToInt32(static_cast<double>(y)));
    if (y - whole != 0.0F) return -1.0F;
  }
  return my_exp(y * my_ln(x));
}

int my_round(float x) {
  const float shifted = static_cast<double>(x) >= 0.0 ? x + 0.5F : x - 0.5F;
  return truncateToInt32(static_cast<double>(shifted));
}

}  // namespace kestra
