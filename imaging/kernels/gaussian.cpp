// The rule of the blur and of the sharpening, a pixel at a time, and the weights in whole numbers:
// what every faster version is held against.
#include "imaging/kernels/gaussian.h"

#include <cmath>

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

}  // namespace

bool makeGaussianWeights(const double* kernel, GaussianWeights& weights) {
  double sum = 0.0;
  for (int k = 0; k < kGaussianTaps; ++k) {
    const double weight = kernel[k];
    // Written so that no number fails, too.
    if (!(weight >= 0.0 && weight < 0.25) || weight != kernel[kGaussianTaps - 1 - k]) return false;
    weights.exact[k] = weight;
    sum += weight;
  }
  if (sum > kMostSum) return false;
  for (int k = 0; k <= kGaussianReach; ++k) {
    const double coarse = std::floor(kernel[k] * kCoarseUnit);
    const double rest = kernel[k] * kCoarseUnit - coarse;
    weights.coarse[k] = static_cast<std::int16_t>(coarse);
    weights.fine[k] = static_cast<std::int16_t>(std::floor(rest * kFineUnit));
  }
  return true;
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

std::size_t blurPixels(const unsigned char* const taps[kGaussianTaps],
                       const GaussianWeights& weights, unsigned char* out, std::size_t count) {
  if (count >= kGaussianChunk) {
    switch (kernelLevel()) {
      case KernelLevel::kPlain:
        break;
      case KernelLevel::kBaseline:
        return baseline::blurPixels(taps, weights, out, count);
      case KernelLevel::kAvx2:
#if defined(__x86_64__)
        return avx2::blurPixels(taps, weights, out, count);
#else
        return baseline::blurPixels(taps, weights, out, count);
#endif
    }
  }
  for (std::size_t i = 0; i < count; ++i) out[i] = blurOnePixel(taps, weights, i);
  return count;
}

void sharpenPixels(const unsigned char* source, const unsigned char* blurred, unsigned char* out,
                   std::size_t count) {
  switch (kernelLevel()) {
    case KernelLevel::kPlain:
      break;
    case KernelLevel::kBaseline:
      baseline::sharpenPixels(source, blurred, out, count);
      return;
    case KernelLevel::kAvx2:
#if defined(__x86_64__)
      avx2::sharpenPixels(source, blurred, out, count);
#else
      baseline::sharpenPixels(source, blurred, out, count);
#endif
      return;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const float sourcePart = static_cast<float>(source[i]) * kSourceWeight;
    const float blurPart = static_cast<float>(blurred[i]) * kBlurWeight;
    out[i] = limitedToByte(sourcePart + blurPart);
  }
}

}  // namespace kestra
