// Gaussian blur in two passes, in one square pass, and the unsharp mask.
// Why: sharpening decides which thin lines of a stencil survive; its byte after each pass counts.
#pragma once

#include <vector>

#include "tests/plain_stencil/tone.h"

namespace kestra::plain_stencil {

// 2 * (size / 2) + 1 weights, of which the first `size` sum to 1.
std::vector<double> Kernel(int size, double sigma);

// One pass along rows or columns; pixels beyond an edge repeat the edge.
Rows BlurPass(const Rows& grey, const std::vector<double>& kernel, int size, bool horizontal);

// Rows first, then columns.
Rows Blur(const Rows& grey, int size, double sigma);

Rows AddWeighted(const Rows& grey, const Rows& blurred, float weight);

Rows Unsharp(const Rows& grey, float amountPercent, int size);

// Weights of a square, row by row; sigma1 belongs to the row offset.
std::vector<double> SquareKernel(int size, double sigma1, double sigma2);
Rows SquareBlur(const Rows& grey, int size, double sigma1, double sigma2);

}  // namespace kestra::plain_stencil
