// Tests of the two stencil halftones as a whole: worked pages, awkward ones, and every kind of page
// against the plain version.
// Why: what a stencil looks like is decided by the order of the steps as much as by each of them.
#include "imaging/tattoo/tattoo_dithering.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/kernels/versions.h"
#include "tests/plain_stencil/chain.h"
#include "tests/stencil/pictures.h"
#include "tests/stencil/stencil_images.h"

namespace kestra {
namespace {

plain::Rows tattoo(const plain::Rows& rows) {
  QMImage image = greyImage(rows);
  return rowsOf(qmTattooDithering(image));
}

plain::Rows tattooV7(const plain::Rows& rows) {
  QMImage image = greyImage(rows);
  return rowsOf(qmTattooDitheringV7(image));
}

// The way of a job, in rows of any length: the bytes behind each must stay.
std::vector<std::uint8_t> rowByRow(StencilKind kind, const plain::Rows& rows) {
  const std::vector<std::uint8_t> grey = plain::flatten(rows);
  const std::size_t stride = rows[0].size() + 7;
  std::vector<std::uint8_t> out(stride * rows.size(), 99);
  ditherStencilPage(kind, grey.data(), static_cast<int>(rows[0].size()),
                    static_cast<int>(rows.size()), out.data(), stride);
  return out;
}

// The rule step by step, and row by row in every version: the same dots.
void expectAsPlain(const plain::Rows& rows, const std::string& what) {
  const std::string size =
      what + " " + std::to_string(rows[0].size()) + " x " + std::to_string(rows.size());
  for (const StencilKind kind : {StencilKind::kTattoo, StencilKind::kTattooV7}) {
    const bool v7 = kind == StencilKind::kTattooV7;
    plain::Rows expected = v7 ? plain_stencil::tattooV7(rows) : plain_stencil::tattoo(rows);
    ASSERT_EQ(v7 ? tattooV7(rows) : tattoo(rows), expected) << size << ", V7: " << v7;
    for (std::vector<int>& row : expected) row.insert(row.end(), 7, 99);
    const std::vector<std::uint8_t> wanted = plain::flatten(expected);
    inEveryVersion(
        [&] { ASSERT_TRUE(rowByRow(kind, rows) == wanted) << size << " row by row, V7: " << v7; });
  }
}

}  // namespace

TEST(TattooDithering, ImagesWithoutPixelsComeBackAsTheyAre) {
  for (const auto& [width, height] : {std::pair{0, 0}, std::pair{0, 5}, std::pair{5, 0}}) {
    const unsigned char none = 0;
    QMImage empty(width, height, QM_IMG_BGR, &none);
    for (const QMImage& result : {qmTattooDithering(empty), qmTattooDitheringV7(empty)}) {
      expectShape(result, width, height, 3, QM_IMG_BGR);
    }
  }
}

TEST(TattooDithering, TwoNegativeSidesPrintNothing) {
  // -100 * -3 is 300 pixels, but no row is gone through.
  QMImage image(-100, -3, QM_IMG_GRAY, std::vector<unsigned char>(300, 200).data());
  for (const QMImage& result : {qmTattooDithering(image), qmTattooDitheringV7(image)}) {
    expectShape(result, -100, -3, 1, QM_IMG_GRAY);
    EXPECT_EQ(std::vector<unsigned char>(result.data, result.data + 300),
              std::vector<unsigned char>(300, 0));
  }
}

TEST(TattooDithering, OnePixelHasNoThresholdAndIsWhite) {
  // One level gives threshold -1, and every toned level is above it.
  for (int level = 0; level < 256; ++level) {
    EXPECT_EQ(tattoo({{level}}), (plain::Rows{{255}})) << level;
    EXPECT_EQ(tattooV7({{level}}), (plain::Rows{{255}})) << level;
  }
}

TEST(TattooDithering, BlankPaperGetsStrayDots) {
  // Level 0 with threshold -1: the first pixel is white and charged 255, the second has -128.98.
  // Third: 255 * 0.052926 - 128.98 * 0.505786 = -51.74; fourth: 128.98 * 0.052926 - 51.74 *
  // 0.505786 = -19.34; fifth: 51.74 * 0.052926 - 19.34 * 0.505786 = -7.04; sixth -2.54; seventh:
  // 7.04 * 0.052926 - 2.54 * 0.505786 = -0.91, above -1: white.
  EXPECT_EQ(tattoo(uniformPage(7, 1, 0)), (plain::Rows{{255, 0, 0, 0, 0, 0, 255}}));
}

TEST(TattooDithering, SpecksOnPaleGreyAreSharpenedByThreeHundredPerCent) {
  // Every tenth pixel is 65 to 67, the others 10 to 14: toned about 72 and 13, blurred about 19.
  // Their difference of 50 to 58 shows a hundredth of the strength as a level more or less, as
  // 19 + 4 * 58 is not cut at 255; that moves a dot here and there.
  for (unsigned seed = 1; seed <= 12; ++seed) {
    plain::Rows page = noisePage(160, 90, seed);
    for (auto& row : page) {
      for (int& level : row) level = level < 26 ? 65 + level % 3 : 10 + level % 5;
    }
    expectAsPlain(page, "specks");
  }
}

TEST(TattooDithering, FullPagesStayFull) {
  // 255 stays 255 in either table, and a white dot of 255 leaves no error.
  EXPECT_EQ(tattoo(uniformPage(17, 9, 255)), uniformPage(17, 9, 255));
  EXPECT_EQ(tattooV7(uniformPage(17, 9, 255)), uniformPage(17, 9, 255));
}

TEST(TattooDithering, V7LosesPureBlackAndWhiteWhoseThresholdIs255) {
  // Half 0, half 255: the share of the lower level is 1/2, the sum up to level 0 is not above it,
  // so the threshold is 255. With its knee there the table sends 255 to 0, and nothing is left.
  plain::Rows page = uniformPage(8, 6, 0);
  for (std::size_t y = 0; y < 3; ++y) page[y] = std::vector<int>(8, 255);
  EXPECT_EQ(plain_stencil::thresholdOf(page).threshold, 255);
  EXPECT_EQ(tattooV7(page), uniformPage(8, 6, 0));
  // The other halftone keeps ink: 255 is not above 255 at first, but its error is.
  EXPECT_NE(tattoo(page), uniformPage(8, 6, 0));
}

TEST(TattooDithering, ThresholdIsTakenBeforeTheToneChanges) {
  // Levels 0 (half), 100 and 200 (a quarter each): threshold 100. 100 is toned to 64 + 191 *
  // (36/191)^0.7 = 123 and would give another threshold afterwards.
  plain::Rows page = uniformPage(4, 4, 0);
  page[2] = std::vector<int>(4, 100);
  page[3] = std::vector<int>(4, 200);
  EXPECT_EQ(plain_stencil::thresholdOf(page).threshold, 100);
  const plain::Rows toned =
      plain_stencil::applyTable(page, plain_stencil::gammaTable(64, 0.85F, 0.7F));
  EXPECT_EQ(toned[2][0], 123);
  EXPECT_NE(plain_stencil::thresholdOf(toned).threshold, 100);
  expectAsPlain(page, "three levels");
}

TEST(TattooDithering, LeavesItsInputAloneAndMakesAGreyImage) {
  const plain::Rows page = photoPage(16, 15);
  QMImage image = greyImage(page);
  for (const QMImage& result : {qmTattooDithering(image), qmTattooDitheringV7(image)}) {
    EXPECT_EQ(rowsOf(image), page);
    EXPECT_NE(result.data, image.data);
    expectShape(result, 16, 15, 1, QM_IMG_GRAY);
    for (const auto& row : rowsOf(result)) {
      for (const int level : row) EXPECT_TRUE(level == 0 || level == 255) << level;
    }
  }
}

TEST(TattooDithering, TakesImagesOfAnyColourType) {
  const std::vector<std::uint8_t> bytes = plain::flatten(noisePage(4 * 17, 16, 12));
  for (const int color : {0, 1, 2, 3, 4}) {
    QMImage image(17, 16, static_cast<QM_IMG_COLOR>(color), bytes.data());
    const plain::Rows grey = plain_stencil::grey(bytes, 17, 16, color);
    EXPECT_EQ(rowsOf(qmTattooDithering(image)), plain_stencil::tattoo(grey)) << color;
    EXPECT_EQ(rowsOf(qmTattooDitheringV7(image)), plain_stencil::tattooV7(grey)) << color;
  }
}

TEST(TattooDithering, TheTwoHalftonesDiffer) {
  EXPECT_NE(tattoo(photoPage(31, 33)), tattooV7(photoPage(31, 33)));
}

TEST(TattooDithering, EqualsThePlainVersionOnEveryKindAndSize) {
  for (const NamedPicture& picture : allPictures()) {
    expectAsPlain(picture.rows, picture.name);
  }
}

TEST(TattooDithering, EqualsThePlainVersionOnAll256UniformLevels) {
  for (int level = 0; level < 256; ++level) {
    expectAsPlain(uniformPage(17, 9, level), "level " + std::to_string(level));
  }
}

TEST(TattooDithering, EqualsThePlainVersionOnPagesOfOneOtherPixel) {
  for (int level = 0; level < 255; ++level) {
    expectAsPlain(singlePixelPage(9, 8, level, level + 1), "lighter than " + std::to_string(level));
    expectAsPlain(singlePixelPage(8, 9, level + 1, level), "darker than " + std::to_string(level));
    expectAsPlain(nearlyUniformPage(15, 7, level), "about " + std::to_string(level));
  }
}

TEST(TattooDithering, EqualsThePlainVersionOverTwoThousandRowsOfOneColour) {
  for (const int level : {0, 255}) {
    expectAsPlain(uniformPage(7, 2000, level), "uniform");
    plain::Rows page = uniformPage(7, 2000, level);
    for (std::size_t y = 0; y < 12; ++y) page[y] = photoPage(7, 12)[y];
    expectAsPlain(page, "a picture at the top");
  }
}

TEST(TattooDithering, EqualsThePlainVersionOnPagesAsWideAsAHead) {
  expectAsPlain(photoPage(2480, 37), "photo");
  expectAsPlain(textPage(2480, 21), "text");
  expectAsPlain(noisePage(863, 50, 3), "noise");
}

TEST(TattooDithering, EqualsThePlainVersionOnPagesWiderThanAnyHead) {
  expectAsPlain(noisePage((1 << 18) + 3, 2, 5), "wide");
  expectAsPlain(noisePage((1 << 16) + 3, 17, 5), "wide");
}

}  // namespace kestra
