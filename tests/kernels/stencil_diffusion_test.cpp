// Tests of the stencil's error diffusion: every version, bands and their seams, errors that fade
// below the normal numbers, the processor's mode afterwards. Why: the wavefront meets every edge of
// a page sixteen rows at a time.
#include "imaging/kernels/stencil_diffusion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "imaging/kernels/subnormals.h"
#include "tests/kernels/versions.h"
#include "tests/plain_stencil/chain.h"
#include "tests/stencil/pictures.h"
#include "tests/stencil/stencil_images.h"

namespace kestra {
namespace {

// The dots of a page, in rows with a gap of three bytes of 99 behind each.
std::vector<std::uint8_t> diffused(const plain::Rows& page, int threshold) {
  const std::size_t width = page[0].size();
  const std::size_t stride = width + 3;
  std::vector<std::uint8_t> out(stride * page.size(), 99);
  StencilDiffuser diffuser(static_cast<int>(width), static_cast<int>(page.size()),
                           static_cast<float>(threshold), out.data(), stride);
  for (const std::vector<int>& row : page) {
    std::copy(row.begin(), row.end(), diffuser.nextRow());
    diffuser.finishRow();
  }
  return out;
}

void expectAsPlain(const plain::Rows& page, int threshold, const std::string& what) {
  plain::Rows expected = plain_stencil::diffuse(page, threshold);
  for (std::vector<int>& row : expected) row.insert(row.end(), 3, 99);
  const std::vector<std::uint8_t> wanted = plain::flatten(expected);
  inEveryVersion([&] {
    ASSERT_TRUE(diffused(page, threshold) == wanted)
        << what << " " << page[0].size() << " x " << page.size() << ", threshold " << threshold;
  });
}

// Calls `piece` with each fast loop of this processor.
template <typename Piece>
void withFastLoops(const Piece& piece) {
  piece(baseline::diffuseStencilBand);
#if defined(__x86_64__)
  if (kernelVersions().back() == KernelVersion::kAvx2) piece(avx2::diffuseStencilBand);
#endif
}

// Half of the smallest normal number, computed now.
float halfOfTheSmallest() {
  volatile float smallest = std::numeric_limits<float>::min();
  volatile float half = smallest * 0.5F;
  return half;
}

}  // namespace

TEST(StencilDiffusion, EveryKindOfPageEqualsThePlainVersion) {
  for (const NamedPicture& picture : allPictures()) {
    for (const int threshold : {-1, 0, 1, 64, 128, 254, 255}) {
      expectAsPlain(picture.rows, threshold, picture.name);
    }
  }
}

TEST(StencilDiffusion, EveryNumberOfRowsUpToThreeBandsEqualsThePlainVersion) {
  for (int height = 1; height <= 49; ++height) {
    for (const int width : {1, 2, 5, 16, 64, 79}) {
      expectAsPlain(photoPage(width, height), 128, "photo");
      expectAsPlain(noisePage(width, height, 31), 64, "noise");
    }
  }
}

TEST(StencilDiffusion, EveryWidthAroundTheBlocksOfColumnsEqualsThePlainVersion) {
  for (int width = 1; width <= 160; ++width) {
    expectAsPlain(noisePage(width, 18, static_cast<unsigned>(width)), 128, "noise");
  }
}

TEST(StencilDiffusion, ThePagesLastColumnAtTheEndOfABlockGetsNoReliefInAnyBand) {
  // Blocks are 16 columns: at these widths the first row of a band ends with one. Rows 16, 32 and
  // 48 are first ones inside the page; what their last column passes on shows in few rows.
  for (const int width : {80, 96, 128}) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
      expectAsPlain(noisePage(width, 52, seed), 128, "noise");
    }
  }
}

TEST(StencilDiffusion, PagesAsWideAsAHeadEqualThePlainVersion) {
  expectAsPlain(photoPage(2480, 35), 120, "photo");
  expectAsPlain(textPage(2480, 33), 255, "text");
  expectAsPlain(noisePage(863, 40, 2), 0, "noise");
}

