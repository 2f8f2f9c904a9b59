// Picks the diffusion loop of the processor's level and gives it its memory.
// The loops themselves own none: what they allocate could be shared between levels by a linker.
#include "imaging/kernels/diffusion.h"

#include <memory>

#include "imaging/kernels/diffusion_rows.h"

namespace kestra {

namespace baseline {
DiffusionLoop diffuseWavefront;
}
namespace avx2 {
DiffusionLoop diffuseWavefront;
}

DiffusionLoop* diffusionLoop(KernelLevel level) {
  switch (level) {
    case KernelLevel::kPlain:
      break;
    case KernelLevel::kBaseline:
      return baseline::diffuseWavefront;
    case KernelLevel::kAvx2:
#if defined(__x86_64__)
      return avx2::diffuseWavefront;
#else
      return baseline::diffuseWavefront;
#endif
  }
  return diffuseRows;
}

std::size_t diffuse(const DiffusionPage& page) {
  // Not zeroed: the loops write before they read.
  const std::unique_ptr<std::uint8_t[]> scratch(new std::uint8_t[diffusionScratch(page.width)]);
  return diffusionLoop(kernelLevel())(page, scratch.get());
}

}  // namespace kestra
