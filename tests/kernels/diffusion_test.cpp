// Tests error diffusion in every version against the plain filter's, dot by dot.
// Why: the fast loops print many rows at once, and must not differ in a single dot of any page.
#include "imaging/kernels/diffusion.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "tests/kernels/versions.h"
#include "tests/plain/halftone.h"
#include "tests/support/grey_pages.h"

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

constexpr Method kMethods[] = {{DiffusionMethod::kBurkes, 2},
                               {DiffusionMethod::kStucki, 3},
                               {DiffusionMethod::kJarvisJudiceNinke, 4},
                               {DiffusionMethod::kSierra, 5},
                               {DiffusionMethod::kStevensonArce, 6},
                               {DiffusionMethod::kFloydSteinberg, 8}};

// Rows with a gap of 255 or 0 behind each, and room for a block of rows behind the last. All of
// that must neither print nor change.
Bytes withGaps(const Bytes& bytes, std::size_t width, std::size_t gap, std::uint8_t fill) {
  Bytes rows;
  for (std::size_t at = 0; at < bytes.size(); at += width) {
    rows.insert(rows.end(), &bytes[at], &bytes[at] + width);
    rows.insert(rows.end(), gap, fill);
  }
  rows.insert(rows.end(), gap == 0 ? 0 : 32 * (width + gap), fill);
  return rows;
}

void expectPlainDots(PageKind kind, std::size_t width, std::size_t height) {
  const Bytes levels = makeLevels(kind, width, height);
  for (const Method& method : kMethods) {
    const Bytes wanted = plain::halftone(levels, width, height, method.number);
    // Without a gap the memory ends with the last pixel.
    for (const auto& [gap, fill] : {std::pair{0, 0}, std::pair{3, 255}, std::pair{8, 0}}) {
      const auto space = static_cast<std::size_t>(gap);
      const auto between = static_cast<std::uint8_t>(fill);
      inEveryVersion([&, gapOfRows = space] {
        Bytes page = withGaps(levels, width, gapOfRows, between);
        diffuse({method.method, page.data(), width + gapOfRows, width, height});
        ASSERT_TRUE(withGaps(wanted, width, gapOfRows, between) == page)
            << "method " << method.number << ", " << testing_support::nameOf(kind) << ", " << width
            << " x " << height << ", gaps of " << gapOfRows;
      });
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

using Sizes = std::initializer_list<std::size_t>;

void expectPlainDots(PageKind kind, const Sizes& widths, const Sizes& heights) {
  for (const std::size_t width : widths) {
    for (const std::size_t height : heights) {
      expectPlainDots(kind, width, height);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

// Around the lanes of a vector (16, 32), a block of rows (13 to 15, 29 to 31), a chunk (64), and
// the rows below which there is no block (4).
constexpr Sizes kWidths = {1,  2,  3,  4,  5,  6,  7,  8,   9,   15,  16,
                           17, 31, 32, 33, 63, 65, 79, 127, 191, 251, 832};
constexpr Sizes kHeights = {1,  2,  3,  4,  5,  7,  8,  9,  11, 12, 13,
                            14, 15, 16, 17, 29, 30, 31, 32, 33, 61, 67};

std::vector<DiffusionLoop*> fastLoops() {
  std::vector<DiffusionLoop*> loops = {baseline::diffuse};
#if defined(__x86_64__)
  if (kernelVersions().back() == KernelVersion::kAvx2) loops.push_back(avx2::diffuse);
#endif
  return loops;
}

}  // namespace

TEST(Diffusion, MatchesThePlainVersionOnNoiseOfAllSizes) {
  expectPlainDots(PageKind::kRandom, kWidths, kHeights);
}

TEST(Diffusion, MatchesThePlainVersionWhereNearlyEveryDotClamps) {
  expectPlainDots(PageKind::kExtremes, kWidths, kHeights);
}

TEST(Diffusion, MatchesThePlainVersionOnEveryKindOfPage) {
  for (const PageKind kind : kPageKinds) {
    expectPlainDots(kind, {1, 3, 9, 33, 251}, {1, 3, 17, 31, 97});
  }
}

TEST(Diffusion, MatchesThePlainVersionOnLongAndWidePages) {
  expectPlainDots(PageKind::kNearTies, 1, 2003);
  expectPlainDots(PageKind::kRandom, 3, 2003);
  expectPlainDots(PageKind::kRandom, 5003, 1);
  expectPlainDots(PageKind::kNearTies, 5003, 3);
  expectPlainDots(PageKind::kNearTies, 1921, 5);
  expectPlainDots(PageKind::kGradient, 2480, 100);
}

TEST(Diffusion, LeavesAPageWithoutPixelsAlone) {
  for (const Method& method : kMethods) {
    inEveryVersion([&] {
      std::uint8_t level = 200;
      diffuse({method.method, &level, 1, 0, 40});
      diffuse({method.method, &level, 1, 1, 0});
      EXPECT_EQ(200, level);
    });
  }
}

TEST(Diffusion, FastVersionsTakeLowPagesToo) {
  // `diffuse` gives them to the rule; the loops are not to depend on that.
  for (std::size_t height = 0; height < kFewestRowsForScratch; ++height) {
    const Bytes levels = makeLevels(PageKind::kRandom, 45, height);
    for (const Method& method : kMethods) {
      for (DiffusionLoop* loop : fastLoops()) {
        Bytes page = levels;
        Bytes scratch(diffusionScratch(45), 0xA5);
        loop({method.method, page.data(), 45, 45, height}, scratch.data());
        EXPECT_EQ(plain::halftone(levels, 45, height, method.number), page) << height << " rows";
      }
    }
  }
}

TEST(Diffusion, StaysWithinItsScratchAndDependsOnNothingInIt) {
  // The memory behind the scratch is the buffer's own and must keep its value.
  for (const std::size_t width : {1U, 7U, 64U, 129U, 832U, 2480U}) {
    const Bytes levels = makeLevels(PageKind::kRandom, width, 70);
    for (const Method& method : kMethods) {
      for (DiffusionLoop* loop : fastLoops()) {
        Bytes first;
        for (const std::uint8_t content : {std::uint8_t{0xA5}, std::uint8_t{0}}) {
          Bytes scratch(diffusionScratch(width), content);
          scratch.insert(scratch.end(), 4096, 0xC3);
          Bytes page = levels;
          loop({method.method, page.data(), width, width, 70}, scratch.data());
          EXPECT_EQ(Bytes(4096, 0xC3), Bytes(scratch.end() - 4096, scratch.end())) << width;
          if (first.empty()) first = page;
          EXPECT_EQ(first, page);
        }
      }
    }
  }
}

}  // namespace kestra
