// Tests toning and sharpening row by row, in every version, against the plain filter's whole pages.
// Why: rows that are kept too short or too long show at the top and bottom of a stencil.
#include "imaging/tattoo/unsharp_rows.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/kernels/versions.h"
#include "tests/plain_stencil/sharpen.h"
#include "tests/stencil/pictures.h"

namespace kestra {

TEST(UnsharpRows, AreThoseOfThePlainVersionOnEveryKindOfPage) {
  const GaussianWeights weights = gaussianWeights(plain_stencil::blurKernel(11, 3.0).data());
  const std::vector<int> tones = plain_stencil::gammaTable(64, 0.85F, 0.7F);
  const std::vector<std::uint8_t> table(tones.begin(), tones.end());
  for (const auto& [width, height] : allSizes()) {
    for (const NamedPicture& picture : allKinds(width, height)) {
      const std::vector<std::uint8_t> grey = plain::flatten(picture.rows);
      const std::vector<std::uint8_t> wanted = plain::flatten(
          plain_stencil::unsharp(plain_stencil::applyTable(picture.rows, tones), 300.0F, 11));
      inEveryVersion([&, columns = width, lines = height] {
        UnsharpRows rows(grey.data(), columns, lines, table.data(), weights);
        std::vector<std::uint8_t> sharp(grey.size());
        for (std::size_t at = 0; at < sharp.size(); at += static_cast<std::size_t>(columns)) {
          rows.nextRow(&sharp[at]);
        }
        ASSERT_TRUE(sharp == wanted) << picture.name << " " << columns << " x " << lines;
      });
    }
  }
}

}  // namespace kestra
