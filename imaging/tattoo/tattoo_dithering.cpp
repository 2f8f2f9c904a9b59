// Chains the steps of the stencil halftones.
#include "imaging/tattoo/tattoo_dithering.h"

#include <cstdint>

#include "imaging/tattoo/grey.h"
#include "imaging/tattoo/sharpen.h"

namespace kestra {
namespace {

constexpr float kUnsharpAmount = 300.0F;
constexpr int kUnsharpTaps = 11;

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

QMImage stencil(const QMImage& image, const Tone& tone) {
  if (!hasPixels(image)) return image;
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

}  // namespace kestra
