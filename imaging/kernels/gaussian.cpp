// The rule of the blur and of the sharpening, a pixel at a time, the choice of a faster version,
// and the weights in whole numbers with which that one works.
#include "imaging/kernels/gaussian.h"

#include <cmath>

#include "imaging/kernels/cpu.h"

namespace kestra {
namespace {

// Of the coarse and the fine part of a weight.
constexpr double kCoarseUnit = 131072.0;
constexpr double kFineUnit = 32768.0;
constexpr double kMostSum = 1.001;

constexpr float kSourceWeight = 4.0F;
constexpr float kBlurWeight = -3.0F;

unsigned char limitedToByte(float level) {
  if (level < 0.0F) return 0;
  if (level >= 255.0F) return 255;
  const float shifted = level + 0.5F;
  return static_cast<unsigned char>(shifted);
}

void blurPlain(const unsigned char* const taps[kGaussianTaps], const GaussianWeights& weights,
               unsigned char* out, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out[i] = blurOnePixel(taps, weights, i);
}

void sharpenPlain(const unsigned char* source, const unsigned char* blurred, unsigned char* out,
                  std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const float sourcePart = static_cast<float>(source[i]) * kSourceWeight;
    const float blurPart = static_cast<float>(blurred[i]) * kBlurWeight;
    out[i] = limitedToByte(sourcePart + blurPart);
  }
}

bool wholeNumbersServe(const double* kernel) {
  double sum = 0.0;
  for (int k = 0; k < kGaussianTaps; ++k) {
    const double weight = kernel[k];
    // Written so that no number fails, too.
    if (!(weight >= 0.0 && weight < 0.25) || weight != kernel[kGaussianTaps - 1 - k]) return false;
    sum += weight;
  }
  return sum <= kMostSum;
}

}  // namespace

GaussianWeights gaussianWeights(const double* kernel) {
  GaussianWeights weights = {};
  for (int k = 0; k < kGaussianTaps; ++k) weights.exact[k] = kernel[k];
  weights.haveWhole = wholeNumbersServe(kernel);
  if (!weights.haveWhole) return weights;
  for (int k = 0; k <= kGaussianReach; ++k) {
    const double coarse = std::floor(kernel[k] * kCoarseUnit);
    const double rest = kernel[k] * kCoarseUnit - coarse;
    weights.coarse[k] = static_cast<std::int16_t>(coarse);
    weights.fine[k] = static_cast<std::int16_t>(std::floor(rest * kFineUnit));
  }
  return weights;
}

unsigned char blurOnePixel(const unsigned char* const taps[kGaussianTaps],
                           const GaussianWeights& weights, std::size_t at) {
  double sum = 0.0;
  for (int k = 0; k < kGaussianTaps; ++k) {
    const double product = static_cast<double>(taps[k][at]) * weights.exact[k];
    sum += product;
  }
  // The sum is 0 to 255.3: halves go up.
  const float shifted = static_cast<float>(sum) + 0.5F;
  return static_cast<unsigned char>(shifted);
}

void blurPixels(const unsigned char* const taps[kGaussianTaps], const GaussianWeights& weights,
                unsigned char* out, std::size_t count) {
  if (count < kGaussianChunk || !weights.haveWhole) {
    blurPlain(taps, weights, out, count);
  } else {
    choose<blurPlain, baseline::blurPixels, avx2::blurPixels>()(taps, weights, out, count);
  }
}

void sharpenPixels(const unsigned char* source, const unsigned char* blurred, unsigned char* out,
                   std::size_t count) {
  choose<sharpenPlain, baseline::sharpenPixels, avx2::sharpenPixels>()(source, blurred, out, count);
}

}  // namespace kestra
