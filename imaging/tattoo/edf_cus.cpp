// The stencil chain's error diffusion: dots that cling to dots already printed.
#include <cstddef>
#include <vector>

#include "imaging/kernels/stencil_diffusion.h"
#include "imaging/tattoo/tattoo_dithering.h"

namespace kestra {
namespace {

constexpr unsigned char kWhite = 255;
constexpr unsigned char kBlack = 0;

struct Tap {
  int dx;
  int dy;
  float weight;
};

constexpr Tap kTaps[] = {
    {1, 0, kStencilRight},      {2, 0, kStencilSecondRight}, {-2, 1, kStencilBelowSecondLeft},
    {-1, 1, kStencilBelowLeft}, {0, 1, kStencilBelow},       {1, 1, kStencilBelowRight}};

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

}  // namespace kestra
