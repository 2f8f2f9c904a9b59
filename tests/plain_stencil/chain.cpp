// The last step of a stencil page and the order of all steps.
// Why: the error grid is written out as a grid, so that edges and dropped shares can be seen.
#include "tests/plain_stencil/chain.h"

#include <cstddef>

#include "tests/plain_stencil/sharpen.h"

namespace kestra::plain_stencil {

namespace {

struct Share {
  int right;
  int down;
  float weight;
};

constexpr Share kShares[] = {
    {1, 0, 0.505786F},  {2, 0, -0.052926F}, {-2, 1, 0.226194F},
    {-1, 1, 0.128835F}, {0, 1, 0.243191F},  {1, 1, -0.111078F},
};

Rows chain(const Rows& grey, bool kneeAtThreshold, float low, float high) {
  const int threshold = thresholdOf(grey).threshold;
  const int knee = kneeAtThreshold ? threshold : 64;
  const Rows toned = applyTable(grey, gammaTable(knee, low, high));
  const Rows sharp = unsharp(toned, 300.0F, 11);
  return diffuse(sharp, threshold);
}

}  // namespace

Rows diffuse(const Rows& grey, int threshold, Errors* errors) {
  const int height = static_cast<int>(grey.size());
  const int width = static_cast<int>(grey[0].size());
  Rows out = grey;
  Errors error(grey.size(), std::vector<float>(grey[0].size(), 0.0F));  // what a pixel is given
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) {
      const auto y = static_cast<std::size_t>(row);
      const auto x = static_cast<std::size_t>(column);
      const float v = error[y][x] + static_cast<float>(grey[y][x]);
      float e = v;
      if (v > static_cast<float>(threshold)) {
        out[y][x] = 255;
        float charge = 255.0F;
        const bool inside = row >= 1 && column >= 1 && row < height - 1 && column < width - 1;
        if (inside) {
          float relief = 0.0F;
          if (out[y][x - 1] == 0) relief = relief + 0.1427F;
          if (out[y - 1][x] == 0) relief = relief + 0.1427F;
          const float left = 1.0F - relief;
          charge = 255.0F * left;
        }
        e = v - charge;
      } else {
        out[y][x] = 0;
      }
      error[y][x] = e;  // from here on what it passes on
      for (const Share& share : kShares) {
        const int toColumn = column + share.right;
        const int toRow = row + share.down;
        if (toColumn < 0 || toColumn >= width || toRow >= height) continue;
        const float part = e * share.weight;
        float& target = error[static_cast<std::size_t>(toRow)][static_cast<std::size_t>(toColumn)];
        target = target + part;
      }
    }
  }
  if (errors != nullptr) *errors = error;
  return out;
}

Rows tattoo(const Rows& grey) { return chain(grey, false, 0.85F, 0.7F); }

Rows tattooV7(const Rows& grey) { return chain(grey, true, 0.5F, 1.5F); }

}  // namespace kestra::plain_stencil
