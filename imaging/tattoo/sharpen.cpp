// The Gaussian family in double precision with single-precision exponentials, each sum in the order
// of its taps.
#include "imaging/tattoo/sharpen.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "imaging/kernels/gaussian.h"
#include "imaging/tattoo/fast_math.h"
#include "imaging/tattoo/unsharp_rows.h"

namespace kestra {
namespace {

constexpr float kTwoPiSingle = 6.2831855F;
constexpr double kTwoPi = 6.283185307179586;

// 300 per cent, for which sharpening has a kernel of its own.
constexpr float kStencilWeight = 3.0F;

std::size_t taps(int size) { return static_cast<std::size_t>(size / 2) * 2 + 1; }

std::size_t indexOf(const QMImage& image, int x, int y) {
  return static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) +
         static_cast<std::size_t>(x);
}

int roundToInt(double sum) { return my_round(static_cast<float>(sum)); }

void blurAlongRows(const QMImage& src, const GaussianWeights& weights, QMImage& out) {
  const auto count = static_cast<std::size_t>(src.width);
  std::vector<unsigned char> padded(count + 2 * std::size_t{kGaussianReach});
  unsigned char* row = padded.data() + kGaussianReach;
  const unsigned char* along[kGaussianTaps];
  tapsAlong(row, along);
  for (int y = 0; y < src.height; ++y) {
    std::memcpy(row, src.data + indexOf(src, 0, y), count);
    repeatEdges(row, src.width);
    blurPixels(along, weights, out.data + indexOf(out, 0, y), count);
  }
}

void blurAlongColumns(const QMImage& src, const GaussianWeights& weights, QMImage& out) {
  for (int y = 0; y < src.height; ++y) {
    const unsigned char* down[kGaussianTaps];
    for (int k = 0; k < kGaussianTaps; ++k) {
      down[k] = src.data + indexOf(src, 0, std::clamp(y + k - kGaussianReach, 0, src.height - 1));
    }
    blurPixels(down, weights, out.data + indexOf(out, 0, y), static_cast<std::size_t>(src.width));
  }
}

// The eleven taps of a stencil; false for any other kernel, and where the plain version is wanted.
bool blurFast(const QMImage& src, const double* kernel, int size, bool horizontal, QMImage& out) {
  GaussianWeights weights;
  if (kernelLevel() == KernelLevel::kPlain || size / 2 != kGaussianReach || src.width < 1 ||
      !makeGaussianWeights(kernel, weights)) {
    return false;
  }
  if (horizontal) {
    blurAlongRows(src, weights, out);
  } else {
    blurAlongColumns(src, weights, out);
  }
  return true;
}

}  // namespace

void generateGaussianKernel1D(int size, double sigma, double* kernel) {
  const int half = size / 2;
  const double norm = 1.0 / (static_cast<double>(my_sqrt(kTwoPiSingle)) * sigma);
  for (int i = -half; i <= half; ++i) {
    const double exponent = (-0.5 * static_cast<double>(i * i)) / (sigma * sigma);
    kernel[i + half] = norm * static_cast<double>(my_exp(static_cast<float>(exponent)));
  }
  double sum = 0.0;
  for (int i = 0; i < size; ++i) sum += kernel[i];
  for (int i = 0; i < size; ++i) kernel[i] /= sum;
}

QMImage convolve1D(const QMImage& src, const double* kernel, int size, bool horizontal) {
  const int half = size / 2;
  QMImage out(src);
  if (blurFast(src, kernel, size, horizontal, out)) return out;
  for (int y = 0; y < src.height; ++y) {
    for (int x = 0; x < src.width; ++x) {
      double sum = 0.0;
      for (int k = -half; k <= half; ++k) {
        const int column = horizontal ? std::clamp(x + k, 0, src.width - 1) : x;
        const int row = horizontal ? y : std::clamp(y + k, 0, src.height - 1);
        const double product =
            static_cast<double>(src.data[indexOf(src, column, row)]) * kernel[k + half];
        sum += product;
      }
      out.data[indexOf(out, x, y)] = static_cast<unsigned char>(roundToInt(sum) & 0xFF);
    }
  }
  return out;
}

QMImage enh_gaussian_filter_fast(const QMImage& src, int size, double sigma) {
  std::vector<double> kernel(taps(size));
  generateGaussianKernel1D(size, sigma, kernel.data());
  const QMImage rows = convolve1D(src, kernel.data(), size, true);
  return convolve1D(rows, kernel.data(), size, false);
}

QMImage add_Weighted(const QMImage& src, const QMImage& blurred, float weight) {
  QMImage out(src);
  const float sourceWeight = 1.0F + weight;
  const float blurWeight = -weight;
  if (src.width < 0) return out;  // no row and no column, whatever their product
  const std::size_t count =
      static_cast<std::size_t>(src.width) * static_cast<std::size_t>(src.height);
  if (weight == kStencilWeight) {
    sharpenPixels(src.data, blurred.data, out.data, count);
    return out;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const float sourcePart = static_cast<float>(src.data[i]) * sourceWeight;
    const float blurPart = static_cast<float>(blurred.data[i]) * blurWeight;
    out.data[i] = static_cast<unsigned char>(myClamp(my_round(sourcePart + blurPart), 0, 255));
  }
  return out;
}

QMImage enh_unsharp_mask(const QMImage& src, float amount, int size) {
  const float weight = amount / 100.0F;
  const QMImage blurred = enh_gaussian_filter_fast(src, size, kUnsharpSigma);
  return add_Weighted(src, blurred, weight);
}

void generateGaussianKernel(int size, double sigma1, double sigma2, double* kernel) {
  const int half = size / 2;
  const double norm = 1.0 / (kTwoPi * sigma1 * sigma2);
  double sum = 0.0;
  double* entry = kernel;
  for (int row = -half; row <= half; ++row) {
    for (int column = -half; column <= half; ++column) {
      const double exponent = -static_cast<double>(row * row) / (2 * sigma1 * sigma1) -
                              static_cast<double>(column * column) / (2 * sigma2 * sigma2);
      *entry = norm * static_cast<double>(my_exp(static_cast<float>(exponent)));
      sum += *entry++;
    }
  }
  std::for_each(kernel, entry, [sum](double& weight) { weight /= sum; });
}

QMImage enh_gaussian_filter(const QMImage& src, int size, double sigma1, double sigma2) {
  const int half = size / 2;
  QMImage out(src.width, src.height, QM_IMG_GRAY);
  std::vector<double> kernel(taps(size) * taps(size));
  generateGaussianKernel(size, sigma1, sigma2, kernel.data());
  for (int y = 0; y < src.height; ++y) {
    for (int x = 0; x < src.width; ++x) {
      double sum = 0.0;
      const double* weight = kernel.data();
      for (int row = -half; row <= half; ++row) {
        const int sampleRow = std::clamp(y + row, 0, src.height - 1);
        for (int column = -half; column <= half; ++column) {
          const int sampleColumn = std::clamp(x + column, 0, src.width - 1);
          const double product =
              static_cast<double>(src.data[indexOf(src, sampleColumn, sampleRow)]) * *weight++;
          sum += product;
        }
      }
      out.data[indexOf(out, x, y)] = static_cast<unsigned char>(myClamp(roundToInt(sum), 0, 255));
    }
  }
  return out;
}

}  // namespace kestra
