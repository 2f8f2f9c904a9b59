// Tests error diffusion at every level of the processor against the plain version, dot by dot.
// Why: the fast loops print many rows at once, and must not differ in a single dot of any page.
#include "imaging/kernels/diffusion.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/kernels/grey_pages.h"
#include "tests/plain/halftone.h"
#include "tests/plain/page.h"

namespace kestra {
namespace {

using testing_support::kPageKinds;
using testing_support::makeLevels;
using testing_support::PageKind;
using Bytes = std::vector<std::uint8_t>;

struct Method {
  DiffusionMethod method;
  long number;  // of the plain version
};

constexpr Method kMethods[] = {
    {DiffusionMethod::kBurkes, 2},
    {DiffusionMethod::kStucki, 3},
    {DiffusionMethod::kJarvisJudiceNinke, 4},
    {DiffusionMethod::kSierra, 5},
    {DiffusionMethod::kStevensonArce, 6},
    {DiffusionMethod::kFloydSteinberg, 8},
};

// Rows of bits, leftmost dot in the highest bit, unused bits 0.
Bytes packed(const plain::Rows& dots, std::size_t width) {
  Bytes bits;
  for (const auto& row : dots) {
    Bytes bytes((width + 7) / 8, 0);
    for (std::size_t x = 0; x < width; ++x) {
      if (row[x] != 0) bytes[x / 8] = static_cast<std::uint8_t>(bytes[x / 8] | 0x80 >> x % 8);
    }
    bits.insert(bits.end(), bytes.begin(), bytes.end());
  }
  return bits;
}

Bytes plainBits(const Bytes& levels, std::size_t width, std::size_t height, long number) {
  const auto columns = static_cast<int>(width);
  return packed(
      plain::Halftone(plain::RowsFromBytes(levels, columns, static_cast<int>(height), columns),
                      number),
      width);
}

// The bits of one level's loop; both buffers end with the last pixel, and bits begin as ones.
Bytes bitsAt(KernelLevel level, DiffusionMethod method, const Bytes& levels, std::size_t width,
             std::size_t height) {
  const std::size_t stride = (width + 7) / 8;
  Bytes bits(stride * height, 0xFF);
  Bytes scratch(diffusionScratch(width), 0xA5);
  diffusionLoop(level)({method, levels.data(), width, bits.data(), stride, width, height},
                       scratch.data());
  return bits;
}

// Levels in rows with gaps between them and room for a block of rows behind them. All of that must
// keep its value when the levels become dots where they are.
constexpr std::size_t kGap = 3;
constexpr std::uint8_t kUntouched = 0x5A;

Bytes withGaps(const Bytes& bytes, std::size_t width, std::size_t height) {
  Bytes rows((width + kGap) * (height + 32), kUntouched);
  for (std::size_t y = 0; y < height; ++y) {
    std::memcpy(&rows[y * (width + kGap)], &bytes[y * width], width);
  }
  return rows;
}

Bytes unpacked(const Bytes& bits, std::size_t width, std::size_t height) {
  Bytes dots;
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      dots.push_back(bits[y * ((width + 7) / 8) + x / 8] >> (7 - x % 8) & 1);
    }
  }
  return dots;
}

Bytes bytesInPlaceAt(KernelLevel level, DiffusionMethod method, Bytes page, std::size_t width,
                     std::size_t height) {
  Bytes scratch(diffusionScratch(width), 0xA5);
  const std::size_t stride = width + kGap;
  diffusionLoop(level)({method, page.data(), stride, page.data(), stride, width, height, true},
                       scratch.data());
  return page;
}

void expectPlainBits(PageKind kind, std::size_t width, std::size_t height) {
  const Bytes levels = makeLevels(kind, width, height);
  for (const Method& method : kMethods) {
    const Bytes wanted = plainBits(levels, width, height, method.number);
    const Bytes wantedBytes = withGaps(unpacked(wanted, width, height), width, height);
    const Bytes grey = withGaps(levels, width, height);
    for (const KernelLevel level : kernelLevels()) {
      SCOPED_TRACE(std::string(kernelLevelName(level)) + ", method " +
                   std::to_string(method.number) + ", " + testing_support::nameOf(kind) + ", " +
                   std::to_string(width) + " x " + std::to_string(height));
      ASSERT_EQ(wanted, bitsAt(level, method.method, levels, width, height));
      ASSERT_TRUE(wantedBytes == bytesInPlaceAt(level, method.method, grey, width, height))
          << "as bytes in place";
    }
  }
}

