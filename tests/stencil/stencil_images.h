// Moves pages of numbers into the stencil chain's pixel buffers and back.
// Why: filter and plain version keep their pages differently; the tests compare rows.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <vector>

#include "imaging/tattoo/qm_image.h"
#include "tests/plain/page.h"

namespace kestra {

/// A grey image of a page.
inline QMImage greyImage(const plain::Rows& rows) {
  const std::vector<std::uint8_t> bytes = plain::flatten(rows);
  const int height = static_cast<int>(rows.size());
  const int width = rows.empty() ? 0 : static_cast<int>(rows[0].size());
  return QMImage(width, height, QM_IMG_GRAY, bytes.data());
}

/// The rows of an image of one byte per pixel.
inline plain::Rows rowsOf(const QMImage& image) {
  const auto count = static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height);
  return plain::rowsFromBytes(std::vector<std::uint8_t>(image.data, image.data + count),
                              image.width, image.height, image.width);
}

inline void expectShape(const QMImage& image, int width, int height, int channels,
                        QM_IMG_COLOR color) {
  EXPECT_EQ(image.width, width);
  EXPECT_EQ(image.height, height);
  EXPECT_EQ(image.channels, channels);
  EXPECT_EQ(image.color, color);
}

/// The bit pattern of a number: two NaNs of the same kind are equal, 0 and -0 are not. All NaNs are
/// one pattern, as processors differ in the one they make.
inline std::uint32_t bitsOf(float x) {
  if (x != x) return 0x7FC00000U;
  std::uint32_t bits = 0;
  std::memcpy(&bits, &x, sizeof bits);
  return bits;
}

inline float floatOf(std::uint32_t bits) {
  float x = 0;
  std::memcpy(&x, &bits, sizeof x);
  return x;
}

}  // namespace kestra
