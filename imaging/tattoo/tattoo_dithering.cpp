// Chains the steps of the stencil halftones.
#include "imaging/tattoo/tattoo_dithering.h"

#include <array>
#include <cstdint>
#include <cstring>

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

// Rows side by side take some 57 bytes a column. No head is nearly so wide; a page that claims to
// be, and is low, goes step by step in memory of its own size.
constexpr int kWidestBand = 1 << 20;

bool hasPixels(const QMImage& image) {
  const std::uint32_t product =
      static_cast<std::uint32_t>(image.width) * static_cast<std::uint32_t>(image.height);
  return static_cast<std::int32_t>(product) > 0;
}

// Step by step over the whole page, as the rule is told.
QMImage stencilBySteps(QMImage grey, const Tone& tone) {
  // The threshold of the page before its tone changes serves the diffusion after it.
  const int threshold = thresh_global_moments(grey);
  enh_piecewise_gamma(grey, tone.kneeIsThreshold ? threshold : tone.knee, tone.lowGamma,
                      tone.highGamma);
  const QMImage sharp = enh_unsharp_mask(grey, kUnsharpAmount, kUnsharpTaps);
  return edf_cus(sharp, threshold);
}

// The same steps row by row: no copy of the page between them.
void stencilByRows(const unsigned char* grey, int width, int height, const Tone& tone,
                   const GaussianWeights& weights, StencilBandKernel diffusion, unsigned char* out,
                   std::size_t stride) {
  const std::uint32_t count =
      static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(height);
  const int threshold = momentThreshold(grey, count);
  const std::array<std::uint8_t, 256> table = piecewiseGammaTable(
      tone.kneeIsThreshold ? threshold : tone.knee, tone.lowGamma, tone.highGamma);
  UnsharpRows sharp(grey, width, height, table.data(), weights);
  StencilDiffuser diffuser(width, height, static_cast<float>(threshold), diffusion);
  for (int y = 0; y < height; ++y) {
    sharp.nextRow(diffuser.nextRow());
    if (diffuser.isBandComplete()) diffuser.finishBand(out, stride);
  }
}

void stencilInto(const unsigned char* grey, int width, int height, const Tone& tone,
                 unsigned char* out, std::size_t stride) {
  double kernel[kUnsharpTaps];
  generateGaussianKernel1D(kUnsharpTaps, kUnsharpSigma, kernel);
  GaussianWeights weights;
  const StencilBandKernel diffusion =
      width > kWidestBand ? nullptr : stencilBandKernel(kernelLevel());
  if (diffusion != nullptr && makeGaussianWeights(kernel, weights)) {
    stencilByRows(grey, width, height, tone, weights, diffusion, out, stride);
    return;
  }
  const QMImage dots = stencilBySteps(QMImage(width, height, QM_IMG_GRAY, grey), tone);
  const auto rowBytes = static_cast<std::size_t>(width);
  for (int y = 0; y < height; ++y) {
    const auto row = static_cast<std::size_t>(y);
    std::memcpy(out + row * stride, dots.data + row * rowBytes, rowBytes);
  }
}

QMImage stencil(const QMImage& image, const Tone& tone) {
  if (!hasPixels(image)) return image;
  // Two negative sides have a positive product, but no row to be printed.
  if (image.width < 0) return QMImage(image.width, image.height, QM_IMG_GRAY);
  if (image.color != QM_IMG_GRAY || image.channels != 1) return stencil(cvtGray(image), tone);
  QMImage out(image.width, image.height, QM_IMG_GRAY);
  stencilInto(image.data, image.width, image.height, tone, out.data,
              static_cast<std::size_t>(image.width));
  return out;
}

}  // namespace

QMImage qmTattooDithering(QMImage& image) { return stencil(image, kTattoo); }

QMImage qmTattooDitheringV7(QMImage& image) { return stencil(image, kTattooV7); }

void ditherStencilPage(StencilKind kind, const unsigned char* grey, int width, int height,
                       unsigned char* out, std::size_t stride) {
  stencilInto(grey, width, height, kind == StencilKind::kTattooV7 ? kTattooV7 : kTattoo, out,
              stride);
}

}  // namespace kestra
