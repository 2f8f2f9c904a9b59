// The stencil chain's error diffusion: dots that cling to dots already printed.
#include <cstddef>
#include <vector>

#include "imaging/tattoo/tattoo_dithering.h"

namespace kestra {
namespace {

constexpr unsigned char kWhite = 255;
constexpr unsigned char kBlack = 0;
constexpr float kWhiteLevel = 255.0F;

// What a white dot is charged less for each black neighbour that is already decided.
constexpr float kNeighbourRelief = 0.1427F;

struct Tap {
  int dx;
  int dy;
  float weight;
};

constexpr Tap kTaps[] = {{1, 0, 0.505786F},  {2, 0, -0.052926F}, {-2, 1, 0.226194F},
                         {-1, 1, 0.128835F}, {0, 1, 0.243191F},  {1, 1, -0.111078F}};

}  // namespace

QMImage edf_cus(const QMImage& grey, int threshold) {
  const int width = grey.width;
  const int height = grey.height;
  QMImage out(width, height, QM_IMG_GRAY);
  std::vector<float> errors(out.size(), 0.0F);
  const auto level = static_cast<float>(threshold);

  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::size_t i = static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                            static_cast<std::size_t>(x);
      const float v = errors[i] + static_cast<float>(grey.data[i]);
      float e = v;
      if (v > level) {
        out.data[i] = kWhite;
        float relief = 0.0F;
        if (y >= 1 && x >= 1 && y < height - 1 && x < width - 1) {
          if (out.data[i - 1] == kBlack) relief += kNeighbourRelief;
          if (out.data[i - static_cast<std::size_t>(width)] == kBlack) relief += kNeighbourRelief;
        }
        const float charge = kWhiteLevel * (1.0F - relief);
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
