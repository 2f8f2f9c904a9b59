// Gaussian blur in two passes, in one square pass, and the unsharp mask.
// Why: sharpening decides which thin lines of a stencil survive; its byte after each pass counts.
#pragma once

#include <vector>

#include "tests/plain_stencil/tone.h"

namespace kestra::plain_stencil {

/// 2 * (size / 2) + 1 weights, of which the first `size` sum to 1.
std::vector<double> blurKernel(int size, double sigma);

/// One pass along rows or columns; pixels beyond an edge repeat the edge.
Rows blurPass(const Rows& grey, const std::vector<double>& kernel, int size, bool horizontal);

/// Rows first, then columns.
Rows blur(const Rows& grey, int size, double sigma);

Rows addWeighted(const Rows& grey, const Rows& blurred, float weight);

Rows unsharp(const Rows& grey, float amountPercent, int size);

/// Weights of a square, row by row; sigma1 belongs to the row offset.
std::vector<double> squareKernel(int size, double sigma1, double sigma2);
Rows squareBlur(const Rows& grey, int size, double sigma1, double sigma2);

}  // namespace kestra::plain_stencil