TEST(StencilDiffusion, FarThresholdsEqualThePlainVersion) {
  for (const int threshold :
       {-300, -2, 256, 300, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    expectAsPlain(noisePage(83, 37, 4), threshold, "noise");
  }
}

TEST(StencilDiffusion, RemainsOfEverySizeMeetInkAsInThePlainVersion) {
  // A dot, blank paper, then levels: on the way the error fades through every power of two down to
  // nothing, which takes about 85 columns or 700 rows to the end of the normal numbers.
  for (const int threshold : {-1, 0, 1, 2, 64, 128, 255}) {
    for (const int dot : {1, 2, 77, 200, 255}) {
      plain::Rows wide = uniformPage(1200, 20, 0);
      plain::Rows tall = uniformPage(20, 1200, 0);
      int gap = 1;
      for (int at = 0; at < 1200; at += gap, gap += 5) {
        const auto place = static_cast<std::size_t>(at);
        wide[place % 3][place] = dot;
        wide[10 + place % 7][place] = (dot + at) % 256;
        tall[place][place % 5] = dot;
        tall[place][12 + place % 7] = (dot + at) % 256;
      }
      expectAsPlain(wide, threshold, "wide");
      expectAsPlain(tall, threshold, "tall");
    }
  }
}

TEST(StencilDiffusion, FadingErrorsOverManyRowsEqualThePlainVersion) {
  plain::Rows page = uniformPage(40, 2000, 0);
  for (std::size_t x = 0; x < 40; ++x) page[0][x] = static_cast<int>((x * 67 + 13) % 256);
  for (const int threshold : {-1, 0, 1, 128}) expectAsPlain(page, threshold, "fading");
}

TEST(StencilDiffusion, AtThresholdZeroTheFaintestRemainFromAboveIsWhite) {
  // A blank row below an error of 2^-130 at column 20, which is no normal number: column 18 gets
  // 0.226194 of it, which is above 0, hence white. Counted as 0, it is not. In column 19 then -255
  // * 0.505786 outweighs all.
  constexpr std::size_t kSide = kStencilMargin;
  constexpr std::size_t kStride = 40 + 2 * kSide;
  withFastLoops([](void (*loop)(const StencilBand&)) {
    const auto dotsAt18 = [loop] {
      std::vector<unsigned char> rows(kStride * (1 + kStencilBandRows));
      std::vector<float> errors(kStride);
      errors[kSide + 20] = floatOf(1U << 19U);  // 2^19 * 2^-149
      unsigned char* first = rows.data() + kStride + kSide;
      loop({first, kStride, 40, 16, 100, 0.0F, errors.data() + kSide});
      EXPECT_EQ(int{first[17]}, 0);
      return int{first[18]};
    };
    EXPECT_EQ(dotsAt18(), 255);
    const SubnormalsAsZero mode(true);
    EXPECT_EQ(dotsAt18(), SubnormalsAsZero::isAvailable() ? 0 : 255);
  });
}

TEST(StencilDiffusion, EveryBitOfTheLastRowsErrorsIsTheRules) {
  // Dots alone would hardly show a sum that was added in another order.
  constexpr std::size_t kWidth = 200;
  constexpr std::size_t kStride = kWidth + 2 * std::size_t{kStencilMargin};
  constexpr std::size_t kLast = kStencilBandRows - 1;
  const plain::Rows page = noisePage(static_cast<int>(kWidth), 2 * kStencilBandRows, 12);
  plain_stencil::Errors expected;
  plain_stencil::diffuse(page, 128, &expected);
  withFastLoops([&](void (*loop)(const StencilBand&)) {
    std::vector<unsigned char> rows(kStride * (1 + kStencilBandRows));
    std::vector<float> errors(kStride);
    unsigned char* first = rows.data() + kStride + kStencilMargin;
    for (std::size_t y = 0; y <= kLast; ++y) {
      std::copy(page[y].begin(), page[y].end(), first + y * kStride);
    }
    float* upper = errors.data() + kStencilMargin;
    loop({first, kStride, static_cast<int>(kWidth), 0, 2 * kStencilBandRows, 128.0F, upper});
    for (std::size_t x = 0; x < kWidth; ++x) {
      ASSERT_EQ(bitsOf(upper[x]), bitsOf(expected[kLast][x])) << x;
    }
  });
}

TEST(StencilDiffusion, LeavesTheProcessorsModeAsItWas) {
  inEveryVersion([] {
    diffused(noisePage(40, 20, 6), 128);
    EXPECT_GT(halfOfTheSmallest(), 0.0F);
  });
}

TEST(StencilDiffusion, ModeCountsRemainsAsZeroWhereWantedAndOnlyInItsScope) {
  ASSERT_GT(halfOfTheSmallest(), 0.0F);
  {
    const SubnormalsAsZero notWanted(false);
    EXPECT_GT(halfOfTheSmallest(), 0.0F);
  }
  if (!SubnormalsAsZero::isAvailable()) GTEST_SKIP() << "no such mode on this processor";
  {
    const SubnormalsAsZero outer(true);
    EXPECT_EQ(halfOfTheSmallest(), 0.0F);
    {
      const SubnormalsAsZero inner(true);
      EXPECT_EQ(halfOfTheSmallest(), 0.0F);
    }
    EXPECT_EQ(halfOfTheSmallest(), 0.0F);
  }
  EXPECT_GT(halfOfTheSmallest(), 0.0F);
}

}  // namespace kestra
