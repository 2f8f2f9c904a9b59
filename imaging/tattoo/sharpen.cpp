// The Gaussian family in double precision with single-precision exponentials, each sum in the order
// of its taps.
#include "imaging/tattoo/sharpen.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "imaging/tattoo/fast_math.h"

namespace kestra {
namespace {

constexpr float kTwoPiSingle = 6.2831855F;
constexpr double kTwoPi = 6.283185307179586;

std::size_t taps(int size) { return static_cast<std::size_t>(size / 2) * 2 + 1; }

std::size_t indexOf(const QMImage& image, int x, int y) {
  return static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) +
         static_cast<std::size_t>(x);
}

int roundToInt(double sum) { return my_round(static_cast<float>(sum)); }

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
