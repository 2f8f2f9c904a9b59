// A page through each dithering method in each version of the loops, against the plain version.
// Why: the fast loops must give the same dots as the rule on every page there can be.
#include <algorithm>
#include <cstring>

#include "imaging/paletteimage/palette_image.h"
#include "tests/fuzz/byte_source.h"
#include "tests/fuzz/pixels.h"
#include "tests/fuzz/require.h"
#include "tests/kernels/versions.h"
#include "tests/plain/halftone.h"

namespace kestra::fuzz {
namespace {

void ditherInEachVersion(ByteSource* source) {
  const unsigned method = source->below(9);
  const unsigned width = source->word() % 300U + 1U;
  const unsigned height = source->word() % 100U + 1U;
  const std::vector<std::uint8_t> pixels = makePixels(source, std::size_t{width} * height);
  const plain::Rows expected =
      plain::halftone(plain::rowsFromBytes(pixels, static_cast<int>(width),
                                           static_cast<int>(height), static_cast<int>(width)),
                      method);
  for (const KernelVersion version : kernelVersions()) {
    const ForcedVersion forced(version);
    PaletteImage image;
    require(image.CreateFromArray(pixels.data(), width, height, 8, width, false), "an image");
    require(image.Dither(method) && image.IncreaseBpp(8), "a dithered image");
    for (unsigned y = 0; y < height; ++y) {
      const std::uint8_t* row = image.GetBits(y);
      for (unsigned x = 0; x < width; ++x) {
        require(row[x] == expected[y][x], std::string("the dots of the plain version in version ") +
                                              kernelVersionName(version));
      }
    }
    // The way of a page, in one block, leaves the same bytes, padding and palette.
    PaletteImage page;
    require(page.CreateFromArray(pixels.data(), width, height, 8, width, false), "a page image");
    require(page.DitherToBytes(method), "a dithered page");
    require(
        std::equal(image.GetBits(), image.GetBits() + image.GetEffWidth() * height, page.GetBits()),
        std::string("the same bytes in one block in version ") + kernelVersionName(version));
    require(std::memcmp(image.GetPalette(), page.GetPalette(), image.GetPaletteSize()) == 0,
            "the same palette in one block");
    page.Destroy();
    image.Destroy();
  }
}

}  // namespace
}  // namespace kestra::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kestra::fuzz::ByteSource source(data, size);
  kestra::fuzz::ditherInEachVersion(&source);
  return 0;
}
