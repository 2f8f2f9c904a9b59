// The arithmetic of the stencil halftones, one rounding per line.
// Why: whoever doubts a bit can follow it with a pocket calculator and a table of floats.
#include "tests/plain_stencil/maths.h"

#include "tests/plain/page.h"

namespace kestra::plain_stencil {

namespace {

void count(int* steps, int value) {
  if (steps != nullptr) *steps = value;
}

}  // namespace

float abs(float x) { return 0.0F > x ? -x : x; }

float sqrt(float x, int* steps) {
  count(steps, 0);
  if (0.0F > x) return -1.0F;
  if (x == 0.0F) return 0.0F;
  float estimate = x / 2.0F;
  for (int step = 1; step <= kMaxSteps; ++step) {
    count(steps, step);
    const float quotient = x / estimate;
    const float sum = estimate + quotient;
    const float next = 0.5F * sum;
    const float difference = next - estimate;
    const bool goOn = abs(difference) >= kSmallestStep;  // false for NaN
    if (!goOn) return estimate;
    estimate = next;
  }
  return estimate;
}

float exp(float x) {
  if (0.0F > x) {
    const double positive = static_cast<double>(exp(-x));
    return static_cast<float>(1.0 / positive);
  }
  float sum = 1.0F;
  float term = 1.0F;
  for (int k = 1; k <= 20; ++k) {
    const float factor = x / static_cast<float>(k);
    term = factor * term;
    sum = sum + term;
    if (static_cast<double>(term) < 0.000001) break;
  }
  return sum;
}

float ln(float x, int* steps) {
  count(steps, 0);
  if (0.0F >= x) return -1.0F;
  const float below = x - 1.0F;
  const float above = 1.0F + x;
  float estimate = below / above;
  for (int step = 1; step <= kMaxSteps; ++step) {
    count(steps, step);
    const float surplus = exp(estimate) - x;
    const float correction = surplus / x;
    const float next = estimate - correction;
    const float difference = next - estimate;
    const bool goOn = abs(difference) >= kSmallestStep;
    if (!goOn) return estimate;
    estimate = next;
  }
  return estimate;
}

float pow(float x, float y, int* steps) {
  count(steps, 0);
  if (x == 0.0F) {
    if (y == 0.0F) return 1.0F;
    if (y > 0.0F) return 0.0F;
    return -1.0F;
  }
  if (x < 0.0F) {
    const int whole = plain::toInt32(static_cast<double>(y));
    const float rest = y - static_cast<float>(whole);
    const bool isWhole = rest == 0.0F;
    if (!isWhole) return -1.0F;
  }
  const float logarithm = ln(x, steps);
  const float exponent = y * logarithm;
  return exp(exponent);
}

int round(float x) {
  float shifted = 0.0F;
  if (static_cast<double>(x) >= 0.0) {
    shifted = x + 0.5F;
  } else {
    shifted = x - 0.5F;
  }
  return plain::toInt32(static_cast<double>(shifted));
}

int limit(int value, int low, int high) {
  if (value < low) return low;
  if (value < high) return value;
  return high;
}

int lowByte(int value) { return static_cast<int>(static_cast<unsigned>(value) % 256U); }

}  // namespace kestra::plain_stencil
