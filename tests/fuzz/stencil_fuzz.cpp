// A page through both stencil chains, step by step and row by row in each version of the loops, and
// through their error diffusion at any threshold, against the plain version.
// Why: single-precision sums decide these dots, and a faster order of them would change a few.
#include <algorithm>

#include "imaging/kernels/stencil_diffusion.h"
#include "imaging/tattoo/tattoo_dithering.h"
#include "tests/fuzz/byte_source.h"
#include "tests/fuzz/pixels.h"
#include "tests/fuzz/require.h"
#include "tests/kernels/versions.h"
#include "tests/plain_stencil/chain.h"

namespace kestra::fuzz {
namespace {

void requireSame(const unsigned char* dots, const plain::Rows& expected, const char* what) {
  for (const std::vector<int>& row : expected) {
    for (const int dot : row) {
      require(*dots++ == dot, std::string("the dots of the plain version from ") + what +
                                  " in version " + kernelVersionName(kernelVersion()));
    }
  }
}

void runChains(ByteSource* source) {
  const int threshold = static_cast<int>(source->below(257)) - 1;
  const int width = source->word() % 200 + 1;
  const int height = source->word() % 80 + 1;
  std::vector<std::uint8_t> pixels =
      makePixels(source, static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  const plain::Rows grey = plain::rowsFromBytes(pixels, width, height, width);
  const plain::Rows tattoo = plain_stencil::tattoo(grey);
  const plain::Rows tattooV7 = plain_stencil::tattooV7(grey);
  const plain::Rows diffused = plain_stencil::diffuse(grey, threshold);
  QMImage page(width, height, QM_IMG_GRAY, pixels.data());
  requireSame(qmTattooDithering(page).data, tattoo, "Tattoo step by step");
  requireSame(qmTattooDitheringV7(page).data, tattooV7, "Tattoo_V7 step by step");
  requireSame(edf_cus(page, threshold).data, diffused, "the rule of diffusion");
  for (const KernelVersion version : kernelVersions()) {
    const ForcedVersion forced(version);
    std::vector<unsigned char> out(pixels.size());
    const auto stride = static_cast<std::size_t>(width);
    ditherStencilPage(StencilKind::kTattoo, pixels.data(), width, height, out.data(), stride);
    requireSame(out.data(), tattoo, "Tattoo");
    ditherStencilPage(StencilKind::kTattooV7, pixels.data(), width, height, out.data(), stride);
    requireSame(out.data(), tattooV7, "Tattoo_V7");
    StencilDiffuser diffuser(width, height, static_cast<float>(threshold), out.data(), stride);
    for (auto row = pixels.begin(); row != pixels.end(); row += width) {
      std::copy(row, row + width, diffuser.nextRow());
      diffuser.finishRow();
    }
    requireSame(out.data(), diffused, "the diffusion");
  }
}

}  // namespace
}  // namespace kestra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kestra::fuzz::ByteSource source(data, size);
  kestra::fuzz::runChains(&source);
  return 0;
}
