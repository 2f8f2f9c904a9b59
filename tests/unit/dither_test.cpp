// Tests the dithering of images: worked examples of each method, and every method against its plain
// twin over many sizes.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/kernels/versions.h"
#include "tests/plain/halftone.h"
#include "tests/support/grey_pages.h"
#include "tests/support/sanitized.h"
#include "tests/unit/test_images.h"

namespace kestra {
namespace {

using testing_support::kPageKinds;
using testing_support::PageKind;

Bytes dithered(const Bytes& levels, std::uint32_t width, std::uint32_t height,
               std::int64_t method) {
  GreyImage image(levels, width, height);
  EXPECT_TRUE(image.Dither(method));
  return indicesOf(image);
}

TEST(Dither, NeedsAnImage) {
  BlackImage image(2, 2, 8);
  EXPECT_FALSE(PaletteImage().Dither(0));
  image.Destroy();
  EXPECT_FALSE(image.Dither(3));
  EXPECT_STREQ("", image.GetLastError());
}

TEST(Dither, LeavesAOneBitImageAsItIs) {
  for (const std::int64_t method : {0, 1, 2, 7, 8, -1}) {
    ArrayImage image({0xA0, 0x50}, 4, 2, 1, 1);
    image.SetPaletteColor(0, 200, 100, 50, 25);
    const std::uint8_t* block = image.GetBits();
    EXPECT_TRUE(image.Dither(method));
    EXPECT_EQ(block, image.GetBits());
    EXPECT_EQ((Bytes{1, 0, 1, 0, 0, 1, 0, 1}), indicesOf(image));
    EXPECT_TRUE(sameColor(image.GetPaletteColor(0), 50, 100, 200, 25));
  }
}

TEST(Dither, MakesAOneBitImageOfBlackAndWhite) {
  for (std::int64_t method = 0; method <= 8; ++method) {
    for (const std::uint32_t width : {1U, 31U, 32U, 33U, 836U}) {
      GreyImage image(makeLevels(PageKind::kRandom, width, 2), width, 2);
      ASSERT_TRUE(image.Dither(method));
      EXPECT_EQ(1, image.GetBitsPerPixel());
      EXPECT_EQ(2U, image.GetNumColors());
      EXPECT_EQ((width + 31) / 32 * 4, image.GetEffWidth());
      EXPECT_EQ(width, image.GetWidth());
      EXPECT_EQ(2U, image.GetHeight());
      EXPECT_TRUE(sameColor(image.GetPaletteColor(0), 0, 0, 0, 0));
      EXPECT_TRUE(sameColor(image.GetPaletteColor(1), 255, 255, 255, 0));
    }
  }
}

TEST(Dither, LeavesThePaddingOfItsRowsZero) {
  for (std::int64_t method = 0; method <= 8; ++method) {
    GreyImage image(Bytes(10, 255), 5, 2);  // all white at every method
    ASSERT_TRUE(image.Dither(method));
    EXPECT_EQ((Bytes{0xF8, 0, 0, 0, 0xF8, 0, 0, 0}), rowBytesOf(image)) << method;
  }
}

TEST(Dither, KeepsTheImagesType) {
  BlackImage image(4, 4, 8, 1234);
  ASSERT_TRUE(image.Dither(4));
  EXPECT_EQ(1234U, image.GetType());
}

TEST(Dither, UsesIndicesWhateverThePaletteShows) {
  BlackImage image(2, 1, 8);
  image.SetPaletteColor(0, 255, 255, 255, 0);  // index 0 shows white, index 255 stays black
  image.SetPixelIndex(1, 0, 255);
  ASSERT_TRUE(image.Dither(0));
  EXPECT_EQ((Bytes{0, 1}), indicesOf(image));
}

TEST(Dither, Makes24BitImagesBlack) {
  for (std::int64_t method = 0; method <= 8; ++method) {
    ArrayImage image(Bytes(24, 255), 4, 2, 24, 12);
    ASSERT_TRUE(image.Dither(method));
    EXPECT_EQ(Bytes(8, 0), indicesOf(image)) << method;
    EXPECT_EQ(1, image.GetBitsPerPixel());
  }
}

TEST(Dither, TakesTheSixteenLevelsOf4BitImages) {
  // Level 15 is below 129, and 15 * 16 / 255 = 0: black. Above threshold 0 of the generated matrix.
  BlackImage image(2, 1, 4);
  image.SetPixelIndex(0, 0, 15);
  image.SetPixelIndex(1, 0, 15);
  ASSERT_TRUE(image.Dither(7));
  EXPECT_EQ((Bytes{1, 0}), indicesOf(image));
}

TEST(Dither, PrintsWhiteFromTheFirstLevelAboveAThresholdOf4BitImagesOn) {
  // Thresholds 0 and 192 at (0, 0) and (1, 0): level 1 is above the first, level 0 is not.
  BlackImage image(5, 1, 4);
  for (const std::int64_t x : {0, 1}) image.SetPixelIndex(x, 0, 1);
  ASSERT_TRUE(image.Dither(7));
  EXPECT_EQ((Bytes{1, 0, 0, 0, 0}), indicesOf(image));
}

TEST(Dither, DiffusesWithinTheDepthOf4BitImages) {
  // One row of 14, 15 by Floyd and Steinberg: 14 is black and passes 14 * 7 / 16 = 6 on, 15 + 6 =
  // 21, of which a 4-bit pixel keeps 21 & 15 = 5: black again. Nothing can ever reach white.
  BlackImage image(2, 1, 4);
  image.SetPixelIndex(0, 0, 14);
  image.SetPixelIndex(1, 0, 15);
  ASSERT_TRUE(image.Dither(100));
  EXPECT_EQ((Bytes{0, 0}), indicesOf(image));
}

#ifndef KESTRA_SANITIZED  // which has no limit of address space
enum RoomlessEnd { kWhole = 0, kSpoilt = 1, kNoLimit = 2 };

// How a page of 16 MB comes out of Dither where there is no room for the 2 MB of its dots.
// kNoLimit: there was room after all, as on an emulated processor, whose programs have no limit of
// their own.
RoomlessEnd ditherWithoutRoom(std::int64_t method) {
  const Bytes levels = makeLevels(PageKind::kGradient, 4000, 4000);
  OwnedImage image;
  if (!makeGrey(image, levels, 4000, 4000)) return kSpoilt;
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlim_t used = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
  const rlimit limit = {used + (1U << 20U), used + (1U << 20U)};
  if (pages == 0 || setrlimit(RLIMIT_AS, &limit) != 0) return kSpoilt;
  constexpr std::size_t kDots = 4000 * 4000 / 8;
  void* const room = mmap(nullptr, kDots, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (room != MAP_FAILED) return kNoLimit;
  const std::string problem = "PaletteImage::Create can't allocate memory";
  const bool whole = !image.Dither(method) && image.GetLastError() == problem &&
                     image.GetBitsPerPixel() == 8 && image.GetNumColors() == 256 &&
                     std::equal(levels.begin(), levels.end(), image.GetBits());
  return whole ? kWhole : kSpoilt;
}

TEST(Dither, LeavesTheImageWholeWhereThereIsNoMemoryForItsDots) {
  for (const std::int64_t method : {0, 2}) {
    const pid_t child = fork();  // which cannot get its memory back
    ASSERT_LE(0, child);
    if (child == 0) _exit(ditherWithoutRoom(method));
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_TRUE(WIFEXITED(status)) << method;
    if (WEXITSTATUS(status) == kNoLimit) GTEST_SKIP() << "no limit of memory holds here";
    EXPECT_EQ(kWhole, WEXITSTATUS(status)) << method;
  }
}
#endif

TEST(Threshold, PrintsWhiteFrom129On) {
  EXPECT_EQ((Bytes{0, 0, 0, 1, 1, 1}), dithered({0, 127, 128, 129, 130, 255}, 6, 1, 0));
}

TEST(OrderedMatrix, PrintsFlatGreysByTheirLevel) {
  EXPECT_EQ(Bytes(16, 1), dithered(Bytes(16, 255), 4, 4, 1));
  EXPECT_EQ(Bytes(16, 0), dithered(Bytes(16, 0), 4, 4, 1));
  // 128 * 16 / 255 = 8: white where the matrix is below 8.
  //   0  8  2 10      1 0 1 0
  //  12  4 14  6      0 1 0 1
  //   3 11  1  9      1 0 1 0
  //  15  7 13  5      0 1 0 1
  EXPECT_EQ((Bytes{1, 0, 1, 0, 0, 1, 0, 1, 1, 0, 1, 0, 0, 1, 0, 1}),
            dithered(Bytes(16, 128), 4, 4, 1));
  // 254 * 16 / 255 = 15: black only where the matrix is 15, in the lower left corner.
  EXPECT_EQ((Bytes{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 1, 1}),
            dithered(Bytes(16, 254), 4, 4, 1));
  // 16 * 16 / 255 = 1: white only where it is 0; 15 * 16 / 255 = 0: nowhere.
  EXPECT_EQ((Bytes{1, 0, 0, 0}), dithered(Bytes(4, 16), 4, 1, 1));
  EXPECT_EQ((Bytes{0, 0, 0, 0}), dithered(Bytes(4, 15), 4, 1, 1));
}

TEST(OrderedMatrix, RepeatsEveryFourPixelsBothWays) {
  // Column 4 and row 4 start the matrix again.
  const Bytes dots = dithered(Bytes(25, 16), 5, 5, 1);
  Bytes wanted(25, 0);
  wanted[0] = wanted[4] = wanted[20] = wanted[24] = 1;
  EXPECT_EQ(wanted, dots);
}

TEST(GeneratedMatrix, PrintsWhereTheLevelExceedsTheThreshold) {
  EXPECT_EQ(Bytes(16, 1), dithered(Bytes(16, 255), 4, 4, 7));
  EXPECT_EQ(Bytes(16, 0), dithered(Bytes(16, 0), 4, 4, 7));
  //    0 192  48 240      1 0 1 0
  //  128  64 176 112      0 1 0 1   level 128: white below 128
  //   32 224  16 208      1 0 1 0
  //  160  96 144  80      0 1 0 1
  EXPECT_EQ((Bytes{1, 0, 1, 0, 0, 1, 0, 1, 1, 0, 1, 0, 0, 1, 0, 1}),
            dithered(Bytes(16, 128), 4, 4, 7));
  EXPECT_EQ((Bytes{1, 0, 1, 0, 1, 1, 0, 1, 1, 0, 1, 0, 0, 1, 0, 1}),
            dithered(Bytes(16, 129), 4, 4, 7));
  // Level 1 exceeds threshold 0 alone.
  EXPECT_EQ((Bytes{1, 0, 0, 0, 1, 0, 0, 0}), dithered(Bytes(8, 1), 8, 1, 7));
}

TEST(Diffusion, OfARowByFloydAndSteinberg) {
  // 100: black, error 100, 700 / 16 = 43 to the right -> 143
  // 143: white, error -112, -784 / 16 = -49 -> 100 - 49 = 51
  // 51: black, error 51, 357 / 16 = 22 -> 122
  // 122: black, error 122, 854 / 16 = 53 -> 153: white
  EXPECT_EQ((Bytes{0, 1, 0, 0, 1}), dithered(Bytes(5, 100), 5, 1, 8));
}

TEST(Diffusion, DownAOnePixelColumnByFloydAndSteinberg) {
  // Only the tap below lands inside, 5 sixteenths:
  // 100 -> 100 + 31 = 131: white, error -124, -620 / 16 = -38 -> 62: black, 310 / 16 = 19 -> 119:
  // black, 595 / 16 = 37 -> 137: white.
  EXPECT_EQ((Bytes{0, 1, 0, 0, 1}), dithered(Bytes(5, 100), 1, 5, 8));
}

TEST(Diffusion, TruncatesEachShareOfASmallErrorOnItsOwn) {
  // Error 3 gives 21 / 16 = 1 to the right, 9 / 16 = 0, 15 / 16 = 0, 3 / 16 = 0 below. To the
  // right: 127 + 1 = 128 stays black; with 128 it becomes 129, white. Below: 128 + 0 stays black.
  EXPECT_EQ((Bytes{0, 0}), dithered({3, 127}, 2, 1, 8));
  EXPECT_EQ((Bytes{0, 1}), dithered({3, 128}, 2, 1, 8));
  EXPECT_EQ((Bytes{0, 0}), dithered({3, 128}, 1, 2, 8));
}

TEST(Diffusion, TruncatesNegativeSharesTowardZero) {
  // 254: white, error -1: -7 / 16 = 0, not -1. So 129 stays white.
  EXPECT_EQ((Bytes{1, 1}), dithered({254, 129}, 2, 1, 8));
  // 252: error -3, -21 / 16 = -1: 129 becomes 128, black.
  EXPECT_EQ((Bytes{1, 0}), dithered({252, 129}, 2, 1, 8));
}

TEST(Diffusion, ClampsEachTapOnItsOwn) {
  // 128 is black and passes 56 to the right: 255 + 56 is clamped to 255, white without error. Row
  // 1: 88 + 128 * 5 / 16 = 128, black, and 183 + 8 + 56 = 247, white. Without the clamp 255 + 56
  // would have had an error of 56, of which 10 would have made the 128 white.
  EXPECT_EQ((Bytes{0, 1, 0, 1}), dithered({128, 255, 88, 183}, 2, 2, 8));
  // The other end: 129 is white with error -126 and passes -55 to the right: 20 - 55 is clamped to
  // 0, black without error. Row 1: 167 - 39 = 128, black, and 80 - 7 + 56 = 129, white. Without the
  // clamp -35 would have taken 6 and 10 from them: both black.
  EXPECT_EQ((Bytes{1, 0, 0, 1}), dithered({129, 20, 167, 80}, 2, 2, 8));
}

TEST(Diffusion, ShowsEachKernelByItsImpulse) {
  // A single 128 at the top prints black and passes 128 * w / D on. One receiver at a time stands
  // so that its share just makes it white, or just fails to.
  for (const std::int64_t method : {2, 3, 4, 5, 6, 8}) {
    const plain::Kernel kernel = plain::kernelOf(method);
    for (const plain::Tap& tap : kernel.taps) {
      const std::int64_t share = 128 * tap.weight / kernel.divisor;
      ASSERT_LT(0, share);
      for (const std::int64_t missing : {0, 1}) {
        Bytes levels(7 * 4, 0);
        levels[3] = 128;
        const std::int64_t at = tap.dy * 7 + 3 + tap.dx;
        levels[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(129 - share - missing);
        EXPECT_EQ(plain::halftone(levels, 7, 4, method), dithered(levels, 7, 4, method))
            << "method " << method << " tap " << tap.dx << "," << tap.dy;
      }
    }
  }
}

TEST(Diffusion, RunsFloydAndSteinbergForEveryOtherNumber) {
  const Bytes page = makeLevels(PageKind::kRandom, 33, 17);
  const Bytes wanted = plain::halftone(page, 33, 17, 8);
  for (const std::int64_t method :
       {std::int64_t{8}, std::int64_t{9}, std::int64_t{100}, std::int64_t{-1}, std::int64_t{-2},
        std::int64_t{1} << 32, (std::int64_t{1} << 32) + 2, INT64_MIN, INT64_MAX}) {
    EXPECT_EQ(wanted, dithered(page, 33, 17, method)) << method;
  }
}

TEST(Diffusion, DiffersFromMethodToMethod) {
  // The plain versions are different methods, so that no two numbers can be swapped unnoticed.
  const Bytes page = makeLevels(PageKind::kGradient, 33, 17);
  for (std::int64_t a = 0; a <= 8; ++a) {
    for (std::int64_t b = a + 1; b <= 8; ++b) {
      EXPECT_NE(plain::halftone(page, 33, 17, a), plain::halftone(page, 33, 17, b))
          << a << " " << b;
    }
  }
}

class DitherSizes : public testing::TestWithParam<std::int64_t> {
 protected:
  void expectSame(std::uint32_t width, std::uint32_t height) {
    for (const PageKind kind : kPageKinds) {
      const Bytes page = makeLevels(kind, width, height);
      ASSERT_EQ(plain::halftone(page, width, height, GetParam()),
                dithered(page, width, height, GetParam()))
          << width << "x" << height << " " << nameOf(kind);
    }
  }
};

TEST_P(DitherSizes, SmallOnesPrintLikeThePlainVersion) {
  for (const std::uint32_t width : {1U, 2U, 3U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 33U}) {
    for (const std::uint32_t height : {1U, 2U, 3U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 33U}) {
      expectSame(width, height);
    }
  }
}

TEST_P(DitherSizes, WideAndTallOnesPrintLikeThePlainVersion) {
  for (const auto& size : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
           {836, 1}, {1, 836}, {836, 5}, {5, 836}, {101, 101}, {836, 101}, {101, 836}}) {
    expectSame(size.first, size.second);
  }
}

TEST_P(DitherSizes, PaddedRowsOfTheSourceDoNotPrint) {
  // Rows of 8 bytes for 5 pixels: the 3 bytes behind them are white, the image is not.
  Bytes rows;
  const Bytes page = makeLevels(PageKind::kRandom, 5, 9);
  for (std::size_t y = 0; y < 9; ++y) {
    rows.insert(rows.end(), page.begin() + static_cast<std::ptrdiff_t>(y * 5),
                page.begin() + static_cast<std::ptrdiff_t>(y * 5 + 5));
    rows.insert(rows.end(), 3, 255);
  }
  ArrayImage image(rows, 5, 9, 8, 8);
  ASSERT_TRUE(image.Dither(GetParam()));
  EXPECT_EQ(plain::halftone(page, 5, 9, GetParam()), indicesOf(image));
  for (std::uint32_t y = 0; y < 9; ++y) EXPECT_EQ(0, image.GetBits(y)[0] & 7) << y;
}

INSTANTIATE_TEST_SUITE_P(EveryMethod, DitherSizes, testing::Values(0, 1, 2, 3, 4, 5, 6, 7, 8),
                         [](const testing::TestParamInfo<std::int64_t>& parameter) {
                           return "Method" + std::to_string(parameter.param);
                         });

/// Expects that two images with a palette show the same of themselves; all but type and error
/// lies in the one block, header first.
void expectSame(const PaletteImage& wanted, const PaletteImage& got, const std::string& what) {
  const auto block = [](const PaletteImage& image) {
    const auto* palette = reinterpret_cast<const std::uint8_t*>(image.GetPalette());
    return Bytes(palette - 40, palette - 40 + image.GetSize());
  };
  EXPECT_EQ(block(wanted), block(got)) << what;
  EXPECT_EQ(wanted.GetEffWidth(), got.GetEffWidth()) << what;
  EXPECT_EQ(wanted.GetType(), got.GetType()) << what;
  EXPECT_STREQ(wanted.GetLastError(), got.GetLastError()) << what;
}

TEST(DitherToBytes, EqualsDitheringAndThenRaisingTheDepth) {
  inEveryVersion([] {
    for (const std::uint32_t width : {1U, 3U, 4U, 33U, 64U, 101U, 836U}) {
      for (std::int64_t method = -1; method <= 8; ++method) {
        // Lines longer than the page is wide leave other bytes in the padding.
        const Bytes page = makeLevels(PageKind::kRandom, width + 3, 9);
        ArrayImage wanted(page, width, 9, 8, width + 3);
        ArrayImage image(page, width, 9, 8, width + 3);
        ASSERT_TRUE(wanted.Dither(method) && wanted.IncreaseBpp(8));
        ASSERT_TRUE(image.DitherToBytes(method));
        expectSame(wanted, image, std::to_string(width) + " method " + std::to_string(method));
      }
    }
  });
}

TEST(DitherToBytes, TakesOtherDepthsTheSameWay) {
  for (const std::uint32_t depth : {1U, 4U}) {
    for (const std::int64_t method : {0, 1, 2, 7}) {
      BlackImage wanted(9, 3, depth, 5);
      BlackImage image(9, 3, depth, 5);
      for (std::int64_t x = 0; x < 9; ++x) {
        wanted.SetPixelIndex(x, x % 3, 15);
        image.SetPixelIndex(x, x % 3, 15);
      }
      ASSERT_TRUE(wanted.Dither(method) && wanted.IncreaseBpp(8));
      ASSERT_TRUE(image.DitherToBytes(method));
      expectSame(wanted, image, std::to_string(depth));
    }
  }
}

TEST(DitherToBytes, NeedsAnImage) {
  EXPECT_FALSE(PaletteImage().DitherToBytes(0));
  EXPECT_FALSE(PaletteImage().DitherToBytes(2));
}

}  // namespace
}  // namespace kestra
