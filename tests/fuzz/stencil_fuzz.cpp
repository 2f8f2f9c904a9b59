// A page through both stencil chains, and through their error diffusion at any threshold, at each
// kernel level, against the plain version.
// Why: single-precision sums decide these dots, and a faster order of them would change a few.
#include "imaging/kernels/level.h"
#include "imaging/tattoo/tattoo_dithering.h"
#include "tests/fuzz/byte_source.h"
#include "tests/fuzz/pixels.h"
#include "tests/fuzz/require.h"
#include "tests/plain_stencil/chain.h"

namespace kestra::fuzz {
namespace {

void requireSame(const QMImage& image, const plain::Rows& expected, const char* what) {
  const auto width = static_cast<std::size_t>(image.width);
  for (std::size_t y = 0; y < expected.size(); ++y) {
    for (std::size_t x = 0; x < expected[y].size(); ++x) {
      require(image.data[y * width + x] == expected[y][x],
              std::string("the dots of the plain version from ") + what + " at level " +
                  kernelLevelName(kernelLevel()));
    }
  }
}

void runChains(ByteSource* source) {
  const int threshold = static_cast<int>(source->below(257)) - 1;
  const int width = source->word() % 200 + 1;
  const int height = source->word() % 80 + 1;
  std::vector<std::uint8_t> pixels =
      makePixels(source, static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  const plain::Rows grey = plain::RowsFromBytes(pixels, width, height, width);
  const plain::Rows tattoo = plain_stencil::Tattoo(grey);
  const plain::Rows tattooV7 = plain_stencil::TattooV7(grey);
  const plain::Rows diffused = plain_stencil::Diffuse(grey, threshold);
  for (const KernelLevel level : kernelLevels()) {
    forceKernelLevel(level);
    QMImage page(width, height, QM_IMG_GRAY, pixels.data());
    requireSame(qmTattooDithering(page), tattoo, "Tattoo");
    requireSame(qmTattooDitheringV7(page), tattooV7, "Tattoo_V7");
    requireSame(edf_cus(page, threshold), diffused, "the diffusion");
  }
}

}  // namespace
}  // namespace kestra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kestra::fuzz::ByteSource source(data, size);
  kestra::fuzz::runChains(&source);
  return 0;
}
