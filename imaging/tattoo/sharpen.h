// Gaussian blur and unsharp mask: edges of a stencil are pulled apart before it is diffused. All
// images are read as one byte per pixel; pixels beyond an edge are those of the edge.
#pragma once

#include "imaging/tattoo/qm_image.h"

namespace kestra {

/// Standard deviation of the unsharp mask's blur, in pixels.
constexpr double kUnsharpSigma = 3.0;

/// Fills 2 * (size / 2) + 1 weights of a Gaussian whose first `size` sum to 1.
/// @param size   an odd number of taps
/// @param sigma  standard deviation in pixels
void generateGaussianKernel1D(int size, double sigma, double* kernel);

/// One pass along rows or columns. Each pixel's products are added in double precision from the
/// first tap to the last, then rounded to a byte.
/// @param kernel  2 * (size / 2) + 1 weights
QMImage convolve1D(const QMImage& src, const double* kernel, int size, bool horizontal);

/// Blurs along rows, rounds to bytes, then blurs along columns.
QMImage enh_gaussian_filter_fast(const QMImage& src, int size, double sigma);

/// src * (1 + weight) - blurred * weight, rounded and limited to 0..255.
/// @param blurred  of the same size
QMImage add_Weighted(const QMImage& src, const QMImage& blurred, float weight);

/// Sharpens by `amount` per cent of the difference to a Gaussian blur of `size` taps and a sigma of
/// 3 pixels: at 300 per cent 4 * src - 3 * blur.
QMImage enh_unsharp_mask(const QMImage& src, float amount, int size);

/// Fills a square Gaussian of (2 * (size / 2) + 1)^2 weights, row by row, that sum to 1.
/// @param size    an odd number of taps
/// @param sigma1  downward
/// @param sigma2  to the right
void generateGaussianKernel(int size, double sigma1, double sigma2, double* kernel);

/// Blurs by a square kernel in one pass.
QMImage enh_gaussian_filter(const QMImage& src, int size, double sigma1, double sigma2);

}  // namespace kestra
