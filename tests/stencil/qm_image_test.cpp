// Tests of the stencil chain's pixel buffer: channel counts, copies, ownership.
// Why: each step hands on a copy; two of them sharing pixels would print one step's page in
// another.
#include "imaging/tattoo/qm_image.h"

#include <gtest/gtest.h>

#include <numeric>
#include <utility>
#include <vector>

#include "tests/stencil/stencil_images.h"

namespace kestra {
namespace {

std::vector<unsigned char> bytesOf(const QMImage& image) {
  return std::vector<unsigned char>(image.data, image.data + image.size());
}

// Bytes 1, 2, 3 ...
std::vector<unsigned char> counting(std::size_t count) {
  std::vector<unsigned char> bytes(count);
  std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
  return bytes;
}

}  // namespace

TEST(QMImage, ChannelCountFollowsTheColourType) {
  // 5, 9 and -1 are no names of the enumeration: whatever is not grey or three bytes is four.
  const std::pair<int, int> kinds[] = {{0, 1}, {1, 3}, {2, 3}, {3, 4},
                                       {4, 4}, {5, 4}, {9, 4}, {-1, 4}};
  for (const auto& [color, channels] : kinds) {
    const auto type = static_cast<QM_IMG_COLOR>(color);
    const auto wanted = static_cast<std::size_t>(channels) * 2;
    const std::vector<unsigned char> pixels = counting(wanted);
    const QMImage image(2, 1, type, pixels.data());
    SCOPED_TRACE(color);
    expectShape(image, 2, 1, channels, type);
    EXPECT_EQ(bytesOf(image), pixels);

    const QMImage blank(2, 1, type);
    EXPECT_EQ(blank.channels, channels);
    EXPECT_EQ(blank.size(), wanted);
  }
}

TEST(QMImage, KeepsItsOwnCopyOfTheCallersPixels) {
  std::vector<unsigned char> pixels = {10, 20};
  const QMImage image(2, 1, QM_IMG_GRAY, pixels.data());
  pixels[0] = 99;
  EXPECT_NE(image.data, pixels.data());
  EXPECT_EQ(bytesOf(image), (std::vector<unsigned char>{10, 20}));
}

TEST(QMImage, ChangingACopyLeavesTheSourceUnchanged) {
  const std::vector<unsigned char> pixels = counting(6);
  const QMImage source(2, 1, QM_IMG_RGB, pixels.data());
  QMImage copy(source);
  EXPECT_NE(copy.data, source.data);
  expectShape(copy, 2, 1, 3, QM_IMG_RGB);
  EXPECT_EQ(bytesOf(copy), pixels);
  copy.data[0] = 200;
  EXPECT_EQ(bytesOf(source), pixels);
}

TEST(QMImage, CopyingTakesTheChannelCountOverAsItStands) {
  const std::vector<unsigned char> pixels = counting(6);
  QMImage source(2, 1, QM_IMG_BGR, pixels.data());
  source.channels = 1;  // does not fit the colour type any more
  const QMImage copy(source);
  expectShape(copy, 2, 1, 1, QM_IMG_BGR);
  EXPECT_EQ(bytesOf(copy), (std::vector<unsigned char>{1, 2}));
  QMImage assigned(1, 1, QM_IMG_GRAY);
  assigned = source;
  expectShape(assigned, 2, 1, 1, QM_IMG_BGR);
}

TEST(QMImage, AssignmentReplacesSizeTypeAndPixels) {
  const std::vector<unsigned char> pixels = counting(12);
  const QMImage source(3, 1, QM_IMG_RGBA, pixels.data());
  QMImage target(40, 50, QM_IMG_GRAY);
  QMImage& result = (target = source);
  EXPECT_EQ(&result, &target);
  expectShape(target, 3, 1, 4, QM_IMG_RGBA);
  EXPECT_EQ(bytesOf(target), pixels);
  EXPECT_NE(target.data, source.data);
  target.data[0] = 77;
  EXPECT_EQ(source.data[0], 1);
}

TEST(QMImage, AssignmentToItselfIsSafeAndKeepsTheShape) {
  const std::vector<unsigned char> pixels = counting(4);
  QMImage image(2, 2, QM_IMG_GRAY, pixels.data());
  const QMImage& same = image;
  image = same;
  expectShape(image, 2, 2, 1, QM_IMG_GRAY);
  EXPECT_EQ(image.size(), 4U);
  // The pixels are anything now, but there and writable.
  ASSERT_NE(image.data, nullptr);
  for (std::size_t i = 0; i < image.size(); ++i) image.data[i] = 5;
  EXPECT_EQ(bytesOf(image), std::vector<unsigned char>(4, 5));
}

TEST(QMImage, AnImageWithoutPixelsCanBeCopied) {
  for (const auto& [width, height] : {std::pair{0, 0}, std::pair{0, 5}, std::pair{5, 0}}) {
    const unsigned char none = 0;
    const QMImage empty(width, height, QM_IMG_BGR, &none);
    EXPECT_EQ(empty.size(), 0U);
    const QMImage copy(empty);
    expectShape(copy, width, height, 3, QM_IMG_BGR);
    QMImage assigned(3, 3, QM_IMG_GRAY);
    assigned = empty;
    expectShape(assigned, width, height, 3, QM_IMG_BGR);
  }
}

TEST(QMImage, TwoNegativeSidesHaveTheirPositiveProductOfPixels) {
  // -2 * -3 * 3 is 18.
  const std::vector<unsigned char> pixels = counting(18);
  const QMImage image(-2, -3, QM_IMG_BGR, pixels.data());
  expectShape(image, -2, -3, 3, QM_IMG_BGR);
  EXPECT_EQ(bytesOf(image), pixels);
  const QMImage copy(image);
  EXPECT_EQ(bytesOf(copy), pixels);
}

TEST(QMImageDeathTest, ASizeThatIsNoneFailsInsteadOfAllocatingTooLittle) {
  // -1 x 1 pixels would be -1 bytes: asks for more than there is, never for less.
  EXPECT_DEATH([]() noexcept { const QMImage image(-1, 1, QM_IMG_GRAY); }(), "");
  EXPECT_DEATH([]() noexcept { const QMImage image(1, -1, QM_IMG_GRAY); }(), "");
  // 65536 * 65536 * 4 is 2^34 bytes, and 0 in 32 bits.
  const std::size_t wanted = std::size_t{1} << 34U;
  QMImage small(1, 1, QM_IMG_RGBA);
  small.width = 65536;
  small.height = 65536;
  EXPECT_EQ(small.size(), wanted);
  small.width = 1;
  small.height = 1;
}

}  // namespace kestra
