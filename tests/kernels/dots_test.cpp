// Tests packing and counting of dots: worked rows, and every version against a plain one over many
// sizes.
#include "imaging/kernels/dots.h"

#include <gtest/gtest.h>

#include <bitset>
#include <cstdint>
#include <vector>

#include "tests/kernels/row_sizes.h"
#include "tests/kernels/versions.h"
#include "tests/support/grey_pages.h"

namespace kestra {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing_support::kPageKinds;
using testing_support::PageKind;

Bytes plainlyPacked(const Bytes& pixels) {
  Bytes bits((pixels.size() + 7) / 8);
  for (std::size_t x = 0; x < pixels.size(); ++x) {
    if (pixels[x] != 0) bits[x / 8] = static_cast<std::uint8_t>(bits[x / 8] | 128 >> x % 8);
  }
  return bits;
}

}  // namespace

TEST(Dots, PackTheLeftmostPixelIntoTheHighestBit) {
  // 0010 0001 | 1... .... -> 21 80
  const Bytes pixels = {0, 0, 9, 0, 0, 0, 0, 1, 255};
  inEveryVersion([&] {
    Bytes bits(2, 0xFF);
    packDots(pixels.data(), pixels.size(), bits.data());
    EXPECT_EQ((Bytes{0x21, 0x80}), bits);
  });
}

TEST(Dots, PackEveryByteButZeroAsADot) {
  Bytes pixels;
  for (int level = 0; level < 256; ++level) pixels.push_back(static_cast<std::uint8_t>(level));
  Bytes wanted(32, 0xFF);
  wanted[0] = 0x7F;  // level 0 alone is none
  inEveryVersion([&] {
    Bytes bits(32);
    packDots(pixels.data(), pixels.size(), bits.data());
    EXPECT_EQ(wanted, bits);
  });
}

TEST(Dots, CountEveryBit) {
  // 1 + 2 + 8 + 0 + 1 + 4 bits
  const Bytes bits = {0x80, 0x11, 0xFF, 0x00, 0x01, 0x0F};
  inEveryVersion([&] {
    EXPECT_EQ(16U, countDots(bits.data(), bits.size()));
    EXPECT_EQ(0U, countDots(bits.data(), 0));
  });
}

TEST(Dots, AreThoseOfThePlainVersionForEverySize) {
  for (const PageKind kind : kPageKinds) {
    for (const std::size_t size : kRowSizes) {
      const Bytes pixels = makeLevels(kind, size, 1);
      Bytes wanted = plainlyPacked(pixels);
      wanted.push_back(0xA5);  // the byte behind is as it was
      std::uint64_t dots = 0;
      for (const std::uint8_t byte : pixels) dots += std::bitset<8>(byte).count();
      inEveryVersion([&] {
        Bytes bits(wanted.size(), 0xA5);
        packDots(pixels.data(), size, bits.data());
        ASSERT_EQ(wanted, bits) << size;
        ASSERT_EQ(dots, countDots(pixels.data(), size)) << size;
      });
    }
  }
}

TEST(Dots, MayBePackedOverTheirOwnPixels) {
  for (const std::size_t size : kRowSizes) {
    for (const std::ptrdiff_t before : {0, 1, 5}) {
      const Bytes start =
          makeLevels(PageKind::kExtremes, size + static_cast<std::size_t>(before), 1);
      const Bytes wanted = plainlyPacked(Bytes(start.begin() + before, start.end()));
      inEveryVersion([&] {
        Bytes pixels = start;
        packDots(pixels.data() + before, size, pixels.data());
        pixels.resize(wanted.size());
        ASSERT_EQ(wanted, pixels) << size << " from " << before;
      });
    }
  }
}

}  // namespace kestra
