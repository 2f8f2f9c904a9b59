// Chains the steps of the stencil halftones.
#include "imaging/tattoo/tattoo_dithering.h"

#include <array>
#include <cstdint>

#include "imaging/kernels/gaussian.h"
#include "imaging/kernels/stencil_diffusion.h"
#include "imaging/tattoo/grey.h"
#include "imaging/tattoo/sharpen.h"
#include "imaging/tattoo/unsharp_rows.h"

namespace kestra {
namespace {

constexpr float kUnsharpAmount = 300.0F;
constexpr int kUnsharpTaps = kGaussianTaps;

// What tells the two halftones apart.
struct Tone {
  bool kneeIsThreshold;
  int knee;
  float lowGamma;
  float highGamma;
};

constexpr Tone kTattoo = {false, 64, 0.85F, 0.7F};
constexpr Tone kTattooV7 = {true, 0, 0.5F, 1.5F};

bool hasPixels(const QMImage& image) {
  const std::uint32_t product =
      static_cast<std::uint32_t>(image.width) * static_cast<std::uint32_t>(image.height);
  return static_cast<std::int32_t>(product) > 0;
}

// Step by step over the whole page, as the rule is told.
QMImage stencil(const QMImage& image, const Tone& tone) {
  if (!hasPixels(image)) return image;
  // Two negative sides have a positive product, but no row to be printed.
  if (image.width < 0) return QMImage(image.width, image.height, QM_IMG_GRAY);
  QMImage grey = cvtGray(image);
  // The threshold of the page before its tone changes serves the diffusion after it.
  const int threshold = thresh_global_moments(grey);
  enh_piecewise_gamma(grey, tone.kneeIsThreshold ? threshold : tone.knee, tone.lowGamma,
                      tone.highGamma);
  const QMImage sharp = enh_unsharp_mask(grey, kUnsharpAmount, kUnsharpTaps);
  return edf_cus(sharp, threshold);
}

}  // namespace

QMImage qmTattooDithering(QMImage& image) { return stencil(image, kTattoo); }

QMImage qmTattooDitheringV7(QMImage& image) { return stencil(image, kTattooV7); }

// The same steps row by row: no copy of the page between them.
void ditherStencilPage(StencilKind kind, const unsigned char* grey, int width, int height,
                       unsigned char* out, std::size_t stride) {
  const Tone& tone = kind == StencilKind::kTattooV7 ? kTattooV7 : kTattoo;
  const std::uint32_t count =
      static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(height);
  const int threshold = momentThreshold(grey, count);
  const std::array<std::uint8_t, 256> table = piecewiseGammaTable(
      tone.kneeIsThreshold ? threshold : tone.knee, tone.lowGamma, tone.highGamma);
  double kernel[kUnsharpTaps];
  generateGaussianKernel1D(kUnsharpTaps, kUnsharpSigma, kernel);
  UnsharpRows sharp(grey, width, height, table.data(), gaussianWeights(kernel));
  StencilDiffuser diffuser(width, height, static_cast<float>(threshold), out, stride);
  for (int y = 0; y < height; ++y) {
    sharp.nextRow(diffuser.nextRow());
    diffuser.finishRow();
  }
}

}  // namespace kestra
