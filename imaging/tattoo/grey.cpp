// Grey conversion, threshold and gamma of a stencil, in single precision and in the order written:
// on nearly uniform pages the last bit decides what is printed.
#include "imaging/tattoo/grey.h"

#include <cstddef>
#include <cstring>

#include "filter/base/number.h"
#include "imaging/kernels/tones.h"
#include "imaging/tattoo/fast_math.h"

namespace kestra {
namespace {

constexpr std::size_t kLevels = 256;
using LevelCounts = std::array<std::uint32_t, kLevels>;

// Shares of the grey levels; of no pixel at all where N is 0.
std::array<float, kLevels> levelShares(const LevelCounts& counts, std::uint32_t count) {
  std::array<float, kLevels> shares = {};
  for (std::size_t k = 0; k < kLevels; ++k) {
    shares[k] = static_cast<float>(counts[k]) / static_cast<float>(count);
  }
  return shares;
}

// What splits a page of `count` pixels, of which each level has its count.
int thresholdOf(const LevelCounts& counts, std::uint32_t count) {
  const std::array<float, kLevels> p = levelShares(counts, count);
  const float m0 = 1.0F;
  float m1 = 0.0F;
  float m2 = 0.0F;
  float m3 = 0.0F;
  for (std::size_t k = 0; k < kLevels; ++k) {
    m1 += static_cast<float>(k) * p[k];
    m2 += static_cast<float>(k * k) * p[k];
    m3 += static_cast<float>(k * k * k) * p[k];
  }

  const float cd = m0 * m2 - m1 * m1;
  const float c0 = (-m2 * m2 + m1 * m3) / cd;
  const float c1 = (m0 * (-m3) + m2 * m1) / cd;
  const float c1Squared = c1 * c1;
  const auto disc =
      static_cast<float>(static_cast<double>(c1Squared) - 4.0 * static_cast<double>(c0));
  if (0.0F > disc) return 128;
  const float root = my_sqrt(disc);
  const float z0 = 0.5F * (-c1 - root);
  const float z1 = 0.5F * (-c1 + root);
  const float p0 = (z1 - m1) / (z1 - z0);

  float c = 0.0F;
  for (std::size_t k = 0; k < kLevels; ++k) {
    c += p[k];
    if (c > p0) return static_cast<int>(k);
  }
  return -1;
}

unsigned char weighted(float weightA, unsigned char a, float weightB, unsigned char b,
                       float weightC, unsigned char c) {
  const float sum = weightA * static_cast<float>(a) + weightB * static_cast<float>(b) +
                    weightC * static_cast<float>(c);
  return static_cast<unsigned char>(my_round(sum) & 0xFF);
}

}  // namespace

QMImage cvtGray(const QMImage& src) {
  constexpr float kRed = 0.299F;
  constexpr float kGreen = 0.587F;
  constexpr float kBlue = 0.114F;

  QMImage grey(src.width, src.height, QM_IMG_GRAY);
  const std::size_t count = grey.size();
  if (src.color == QM_IMG_GRAY && src.channels == 1) {
    if (count > 0) std::memcpy(grey.data, src.data, count);
    return grey;
  }
  const unsigned char* pixel = src.data;
  for (std::size_t i = 0; i < count; ++i, pixel += src.channels) {
    switch (src.color) {
      case QM_IMG_GRAY:
        grey.data[i] = pixel[0];
        break;
      case QM_IMG_BGR:
      case QM_IMG_BGRA:
        grey.data[i] = weighted(kBlue, pixel[0], kGreen, pixel[1], kRed, pixel[2]);
        break;
      default:
        grey.data[i] = weighted(kRed, pixel[0], kGreen, pixel[1], kBlue, pixel[2]);
        break;
    }
  }
  return grey;
}

int thresh_global_moments(const QMImage& grey) {
  const std::uint32_t count =
      static_cast<std::uint32_t>(grey.width) * static_cast<std::uint32_t>(grey.height);
  LevelCounts counts = {};
  for (std::uint32_t i = 0; i < count; ++i) ++counts[grey.data[i]];
  return thresholdOf(counts, count);
}

int momentThreshold(const unsigned char* grey, std::uint32_t count) {
  LevelCounts counts = {};
  countLevels(grey, count, counts.data());
  return thresholdOf(counts, count);
}

std::array<std::uint8_t, 256> piecewiseGammaTable(int knee, float lowGamma, float highGamma) {
  const auto kneeLevel = static_cast<float>(knee);
  const auto above = static_cast<float>(255 - knee);
  std::array<std::uint8_t, kLevels> table = {};
  for (int k = 0; k < static_cast<int>(kLevels); ++k) {
    const auto level = static_cast<float>(k);
    const float mapped = k < knee
                             ? my_pow(level / kneeLevel, lowGamma) * kneeLevel
                             : my_pow((level - kneeLevel) / above, highGamma) * above + kneeLevel;
    table[static_cast<std::size_t>(k)] = truncateToUint8(static_cast<double>(mapped));
  }
  return table;
}

void enh_piecewise_gamma(QMImage& grey, int knee, float lowGamma, float highGamma) {
  const std::array<std::uint8_t, kLevels> table = piecewiseGammaTable(knee, lowGamma, highGamma);
  const std::size_t count =
      static_cast<std::size_t>(grey.width) * static_cast<std::size_t>(grey.height);
  for (std::size_t i = 0; i < count; ++i) grey.data[i] = table[grey.data[i]];
}

}  // namespace kestra
