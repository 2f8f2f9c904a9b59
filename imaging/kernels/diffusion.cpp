// The rule of error diffusion, a pixel at a time, and the choice of a faster loop.
//
// The fast loops get their memory from here: what they allocate themselves could be shared between
// versions by a linker.
#include "imaging/kernels/diffusion.h"

#include <algorithm>
#include <memory>

#include "imaging/kernels/cpu.h"

namespace kestra {
namespace {

void diffusePlain(const DiffusionPage& page, std::uint8_t* /*scratch*/) {
  const DiffusionKernel& kernel = kDiffusionKernels[static_cast<std::size_t>(page.method)];
  const auto width = static_cast<std::ptrdiff_t>(page.width);
  const auto height = static_cast<std::ptrdiff_t>(page.height);
  const auto stride = static_cast<std::ptrdiff_t>(page.stride);
  for (std::ptrdiff_t y = 0; y < height; ++y) {
    std::uint8_t* row = page.levels + y * stride;
    for (std::ptrdiff_t x = 0; x < width; ++x) {
      const bool white = row[x] >= kFirstWhiteLevel;
      const int error = white ? row[x] - 255 : row[x];
      row[x] = white ? 1 : 0;
      for (std::size_t t = 0; t < kernel.tapCount; ++t) {
        const DiffusionTap& tap = kernel.taps[t];
        if (x + tap.dx < 0 || x + tap.dx >= width || y + tap.dy >= height) continue;
        std::uint8_t& level = row[tap.dy * stride + x + tap.dx];
        const int share = error * tap.weight / kernel.divisor;
        level = static_cast<std::uint8_t>(std::clamp(level + share, 0, 255));
      }
    }
  }
}

}  // namespace

void diffuse(const DiffusionPage& page) {
  if (page.height < kFewestRowsForScratch) {
    diffusePlain(page, nullptr);
    return;
  }
  // Not zeroed: the loops write before they read.
  const std::unique_ptr<std::uint8_t[]> scratch(new std::uint8_t[diffusionScratch(page.width)]);
  choose<diffusePlain, baseline::diffuse, avx2::diffuse>()(page, scratch.get());
}

}  // namespace kestra
