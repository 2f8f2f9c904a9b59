// Tests that each loop runs the version that is chosen, and no other. This program brings stand-ins
// for all fast versions, which write down their names.
// Why: all versions print the same, so a fast one that never ran would show in nothing but time.
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "imaging/kernels/cpu.h"
#include "imaging/kernels/diffusion.h"
#include "imaging/kernels/dots.h"
#include "imaging/kernels/gaussian.h"
#include "imaging/kernels/stencil_diffusion.h"
#include "imaging/kernels/subnormals.h"
#include "imaging/kernels/tones.h"
#include "tests/kernels/versions.h"

namespace kestra {
namespace {

std::vector<std::string> ran;
bool remainsCounted = false;

// Whether the half of the smallest normal number, computed now, is more than 0.
bool remainsCount() {
  volatile float smallest = std::numeric_limits<float>::min();
  volatile float half = smallest * 0.5F;
  return half > 0.0F;
}

}  // namespace
}  // namespace kestra

// The fast versions of this program: each only says that it ran.
#define KESTRA_VERSION baseline
#define KESTRA_VERSION_NAME "baseline "
#include "tests/kernels/stand_ins.h"
#if defined(__x86_64__)
#undef KESTRA_VERSION
#undef KESTRA_VERSION_NAME
#define KESTRA_VERSION avx2
#define KESTRA_VERSION_NAME "avx2 "
#include "tests/kernels/stand_ins.h"
#endif

namespace kestra {
namespace {

constexpr double kEven[kGaussianTaps] = {0, 0, 0, 0.2, 0.2, 0.2, 0.2, 0.2, 0, 0, 0};
constexpr double kSkew[kGaussianTaps] = {0, 0, 0.2, 0.2, 0.2, 0.2, 0.2, 0, 0, 0, 0};

void blur(const double* kernel, std::size_t count) {
  const unsigned char row[64] = {};
  std::array<const unsigned char*, kGaussianTaps> taps = {};
  taps.fill(row);
  unsigned char out[64];
  blurPixels(taps.data(), gaussianWeights(kernel), out, count);
}

void diffuseStencil(int height, float threshold) {
  std::vector<unsigned char> page(static_cast<std::size_t>(height) * 8);
  StencilDiffuser diffuser(8, height, threshold, page.data(), 8);
  for (int y = 0; y < height; ++y) {
    diffuser.nextRow();
    diffuser.finishRow();
  }
}

// The names of the loops that ran in `piece`, without the version's in front.
template <typename Piece>
std::vector<std::string> namesOf(const Piece& piece) {
  ran.clear();
  piece();
  const std::string version = std::string(kernelVersionName(kernelVersion())) + " ";
  std::vector<std::string> names;
  for (const std::string& name : ran) {
    EXPECT_EQ(name.substr(0, version.size()), version);
    names.push_back(name.substr(version.size()));
  }
  return names;
}

using Names = std::vector<std::string>;

}  // namespace

TEST(Choice, EachLoopRunsTheVersionThatIsForced) {
  inEveryVersion([] {
    const Names names = namesOf([] {
      std::uint8_t bytes[64] = {};
      std::uint32_t counts[256] = {};
      const std::uint8_t table[256] = {};
      packDots(bytes, 8, bytes);
      countDots(bytes, 8);
      ditherRow(bytes, 8, table, bytes);
      lookUpLevels(table, bytes, bytes, 8);
      reverseLevels(bytes, 8);
      countLevels(bytes, 8, counts);
      diffuse({DiffusionMethod::kBurkes, bytes, 8, 8, kFewestRowsForScratch});
      blur(kEven, kGaussianChunk);
      sharpenPixels(bytes, bytes, bytes, 8);
      diffuseStencil(kStencilBandRows, 1.0F);
    });
    const Names all = {"packDots",      "countDots",         "ditherRow", "lookUpLevels",
                       "reverseLevels", "countLevels",       "diffuse",   "blurPixels",
                       "sharpenPixels", "diffuseStencilBand"};
    EXPECT_EQ(names, kernelVersion() == KernelVersion::kPlain ? Names{} : all);
  });
}

TEST(Choice, PagesAndRowsTooSmallForAFastVersionAreTheRules) {
  inEveryVersion([] {
    EXPECT_EQ(namesOf([] {
                std::uint8_t bytes[64] = {};
                diffuse({DiffusionMethod::kBurkes, bytes, 8, 8, kFewestRowsForScratch - 1});
                blur(kEven, kGaussianChunk - 1);
                blur(kSkew, kGaussianChunk);
                diffuseStencil(kStencilBandRows - 1, 1.0F);
              }),
              Names{});
  });
}

TEST(Choice, AStencilOfThirtyFiveRowsIsThreeBands) {
  const ForcedVersion forced(KernelVersion::kBaseline);
  EXPECT_EQ(namesOf([] { diffuseStencil(35, 1.0F); }).size(), 3U);
}

TEST(Choice, RemainsOfStencilsCountAtThresholdZeroAndAtNoOther) {
  // A remain above 0 is white at threshold 0, and nowhere else can it be seen.
  const ForcedVersion forced(KernelVersion::kBaseline);
  for (const float threshold : {-300.0F, -1.0F, 0.0F, 1.0F, 128.0F, 255.0F}) {
    diffuseStencil(kStencilBandRows, threshold);
    const bool wanted = threshold == 0.0F || !SubnormalsAsZero::isAvailable();
    EXPECT_EQ(remainsCounted, wanted) << threshold;
  }
}

TEST(Choice, AForcedVersionThatTheProcessorLacksIsItsBest) {
  const ForcedVersion forced(KernelVersion::kAvx2);
  EXPECT_EQ(kernelVersion(), kernelVersions().back());
}

}  // namespace kestra
