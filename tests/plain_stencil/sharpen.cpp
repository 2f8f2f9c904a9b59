// The sharpening step of a stencil page, tap by tap.
// Why: sums in double, results in bytes; each in a line of its own.
#include "tests/plain_stencil/sharpen.h"

#include <cstddef>

#include "tests/plain_stencil/maths.h"

namespace kestra::plain_stencil {

namespace {

int heightOf(const Rows& rows) { return static_cast<int>(rows.size()); }
int widthOf(const Rows& rows) { return rows.empty() ? 0 : static_cast<int>(rows[0].size()); }

int sampleAt(const Rows& rows, int x, int y) {
  if (x < 0) x = 0;
  if (x > widthOf(rows) - 1) x = widthOf(rows) - 1;
  if (y < 0) y = 0;
  if (y > heightOf(rows) - 1) y = heightOf(rows) - 1;
  return rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
}

}  // namespace

std::vector<double> blurKernel(int size, double sigma) {
  const int half = size / 2;
  const float root = sqrt(6.2831855F);
  const double below = static_cast<double>(root) * sigma;
  const double norm = 1.0 / below;
  std::vector<double> weights;
  for (int i = -half; i <= half; ++i) {
    const double above = -0.5 * static_cast<double>(i * i);
    const double square = sigma * sigma;
    const double exponent = above / square;
    const float value = exp(static_cast<float>(exponent));
    weights.push_back(norm * static_cast<double>(value));
  }
  double sum = 0.0;
  for (std::size_t i = 0; i < static_cast<std::size_t>(size); ++i) sum = sum + weights[i];
  for (std::size_t i = 0; i < static_cast<std::size_t>(size); ++i) weights[i] = weights[i] / sum;
  return weights;
}

Rows blurPass(const Rows& grey, const std::vector<double>& kernel, int size, bool horizontal) {
  const int half = size / 2;
  Rows result = grey;
  for (int y = 0; y < heightOf(grey); ++y) {
    for (int x = 0; x < widthOf(grey); ++x) {
      double sum = 0.0;
      for (int k = -half; k <= half; ++k) {
        const int sample = horizontal ? sampleAt(grey, x + k, y) : sampleAt(grey, x, y + k);
        const double product =
            static_cast<double>(sample) * kernel[static_cast<std::size_t>(k + half)];
        sum = sum + product;
      }
      const float rounded = static_cast<float>(sum);
      result[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = lowByte(round(rounded));
    }
  }
  return result;
}

Rows blur(const Rows& grey, int size, double sigma) {
  const std::vector<double> kernel = blurKernel(size, sigma);
  return blurPass(blurPass(grey, kernel, size, true), kernel, size, false);
}

Rows addWeighted(const Rows& grey, const Rows& blurred, float weight) {
  const float own = 1.0F + weight;
  const float other = -weight;
  Rows result = grey;
  for (std::size_t y = 0; y < grey.size(); ++y) {
    for (std::size_t x = 0; x < grey[y].size(); ++x) {
      const float a = static_cast<float>(grey[y][x]) * own;
      const float b = static_cast<float>(blurred[y][x]) * other;
      const float sum = a + b;
      result[y][x] = limit(round(sum), 0, 255);
    }
  }
  return result;
}

Rows unsharp(const Rows& grey, float amountPercent, int size) {
  const float weight = amountPercent / 100.0F;
  return addWeighted(grey, blur(grey, size, 3.0), weight);
}

std::vector<double> squareKernel(int size, double sigma1, double sigma2) {
  const int half = size / 2;
  const double twoPi = 6.283185307179586;
  const double norm = 1.0 / (twoPi * sigma1 * sigma2);
  std::vector<double> weights;
  for (int r = -half; r <= half; ++r) {
    for (int c = -half; c <= half; ++c) {
      const double down = static_cast<double>(-(r * r)) / (2.0 * sigma1 * sigma1);
      const double right = static_cast<double>(c * c) / (2.0 * sigma2 * sigma2);
      const float value = exp(static_cast<float>(down - right));
      weights.push_back(norm * static_cast<double>(value));
    }
  }
  double sum = 0.0;
  for (const double weight : weights) sum = sum + weight;
  for (double& weight : weights) weight = weight / sum;
  return weights;
}

Rows squareBlur(const Rows& grey, int size, double sigma1, double sigma2) {
  const std::vector<double> kernel = squareKernel(size, sigma1, sigma2);
  const int half = size / 2;
  Rows result = grey;
  for (int y = 0; y < heightOf(grey); ++y) {
    for (int x = 0; x < widthOf(grey); ++x) {
      double sum = 0.0;
      std::size_t tap = 0;
      for (int r = -half; r <= half; ++r) {
        for (int c = -half; c <= half; ++c) {
          const double product = static_cast<double>(sampleAt(grey, x + c, y + r)) * kernel[tap];
          sum = sum + product;
          ++tap;
        }
      }
      const int rounded = round(static_cast<float>(sum));
      result[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = limit(rounded, 0, 255);
    }
  }
  return result;
}

}  // namespace kestra::plain_stencil
