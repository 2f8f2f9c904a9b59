// One pass of an eleven-tap Gaussian over a row of pixels, in whole numbers where they decide.
//
// A blurred pixel is a sum of eleven products in double precision, rounded to single precision and
// then to a byte. The byte is nearly always plain from a coarser sum; only where that lies close to
// a half, the sum is formed as the rule is told.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra {

constexpr int kGaussianTaps = 11;
constexpr int kGaussianReach = 5;

/// Weights of a pass: those of the rule, and the same in whole numbers for outermost pair to
/// middle, as (coarse * 2^15 + fine) / 2^32.
struct GaussianWeights {
  double exact[kGaussianTaps];
  bool haveWhole;  ///< whether the whole numbers serve; else the rule is run by all versions
  std::int16_t coarse[kGaussianReach + 1];
  std::int16_t fine[kGaussianReach + 1];
};

/// Whole numbers serve where the kernel is symmetric and each weight below 1/4.
/// @param kernel  11 weights of at least 0 whose sum is at most 1.001
GaussianWeights gaussianWeights(const double* kernel);

/// out[i] = sum of taps[k][i] * weights[k] from k = 0 to 10, rounded to a byte. The rows read may
/// be one row at eleven offsets, or eleven rows; `out` may be none of them.
void blurPixels(const unsigned char* const taps[kGaussianTaps], const GaussianWeights& weights,
                unsigned char* out, std::size_t count);

/// The same for one pixel as the rule is told.
unsigned char blurOnePixel(const unsigned char* const taps[kGaussianTaps],
                           const GaussianWeights& weights, std::size_t at);

/// out[i] = 4 * source[i] - 3 * blurred[i], limited to 0..255: sharpening by 300 per cent. `out`
/// may be `blurred`.
void sharpenPixels(const unsigned char* source, const unsigned char* blurred, unsigned char* out,
                   std::size_t count);

/// Pixels that are decided together; a row of fewer is summed in double precision.
constexpr std::size_t kGaussianChunk = 32;

// The fast versions, see cpu.h, for rows of at least `kGaussianChunk` pixels and weights that have
// whole numbers.
namespace baseline {
decltype(blurPixels) blurPixels;
decltype(sharpenPixels) sharpenPixels;
}  // namespace baseline
namespace avx2 {
decltype(blurPixels) blurPixels;
decltype(sharpenPixels) sharpenPixels;
}  // namespace avx2

}  // namespace kestra
