// Stages of the stencil chain, each on what the stage before it gives for the page.
#include <array>
#include <cstring>
#include <numeric>

#include "bench/stages.h"
#include "imaging/kernels/gaussian.h"
#include "imaging/kernels/stencil_diffusion.h"
#include "imaging/kernels/tones.h"
#include "imaging/tattoo/grey.h"
#include "imaging/tattoo/sharpen.h"
#include "imaging/tattoo/tattoo_dithering.h"
#include "imaging/tattoo/unsharp_rows.h"

namespace kestra::bench {
namespace {

// The numbers of the halftone "Tattoo".
constexpr int kKnee = 64;
constexpr float kLowGamma = 0.85F;
constexpr float kHighGamma = 0.7F;

constexpr auto kWidth = static_cast<int>(kA4Width);
constexpr auto kHeight = static_cast<int>(kA4Height);

using Table = std::array<std::uint8_t, 256>;

void momentsThreshold(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  const auto count = static_cast<std::uint32_t>(page.size());
  while (state.KeepRunning()) benchmark::DoNotOptimize(momentThreshold(page.data(), count));
}

void tone(std::vector<std::uint8_t>& grey) {
  const Table table = piecewiseGammaTable(kKnee, kLowGamma, kHighGamma);
  lookUpLevels(table.data(), grey.data(), grey.data(), grey.size());
}

// Goes on with what the round before left, whose levels do not change the time of a table.
void gamma(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  std::vector<std::uint8_t> grey = page;
  while (state.KeepRunning()) {
    tone(grey);
    benchmark::DoNotOptimize(grey.data());
    benchmark::ClobberMemory();
  }
}

// Sharpens the page row by row, as a stencil page is made.
void sharpen(const std::vector<std::uint8_t>& grey, std::vector<std::uint8_t>& sharp) {
  double kernel[kGaussianTaps];
  generateGaussianKernel1D(kGaussianTaps, kUnsharpSigma, kernel);
  Table same = {};
  std::iota(same.begin(), same.end(), std::uint8_t{0});
  UnsharpRows rows(grey.data(), kWidth, kHeight, same.data(), gaussianWeights(kernel));
  for (std::size_t y = 0; y < kA4Height; ++y) rows.nextRow(sharp.data() + y * kA4Width);
}

void unsharpMask(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  std::vector<std::uint8_t> grey = page;
  tone(grey);
  std::vector<std::uint8_t> sharp(page.size());
  while (state.KeepRunning()) {
    sharpen(grey, sharp);
    benchmark::DoNotOptimize(sharp.data());
    benchmark::ClobberMemory();
  }
}

void diffuse(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  const auto threshold =
      static_cast<float>(momentThreshold(page.data(), static_cast<std::uint32_t>(page.size())));
  std::vector<std::uint8_t> grey = page;
  tone(grey);
  std::vector<std::uint8_t> sharp(page.size());
  sharpen(grey, sharp);
  std::vector<std::uint8_t> dots(sharp.size());
  while (state.KeepRunning()) {
    StencilDiffuser diffuser(kWidth, kHeight, threshold, dots.data(), kA4Width);
    for (std::size_t y = 0; y < kA4Height; ++y) {
      std::memcpy(diffuser.nextRow(), sharp.data() + y * kA4Width, kA4Width);
      diffuser.finishRow();
    }
    benchmark::DoNotOptimize(dots.data());
    benchmark::ClobberMemory();
  }
}

template <StencilKind kKind>
void wholeChain(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  std::vector<std::uint8_t> dots(page.size());
  while (state.KeepRunning()) {
    ditherStencilPage(kKind, page.data(), kWidth, kHeight, dots.data(), kA4Width);
    benchmark::DoNotOptimize(dots.data());
    benchmark::ClobberMemory();
  }
}

}  // namespace

void registerStencilStages() {
  registerStage("histogram and threshold", {"photo", "blank"}, momentsThreshold);
  registerStage("gamma", {"photo"}, gamma);
  registerStage("Gaussian and unsharp", {"photo", "text"}, unsharpMask);
  registerStage("float diffusion", pageKinds(), diffuse);
  registerStage("Tattoo chain", {"photo"}, wholeChain<StencilKind::kTattoo>);
  registerStage("Tattoo_V7 chain", {"photo"}, wholeChain<StencilKind::kTattooV7>);
}

}  // namespace kestra::bench
