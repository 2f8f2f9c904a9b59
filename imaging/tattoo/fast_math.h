// The stencil chain's own arithmetic: single-precision approximations that the dots depend on bit
// for bit, on every machine, which no mathematics library promises.
#pragma once

namespace kestra {

/// -x below 0, else x: -0 and NaN come back as they are.
float myabs(float x);

/// Square root by Newton's iteration from x / 2, within a step of 1e-6; deliberately the estimate
/// before the last step. -1 below 0, 0 at 0; NaN and infinity come back as they are.
float my_sqrt(float x);

/// e to the power of x by at most 20 terms of its series: exact to the last bits up to about 5, far
/// too small from 15 on. Below 0 it is 1 / my_exp(-x), divided in double precision.
float my_exp(float x);

/// Natural logarithm by an iteration of its own, within a step of 1e-6; deliberately the estimate
/// before the last step. -1 at 0 and below. Ends after 4096 steps: tiny arguments would take many
/// more (1e-5 takes 36,782), some large ones never settle.
float my_ln(float x);

/// x to the power of y. At x = 0: 1 for y = 0, 0 for y > 0, else -1. Below 0: -1 for a fractional
/// y, and for a whole one deliberately my_exp(-y), as my_ln(x) is -1 there.
float my_pow(float x, float y);

/// Nearest integer, halves away from 0; what is no 32-bit number gives the smallest one.
int my_round(float x);

/// v limited to lo..hi.
template <typename T>
constexpr T myClamp(T v, T lo, T hi) {
  if (v < lo) return lo;
  return v < hi ? v : hi;
}

}  // namespace kestra
