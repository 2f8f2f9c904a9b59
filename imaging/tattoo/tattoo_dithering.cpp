// Chains the steps of the stencil halftones; the last one is an error diffusion whose dots cling to
// dots already printed.
#include "imaging/tattoo/tattoo_dithering.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "imaging/kernels/gaussian.h"
#include "imaging/kernels/stencil_diffusion.h"
#include "imaging/tattoo/grey.h"
#include "imaging/tattoo/sharpen.h"
#include "imaging/tattoo/unsharp_rows.h"

namespace kestra {
namespace {

constexpr unsigned char kWhite = 255;
constexpr unsigned char kBlack = 0;

constexpr float kUnsharpAmount = 300.0F;
constexpr int kUnsharpTaps = kGaussianTaps;

struct Tap {
  int dx;
  int dy;
  float weight;
};

constexpr Tap kTaps[] = {
    {1, 0, kStencilRight},      {2, 0, kStencilSecondRight}, {-2, 1, kStencilBelowSecondLeft},
    {-1, 1, kStencilBelowLeft}, {0, 1, kStencilBelow},       {1, 1, kStencilBelowRight}};

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

// Pixel by pixel, with the errors of the whole page.
QMImage edf_cus(const QMImage& grey, int threshold) {
  const auto least = static_cast<float>(threshold);
  const int width = grey.width;
  const int height = grey.height;
  QMImage out(width, height, QM_IMG_GRAY);
  std::vector<float> errors(out.size(), 0.0F);

  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::size_t i = static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                            static_cast<std::size_t>(x);
      const float v = errors[i] + static_cast<float>(grey.data[i]);
      float e = v;
      if (v > least) {
        out.data[i] = kWhite;
        float relief = 0.0F;
        if (y >= 1 && x >= 1 && y < height - 1 && x < width - 1) {
          if (out.data[i - 1] == kBlack) relief += kStencilRelief;
          if (out.data[i - static_cast<std::size_t>(width)] == kBlack) relief += kStencilRelief;
        }
        const float charge = kStencilCharge * (1.0F - relief);
        e = v - charge;
      }
      for (const Tap& tap : kTaps) {
        if (!isWithinBounds(x + tap.dx, y + tap.dy, width, height)) continue;
        const std::size_t target =
            static_cast<std::size_t>(y + tap.dy) * static_cast<std::size_t>(width) +
            static_cast<std::size_t>(x + tap.dx);
        const float share = e * tap.weight;
        errors[target] += share;
      }
    }
  }
  return out;
}

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
