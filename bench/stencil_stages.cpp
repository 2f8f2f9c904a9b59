// Stages of the stencil chain, each on what the stage before it gives for the page.
#include <array>
#include <numeric>

#include "bench/stages.h"
#include "imaging/kernels/gaussian.h"
#include "imaging/kernels/level.h"
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
constexpr float kUnsharpAmount = 300.0F;
constexpr int kUnsharpTaps = 11;

QMImage greyImage(const std::vector<std::uint8_t>& page) {
  return {static_cast<int>(kA4Width), static_cast<int>(kA4Height), QM_IMG_GRAY, page.data()};
}

void momentsThreshold(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  const QMImage grey = greyImage(page);
  while (state.KeepRunning()) benchmark::DoNotOptimize(thresh_global_moments(grey));
}

// Goes on with what the round before left, whose levels do not change the time of a table.
void gamma(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  QMImage grey = greyImage(page);
  while (state.KeepRunning()) {
    enh_piecewise_gamma(grey, kKnee, kLowGamma, kHighGamma);
    benchmark::DoNotOptimize(grey.data);
    benchmark::ClobberMemory();
  }
}

// Row by row, as a stencil page is made; at the plain level step by step over the whole page.
void unsharpMask(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  QMImage grey = greyImage(page);
  enh_piecewise_gamma(grey, kKnee, kLowGamma, kHighGamma);
  if (kernelLevel() == KernelLevel::kPlain) {
    while (state.KeepRunning()) {
      const QMImage sharp = enh_unsharp_mask(grey, kUnsharpAmount, kUnsharpTaps);
      benchmark::DoNotOptimize(sharp.data);
    }
    return;
  }
  double kernel[kUnsharpTaps];
  generateGaussianKernel1D(kUnsharpTaps, kUnsharpSigma, kernel);
  GaussianWeights weights;
  if (!makeGaussianWeights(kernel, weights)) state.SkipWithError("no weights");
  std::array<std::uint8_t, 256> same = {};
  std::iota(same.begin(), same.end(), std::uint8_t{0});
  std::vector<unsigned char> sharp(page.size());
  while (state.KeepRunning()) {
    UnsharpRows rows(grey.data, grey.width, grey.height, same.data(), weights);
    for (std::size_t y = 0; y < kA4Height; ++y) rows.nextRow(sharp.data() + y * kA4Width);
    benchmark::DoNotOptimize(sharp.data());
    benchmark::ClobberMemory();
  }
}

void diffuse(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  QMImage grey = greyImage(page);
  const int threshold = thresh_global_moments(grey);
  enh_piecewise_gamma(grey, kKnee, kLowGamma, kHighGamma);
  const QMImage sharp = enh_unsharp_mask(grey, kUnsharpAmount, kUnsharpTaps);
  while (state.KeepRunning()) {
    const QMImage dots = edf_cus(sharp, threshold);
    benchmark::DoNotOptimize(dots.data);
  }
}

template <QMImage (*halftone)(QMImage&)>
void wholeChain(benchmark::State& state, const std::vector<std::uint8_t>& page) {
  QMImage grey = greyImage(page);
  while (state.KeepRunning()) {
    const QMImage dots = halftone(grey);
    benchmark::DoNotOptimize(dots.data);
  }
}

}  // namespace

void registerStencilStages() {
  registerStage("histogram and threshold", {"photo", "blank"}, momentsThreshold);
  registerStage("gamma", {"photo"}, gamma);
  registerStage("Gaussian and unsharp", {"photo", "text"}, unsharpMask);
  registerStage("float diffusion", pageKinds(), diffuse);
  registerStage("Tattoo chain", {"photo"}, wholeChain<qmTattooDithering>);
  registerStage("Tattoo_V7 chain", {"photo"}, wholeChain<qmTattooDitheringV7>);
}

}  // namespace kestra::bench
