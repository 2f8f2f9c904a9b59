// The first three steps of a stencil page.
// Why: one statement per rounding keeps the cancellations of nearly uniform pages visible.
#include "tests/plain_stencil/tone.h"

#include <cstddef>

#include "tests/plain_stencil/maths.h"

namespace kestra::plain_stencil {

namespace {

// first * weight + second * weight + third * weight, added from left to right.
int weighted(int first, float firstWeight, int second, float secondWeight, int third,
             float thirdWeight) {
  const float a = firstWeight * static_cast<float>(first);
  const float b = secondWeight * static_cast<float>(second);
  const float c = thirdWeight * static_cast<float>(third);
  const float two = a + b;
  const float three = two + c;
  return lowByte(round(three));
}

}  // namespace

Rows grey(const std::vector<std::uint8_t>& bytes, int width, int height, int colour) {
  std::size_t pixelBytes = 4;
  if (colour == 0) pixelBytes = 1;
  if (colour == 1 || colour == 2) pixelBytes = 3;
  Rows rows;
  std::size_t at = 0;
  for (int y = 0; y < height; ++y) {
    rows.emplace_back();
    for (int x = 0; x < width; ++x) {
      if (colour == 0) {
        rows.back().push_back(bytes[at]);
      } else if (colour == 1 || colour == 3) {
        rows.back().push_back(
            weighted(bytes[at], 0.114F, bytes[at + 1], 0.587F, bytes[at + 2], 0.299F));
      } else {
        rows.back().push_back(
            weighted(bytes[at], 0.299F, bytes[at + 1], 0.587F, bytes[at + 2], 0.114F));
      }
      at += pixelBytes;
    }
  }
  return rows;
}

Moments thresholdOf(const Rows& grey) {
  std::vector<unsigned> count(256, 0);
  unsigned pixels = 0;
  for (const auto& row : grey) {
    for (const int level : row) {
      ++count[static_cast<std::size_t>(level)];
      ++pixels;
    }
  }
  std::vector<float> share;
  for (const unsigned n : count) {
    share.push_back(static_cast<float>(n) / static_cast<float>(pixels));
  }
  Moments result;
  for (int k = 0; k < 256; ++k) {
    const float p = share[static_cast<std::size_t>(k)];
    const float first = static_cast<float>(k) * p;
    const float second = static_cast<float>(k * k) * p;
    const float third = static_cast<float>(k * k * k) * p;
    result.m1 = result.m1 + first;
    result.m2 = result.m2 + second;
    result.m3 = result.m3 + third;
  }
  const float m0 = 1.0F;
  const float m1 = result.m1;
  const float m2 = result.m2;
  const float m3 = result.m3;

  const float m0m2 = m0 * m2;
  const float m1m1 = m1 * m1;
  const float cd = m0m2 - m1m1;
  const float minusM2M2 = -m2 * m2;
  const float m1m3 = m1 * m3;
  const float c0Above = minusM2M2 + m1m3;
  const float c0 = c0Above / cd;
  const float minusM3 = m0 * (-m3);
  const float m2m1 = m2 * m1;
  const float c1Above = minusM3 + m2m1;
  const float c1 = c1Above / cd;

  const float square = c1 * c1;
  const double fourC0 = 4.0 * static_cast<double>(c0);
  const double difference = static_cast<double>(square) - fourC0;
  result.discriminant = static_cast<float>(difference);
  if (0.0F > result.discriminant) {
    result.threshold = 128;
    return result;
  }
  const float root = sqrt(result.discriminant);
  const float lowSum = -c1 - root;
  const float highSum = -c1 + root;
  const float z0 = 0.5F * lowSum;
  const float z1 = 0.5F * highSum;
  const float above = z1 - m1;
  const float below = z1 - z0;
  result.fraction = above / below;

  float running = 0.0F;
  for (int k = 0; k < 256; ++k) {
    running = running + share[static_cast<std::size_t>(k)];
    if (running > result.fraction) {
      result.threshold = k;
      return result;
    }
  }
  result.threshold = -1;
  return result;
}

std::vector<int> gammaTable(int knee, float lowExponent, float highExponent) {
  std::vector<int> table;
  const float kneeLevel = static_cast<float>(knee);
  const float rest = static_cast<float>(255 - knee);
  for (int k = 0; k < 256; ++k) {
    const float level = static_cast<float>(k);
    float result = 0.0F;
    if (k < knee) {
      const float part = level / kneeLevel;
      const float curve = pow(part, lowExponent);
      result = curve * kneeLevel;
    } else {
      const float distance = level - kneeLevel;
      const float part = distance / rest;
      const float curve = pow(part, highExponent);
      const float scaled = curve * rest;
      result = scaled + kneeLevel;
    }
    table.push_back(lowByte(plain::toInt32(static_cast<double>(result))));
  }
  return table;
}

Rows applyTable(const Rows& grey, const std::vector<int>& table) {
  Rows result = grey;
  for (auto& row : result) {
    for (int& level : row) level = table[static_cast<std::size_t>(level)];
  }
  return result;
}

}  // namespace kestra::plain_stencil