// Around the lanes of a vector (16, 32), a block of rows (4, 13 to 15, 29 to 31), a byte of dots.
constexpr std::size_t kWidths[] = {1,  2,  3,  4,  5,  6,  7,  8,   9,   15, 16,
                                   17, 31, 32, 33, 63, 65, 79, 127, 251, 832};
constexpr std::size_t kHeights[] = {1,  2,  3,  4,  5,  7,  8,  9,  11, 12, 13,
                                    14, 15, 16, 17, 29, 30, 31, 32, 33, 61, 67};

TEST(Diffusion, MatchesThePlainVersionOnNoiseOfAllSizes) {
  for (const std::size_t width : kWidths) {
    for (const std::size_t height : kHeights) {
      expectPlainBits(PageKind::kRandom, width, height);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(Diffusion, MatchesThePlainVersionWhereNearlyEveryDotClamps) {
  for (const std::size_t width : kWidths) {
    for (const std::size_t height : kHeights) {
      expectPlainBits(PageKind::kExtremes, width, height);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(Diffusion, MatchesThePlainVersionOnEveryKindOfPage) {
  for (const PageKind kind : kPageKinds) {
    for (const std::size_t width : {1U, 3U, 9U, 33U, 251U}) {
      for (const std::size_t height : {1U, 3U, 17U, 31U, 97U}) {
        expectPlainBits(kind, width, height);
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(Diffusion, MatchesThePlainVersionWhereChunksOfARowEnd) {
  // The level `plain` goes through rows in chunks of equal size, whole bytes of dots, at most 128
  // columns: as few chunks as that gives, but no fewer than eight where a row has as many bytes. So
  // beyond 64, 512 and 1024 columns chunks are no longer 8, 64 and 128 columns, but 16, 72 and 120
  // (nine of them); the last one has a single column at 449 = 7 * 64 + 1 and 1921 = 15 * 128 + 1.
  // Four rows go side by side. Chunks of the fast levels are 32 columns.
  constexpr std::size_t kEnds[] = {63,  64,  65,  66,   67,   127,  128,  129,  191,  192, 193,
                                   447, 448, 449, 450,  451,  511,  512,  513,  575,  576, 577,
                                   895, 896, 897, 1023, 1024, 1025, 1027, 1919, 1920, 1921};
  for (const PageKind kind : {PageKind::kRandom, PageKind::kExtremes, PageKind::kNearTies}) {
    for (const std::size_t width : kEnds) {
      for (const std::size_t height : {1U, 3U, 4U, 5U, 7U, 8U, 9U, 12U, 13U}) {
        expectPlainBits(kind, width, height);
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(Diffusion, MatchesThePlainVersionOnLongAndWidePages) {
  expectPlainBits(PageKind::kNearTies, 1, 2003);
  expectPlainBits(PageKind::kRandom, 3, 2003);
  expectPlainBits(PageKind::kRandom, 5003, 1);
  expectPlainBits(PageKind::kNearTies, 5003, 3);
  expectPlainBits(PageKind::kGradient, 2480, 100);
}

TEST(Diffusion, ReadsAndWritesNothingBetweenRows) {
  // Rows of 45 levels 53 bytes apart and of 6 bytes of bits 11 bytes apart. What lies between is
  // 255 at first, then 0: the dots must be the same, and the gaps of the bits stay.
  constexpr std::size_t kWidth = 45;
  constexpr std::size_t kHeight = 40;
  constexpr std::size_t kStride = 53;
  constexpr std::size_t kBitStride = 11;
  constexpr std::size_t kUsed = (kWidth + 7) / 8;
  const Bytes levels = makeLevels(PageKind::kRandom, kWidth, kHeight);
  for (const Method& method : kMethods) {
    const Bytes wanted = plainBits(levels, kWidth, kHeight, method.number);
    for (const KernelLevel level : kernelLevels()) {
      for (const std::uint8_t gap : {std::uint8_t{255}, std::uint8_t{0}}) {
        Bytes grey(kStride * kHeight, gap);
        for (std::size_t y = 0; y < kHeight; ++y) {
          std::memcpy(&grey[y * kStride], &levels[y * kWidth], kWidth);
        }
        const Bytes before = grey;
        Bytes bits(kBitStride * kHeight, 0x5A);
        Bytes scratch(diffusionScratch(kWidth), gap);
        diffusionLoop(level)(
            {method.method, grey.data(), kStride, bits.data(), kBitStride, kWidth, kHeight},
            scratch.data());
        EXPECT_EQ(before, grey);
        for (std::size_t y = 0; y < kHeight; ++y) {
          for (std::size_t i = 0; i < kBitStride; ++i) {
            ASSERT_EQ(i < kUsed ? wanted[y * kUsed + i] : 0x5A, bits[y * kBitStride + i])
                << kernelLevelName(level) << ", method " << method.number << ", row " << y
                << ", byte " << i;
          }
        }
      }
    }
  }
}

TEST(Diffusion, WritesNoRowBelowThePage) {
  // Blocks are 13 to 15 or 29 to 31 rows; of a page's last block mostly only a part is there. Room
  // for a whole block more lies behind the page and must keep its value.
  constexpr std::size_t kWidth = 45;
  constexpr std::size_t kBitStride = (kWidth + 7) / 8;
  constexpr std::size_t kBehind = 32 * kBitStride;
  for (std::size_t height = 1; height <= 33; ++height) {
    const Bytes levels = makeLevels(PageKind::kRandom, kWidth, height);
    for (const Method& method : kMethods) {
      for (const KernelLevel level : kernelLevels()) {
        Bytes bits(kBitStride * height + kBehind, 0x5A);
        Bytes scratch(diffusionScratch(kWidth));
        diffusionLoop(level)(
            {method.method, levels.data(), kWidth, bits.data(), kBitStride, kWidth, height},
            scratch.data());
        bits.erase(bits.begin(), bits.end() - static_cast<std::ptrdiff_t>(kBehind));
        ASSERT_EQ(Bytes(kBehind, 0x5A), bits)
            << kernelLevelName(level) << ", method " << method.number << ", " << height << " rows";
      }
    }
  }
}

TEST(Diffusion, LeavesAPageWithoutPixelsAlone) {
  for (const KernelLevel level : kernelLevels()) {
    for (const Method& method : kMethods) {
      std::uint8_t grey = 200;
      std::uint8_t bits = 0x5A;
      Bytes scratch(diffusionScratch(1));
      diffusionLoop(level)({method.method, &grey, 1, &bits, 1, 0, 1}, scratch.data());
      diffusionLoop(level)({method.method, &grey, 1, &bits, 1, 1, 0}, scratch.data());
      EXPECT_EQ(0x5A, bits);
    }
  }
}

TEST(Diffusion, StaysWithinItsScratch) {
  // The memory behind the scratch is the buffer's own and must keep its value.
  for (const std::size_t width : {1U, 7U, 64U, 129U, 832U, 2480U}) {
    const Bytes levels = makeLevels(PageKind::kRandom, width, 70);
    for (const Method& method : kMethods) {
      for (const KernelLevel level : kernelLevels()) {
        const std::size_t size = diffusionScratch(width);
        Bytes scratch(size + 4096, 0xC3);
        Bytes bits((width + 7) / 8 * 70);
        diffusionLoop(level)(
            {method.method, levels.data(), width, bits.data(), (width + 7) / 8, width, 70},
            scratch.data());
        const Bytes behind(scratch.begin() + static_cast<std::ptrdiff_t>(size), scratch.end());
        EXPECT_EQ(Bytes(4096, 0xC3), behind) << kernelLevelName(level) << ", width " << width;
      }
    }
  }
}

// What a level's own loop says of itself: its rows side by side, those of the fast ones as many as
// the bytes of the vectors they were compiled for.
std::size_t rowsSideBySide(KernelLevel level) {
  switch (level) {
    case KernelLevel::kPlain:
      return 4;
    case KernelLevel::kBaseline:
      return 16;
    case KernelLevel::kAvx2:
      return 32;
  }
  return 0;
}

TEST(Diffusion, RunsALoopOfItsOwnAtEachLevel) {
  const std::vector<KernelLevel> levels = kernelLevels();
  for (const KernelLevel a : levels) {
    for (const KernelLevel b : levels) {
      if (a != b) {
        EXPECT_NE(diffusionLoop(a), diffusionLoop(b));
      }
    }
  }
}

TEST(Diffusion, RunsTheLoopOfTheLevelThatIsForced) {
  const KernelLevel former = kernelLevel();
  const Bytes grey = {200, 100};
  for (const KernelLevel level : kernelLevels()) {
    forceKernelLevel(level);
    for (const Method& method : kMethods) {
      std::uint8_t bits = 0;
      // 200 prints white and owes -55: of that 100 loses a part and stays black.
      EXPECT_EQ(rowsSideBySide(level), diffuse({method.method, grey.data(), 2, &bits, 1, 2, 1}))
          << kernelLevelName(level);
      EXPECT_EQ(0x80, bits) << kernelLevelName(level);
    }
  }
  forceKernelLevel(former);
}

}  // namespace
}  // namespace kestra
