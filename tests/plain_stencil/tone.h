// Grey levels, the moment-preserving threshold and the two-curve tone table of a stencil page.
// Why: threshold and table decide what of a drawing prints at all.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/plain/page.h"

namespace kestra::plain_stencil {

using plain::Rows;

/// Grey rows of an image of any colour type. colour: 0 grey (1 byte a pixel), 1 blue green red, 2
/// red green blue (3 bytes), 3 like 1 and any other like 2 with a fourth byte.
Rows grey(const std::vector<std::uint8_t>& bytes, int width, int height, int colour);

/// Everything that the threshold goes through, for tests that look inside.
struct Moments {
  float m1 = 0;
  float m2 = 0;
  float m3 = 0;
  float discriminant = 0;
  float fraction = 0;  ///< share of the pixels that are to lie below
  int threshold = 0;   ///< 0..255, 128 without a real solution, -1 where no level qualifies
};
Moments thresholdOf(const Rows& grey);

/// table[level], each 0..255.
std::vector<int> gammaTable(int knee, float lowExponent, float highExponent);
Rows applyTable(const Rows& grey, const std::vector<int>& table);

}  // namespace kestra::plain_stencil
