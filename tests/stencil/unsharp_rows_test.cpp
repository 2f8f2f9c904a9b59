// Tests toning and sharpening row by row, in every version, against the plain filter's whole pages.
// Why: rows that are kept too short or too long show at the top and bottom of a stencil.
#include "imaging/tattoo/unsharp_rows.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/kernels/versions.h"
#include "tests/plain_stencil/sharpen.h"
#include "tests/stencil/pictures.h"

namespace kestra {
namespace {

void expectPlain(const NamedPicture& picture) {
  const GaussianWeights weights = gaussianWeights(plain_stencil::blurKernel(11, 3.0).data());
  const std::vector<int> tones = plain_stencil::gammaTable(64, 0.85F, 0.7F);
  const std::vector<std::uint8_t> table(tones.begin(), tones.end());
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

TEST(UnsharpRows, AreThoseOfThePlainVersionOnEveryKindOfPage) {
  for (const NamedPicture& picture : allPictures()) expectPlain(picture);
}

// Low pages are toned 65,536 columns at a time. Steep edges at the seams, and a last part that is
// narrower than what the blur looks at.
TEST(UnsharpRows, AWideLowPageHasNoSeams) {
  constexpr std::size_t kPart = 65536;
  for (const std::size_t width : {kPart, kPart + 1, kPart + 4, 2 * kPart + 40}) {
    plain::Rows rows(2, std::vector<int>(width));
    for (std::size_t x = 0; x < width; ++x) {
      rows[0][x] = static_cast<int>(x * 37 % 256);
      rows[1][x] = static_cast<int>((x + 8) / kPart * 100 + x % 7);
    }
    expectPlain({"2 rows of " + std::to_string(width), rows});
  }
}

}  // namespace
}  // namespace kestra
