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
  for (const NamedPicture& picture : allPictures()) {
    const std::vector<std::uint8_t> grey = plain::flatten(picture.rows);
    const std::vector<std::uint8_t> wanted = plain::flatten(
        plain_stencil::unsharp(plain_stencil::applyTable(picture.rows, tones), 300.0F, 11));
    const std::size_t width = picture.rows[0].size();
    inEveryVersion([&] {
      UnsharpRows rows(grey.data(), static_cast<int>(width), static_cast<int>(picture.rows.size()),
                       table.data(), weights);
      std::vector<std::uint8_t> sharp(grey.size());
      for (std::size_t at = 0; at < sharp.size(); at += width) rows.nextRow(&sharp[at]);
      ASSERT_TRUE(sharp == wanted) << picture.name;
    });
  }
}

}  // namespace kestra
