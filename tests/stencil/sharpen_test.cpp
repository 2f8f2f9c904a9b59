// Tests of blur and unsharp mask: worked examples, edges, then every kind of page against the plain
// version.
// Why: the halo of this step is what keeps thin stencil lines apart.
#include "imaging/tattoo/sharpen.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

#include "tests/plain_stencil/sharpen.h"
#include "tests/stencil/pictures.h"
#include "tests/stencil/stencil_images.h"

namespace kestra {
namespace {

std::vector<double> weightsOf(int size, double sigma) {
  std::vector<double> kernel(static_cast<std::size_t>(2 * (size / 2) + 1), -7.0);
  generateGaussianKernel1D(size, sigma, kernel.data());
  return kernel;
}

std::vector<double> squareKernelOf(int size, double sigma1, double sigma2) {
  std::vector<double> kernel(static_cast<std::size_t>(size * size));
  generateGaussianKernel(size, sigma1, sigma2, kernel.data());
  return kernel;
}

plain::Rows sharpened(const plain::Rows& rows) {
  return rowsOf(enh_unsharp_mask(greyImage(rows), 300.0F, 11));
}

}  // namespace

TEST(GaussianKernel, SumsToOneAndIsSymmetric) {
  for (const int size : {1, 3, 5, 11, 31}) {
    const std::vector<double> kernel = weightsOf(size, 3.0);
    EXPECT_NEAR(std::accumulate(kernel.begin(), kernel.end(), 0.0), 1.0, 1e-14) << size;
    for (std::size_t i = 0; i < kernel.size(); ++i) {
      EXPECT_EQ(kernel[i], kernel[kernel.size() - 1 - i]);
    }
  }
  EXPECT_EQ(weightsOf(1, 3.0), (std::vector<double>{1.0}));
}

TEST(GaussianKernel, WeightsOfElevenTaps) {
  // exp(-i * i / 18) for i = 0..5: 1, 0.945959, 0.800737, 0.606531, 0.411112, 0.249352. Their sum
  // over i = -5..5 is 7.027383.
  const double expected[] = {0.0354829, 0.0585015, 0.0863096, 0.1139453, 0.1346105, 0.1423005};
  const std::vector<double> kernel = weightsOf(11, 3.0);
  for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(kernel[i], expected[i], 2e-7) << i;
}

TEST(GaussianKernel, EvenSizesLeaveTheLastWeightOutOfTheSum) {
  // Size 2: three weights for -1, 0, 1; only the first two are divided by their sum.
  const std::vector<double> kernel = weightsOf(2, 3.0);
  EXPECT_NEAR(kernel[0] + kernel[1], 1.0, 1e-14);
  // The third is exp(-1/18) / (sqrt(2 pi) * 3) = 0.945959 / 7.519885 = 0.125794.
  EXPECT_NEAR(kernel[2], 0.125794, 1e-6);
}

TEST(GaussianKernel, EveryBitEqualsThePlainVersion) {
  for (const double sigma : {0.3, 0.8, 1.0, 3.0, 7.5}) {
    for (int size = 1; size <= 33; ++size) {
      EXPECT_EQ(weightsOf(size, sigma), plain_stencil::blurKernel(size, sigma))
          << size << ", " << sigma;
    }
  }
}

TEST(Convolve, RepeatsTheEdgePixelOnBothSides) {
  // Weights 1/4, 1/2, 1/4. 100, 0, 40: (100 + 200 + 0) / 4 = 75, (100 + 0 + 40) / 4 = 35,
  // (0 + 80 + 40) / 4 = 30.
  const double kernel[] = {0.25, 0.5, 0.25};
  EXPECT_EQ(rowsOf(convolve1D(greyImage({{100, 0, 40}}), kernel, 3, true)),
            (plain::Rows{{75, 35, 30}}));
  EXPECT_EQ(rowsOf(convolve1D(greyImage({{100}, {0}, {40}}), kernel, 3, false)),
            (plain::Rows{{75}, {35}, {30}}));
}

TEST(Convolve, LeavesTheOtherDirectionAlone) {
  const double kernel[] = {0.25, 0.5, 0.25};
  const plain::Rows page = {{100, 100}, {0, 0}, {40, 40}};
  EXPECT_EQ(rowsOf(convolve1D(greyImage(page), kernel, 3, true)), page);
}

TEST(Convolve, TakesTheKernelFromItsFirstTapOn) {
  // The first weight belongs to the pixel at the left or above.
  const double kernel[] = {1.0, 0.0, 0.0};
  EXPECT_EQ(rowsOf(convolve1D(greyImage({{1, 2, 3}}), kernel, 3, true)), (plain::Rows{{1, 1, 2}}));
  EXPECT_EQ(rowsOf(convolve1D(greyImage({{1}, {2}, {3}}), kernel, 3, false)),
            (plain::Rows{{1}, {1}, {2}}));
}

TEST(Convolve, RoundsHalvesUpAndKeepsOnlyTheLowByte) {
  const double half[] = {0.5};
  EXPECT_EQ(rowsOf(convolve1D(greyImage({{1, 2, 3}}), half, 1, true)), (plain::Rows{{1, 1, 2}}));
  // 2 * 200 = 400 = 256 + 144; -1 * 1 = -1, whose low byte is 255.
  const double twice[] = {2.0};
  EXPECT_EQ(rowsOf(convolve1D(greyImage({{200}}), twice, 1, true)), (plain::Rows{{144}}));
  const double minus[] = {-1.0};
  EXPECT_EQ(rowsOf(convolve1D(greyImage({{1}}), minus, 1, false)), (plain::Rows{{255}}));
}

TEST(Convolve, EqualsThePlainVersionWhateverTheKernel) {
  const plain::Rows page = noisePage(47, 19, 8);
  const std::vector<double> skew = {0.0, 0.1, 0.2, 0.3, 0.4};
  const std::vector<double> sharp = {-0.5, 0.0, 2.0, 0.0, -0.5};
  for (const std::vector<double>& kernel : {skew, sharp, weightsOf(5, 3.0)}) {
    for (const bool horizontal : {true, false}) {
      EXPECT_EQ(rowsOf(convolve1D(greyImage(page), kernel.data(), 5, horizontal)),
                plain_stencil::blurPass(page, kernel, 5, horizontal));
    }
  }
}

TEST(Blur, LeavesUniformPagesUnchanged) {
  for (int level = 0; level < 256; ++level) {
    const plain::Rows page = uniformPage(13, 9, level);
    EXPECT_EQ(rowsOf(enh_gaussian_filter_fast(greyImage(page), 11, 3.0)), page) << level;
    EXPECT_EQ(sharpened(page), page) << level;
  }
}

TEST(Blur, RoundsToBytesBetweenThePasses) {
  // A pixel 25 on 0. Along the row: 25 * 0.1423 = 3.56 -> 4, beside it 25 * 0.1346 = 3.37 -> 3.
  // Down the columns: 4 * 0.1423 = 0.57 -> 1, 4 * 0.1346 = 0.54 -> 1, 4 * 0.1139 = 0.46 -> 0; of 3
  // nothing is left. A column of three, not a row: the rows were first.
  plain::Rows column = uniformPage(21, 21, 0);
  column[9][10] = column[10][10] = column[11][10] = 1;
  const plain::Rows page = singlePixelPage(21, 21, 0, 25);
  EXPECT_EQ(rowsOf(enh_gaussian_filter_fast(greyImage(page), 11, 3.0)), column);
  // In one square pass only 25 * 0.1423 * 0.1423 = 0.506 is rounded up; next to it 0.479 is not.
  EXPECT_EQ(rowsOf(enh_gaussian_filter(greyImage(page), 11, 3.0, 3.0)),
            singlePixelPage(21, 21, 0, 1));
  // One row only: the second pass sees the same row eleven times and changes nothing.
  plain::Rows row = uniformPage(15, 1, 0);
  row[0][7] = 4;
  plain::Rows expected = uniformPage(15, 1, 0);
  expected[0][6] = expected[0][7] = expected[0][8] = 1;
  EXPECT_EQ(rowsOf(enh_gaussian_filter_fast(greyImage(row), 11, 3.0)), expected);
}

TEST(Blur, PagesNarrowerThanTheKernelAreValid) {
  // One column: every tap of the pass along rows reads it. 100 in the middle of 0, seven rows:
  // 100 * weights = 14.2, 13.5, 11.4, 8.6 from the middle outward.
  plain::Rows page = uniformPage(1, 7, 0);
  page[3][0] = 100;
  EXPECT_EQ(rowsOf(enh_gaussian_filter_fast(greyImage(page), 11, 3.0)),
            (plain::Rows{{9}, {11}, {13}, {14}, {13}, {11}, {9}}));
  // One pixel is its own blur.
  EXPECT_EQ(rowsOf(enh_gaussian_filter_fast(greyImage({{77}}), 11, 3.0)), (plain::Rows{{77}}));
}

TEST(Blur, RepeatsTheEdgesOfAPage) {
  // The pixel 100 at the edge stands for all taps beyond it: weights 0..5 together are
  // (1 + 0.1423) / 2 = 0.5712, one column on 0.5712 - 0.1423 = 0.4289, then 0.2942, 0.1803, 0.0940,
  // 0.0355.
  plain::Rows row = uniformPage(12, 1, 0);
  row[0][0] = 100;
  EXPECT_EQ(rowsOf(enh_gaussian_filter_fast(greyImage(row), 11, 3.0)),
            (plain::Rows{{57, 43, 29, 18, 9, 4, 0, 0, 0, 0, 0, 0}}));
  plain::Rows column = uniformPage(1, 12, 0);
  column[11][0] = 100;
  EXPECT_EQ(rowsOf(enh_gaussian_filter_fast(greyImage(column), 11, 3.0)),
            (plain::Rows{{0}, {0}, {0}, {0}, {0}, {0}, {4}, {9}, {18}, {29}, {43}, {57}}));
}

TEST(AddWeighted, LimitsInsteadOfWrapping) {
  // Weight 3: 4 * 100 - 3 * 90 = 130; 4 * 255 - 3 * 100 = 720; 4 * 10 - 3 * 100 = -260.
  const QMImage result =
      add_Weighted(greyImage({{100, 255, 10}}), greyImage({{90, 100, 100}}), 3.0F);
  EXPECT_EQ(rowsOf(result), (plain::Rows{{130, 255, 0}}));
  // Weight 0.5: 1.5 * 101 - 0.5 * 100 = 101.5, rounded up.
  EXPECT_EQ(rowsOf(add_Weighted(greyImage({{101}}), greyImage({{100}}), 0.5F)),
            (plain::Rows{{102}}));
}

TEST(AddWeighted, OfTwoNegativeSidesIsACopy) {
  // -1 * -2 is two pixels, but no row of them is gone through.
  const unsigned char pixels[] = {100, 7};
  const unsigned char soft[] = {90, 9};
  const QMImage sum =
      add_Weighted(QMImage(-1, -2, QM_IMG_GRAY, pixels), QMImage(-1, -2, QM_IMG_GRAY, soft), 3.0F);
  EXPECT_EQ(sum.data[0], 100);
  EXPECT_EQ(sum.data[1], 7);
}

TEST(UnsharpMask, OfOneLighterPixel) {
  // 128 on 100. Along the row: 100 + 28 * 0.1423 = 103.98 -> 104 at the pixel, 28 * 0.1346 = 3.77
  // -> 104 beside it, 28 * 0.1139 = 3.19 -> 103 and 28 * 0.0863 = 2.4 -> 102 and 1.6 -> 102 and 1.0
  // -> 101 further out. Down the columns of 104: 100 + 4 * 0.1423 = 100.57 -> 101, 4 * 0.1346 =
  // 0.54 -> 101, 4 * 0.1139 = 0.46 -> 100; of 103: 3 * 0.1423 = 0.43 -> 100. So the blur is 101 in
  // 3 x 3 pixels: 4 * 128 - 303 = 209 in the centre, 400 - 303 = 97 around it, 100 elsewhere.
  plain::Rows expected = uniformPage(21, 21, 100);
  for (std::size_t y = 9; y <= 11; ++y) {
    for (std::size_t x = 9; x <= 11; ++x) expected[y][x] = 97;
  }
  expected[10][10] = 209;
  EXPECT_EQ(sharpened(singlePixelPage(21, 21, 100, 128)), expected);
}

TEST(UnsharpMask, OfOneBlackPixelOnWhiteHasNoWrappedHalo) {
  // Its blur is at least 250 everywhere: 0 - 750 and 1020 - 3 * 250 are both limited.
  EXPECT_EQ(sharpened(singlePixelPage(21, 21, 255, 0)), singlePixelPage(21, 21, 255, 0));
  EXPECT_EQ(sharpened(singlePixelPage(21, 21, 0, 255)), singlePixelPage(21, 21, 0, 255));
}

TEST(UnsharpMask, AmountIsAPercentage) {
  const plain::Rows page = photoPage(17, 9);
  for (const float amount : {0.0F, 50.0F, 100.0F, 250.5F, -30.0F}) {
    EXPECT_EQ(rowsOf(enh_unsharp_mask(greyImage(page), amount, 5)),
              plain_stencil::unsharp(page, amount, 5))
        << amount;
  }
  EXPECT_EQ(rowsOf(enh_unsharp_mask(greyImage(page), 0.0F, 5)), page);
}

TEST(UnsharpMask, EqualsThePlainVersionOnEveryKindOfPage) {
  for (const NamedPicture& picture : allPictures()) {
    const QMImage source = greyImage(picture.rows);
    ASSERT_EQ(rowsOf(enh_gaussian_filter_fast(source, 11, 3.0)),
              plain_stencil::blur(picture.rows, 11, 3.0))
        << picture.name;
    ASSERT_EQ(sharpened(picture.rows), plain_stencil::unsharp(picture.rows, 300.0F, 11))
        << picture.name;
    ASSERT_EQ(rowsOf(source), picture.rows) << "the source was changed";
  }
}

TEST(SquareGaussian, FirstSigmaRunsDownTheRows) {
  // 3 x 3, sigma 1 down and 2 to the right: exp(-1/2) = 0.606531, exp(-1/8) = 0.882497. Sum of the
  // products: (1 + 2 * 0.606531) * (1 + 2 * 0.882497) = 2.213061 * 2.764994 = 6.119101.
  const std::vector<double> kernel = squareKernelOf(3, 1.0, 2.0);
  EXPECT_NEAR(kernel[4], 1.0 / 6.119101, 1e-6);
  EXPECT_NEAR(kernel[1], 0.606531 / 6.119101, 1e-6);
  EXPECT_NEAR(kernel[3], 0.882497 / 6.119101, 1e-6);
  EXPECT_NEAR(kernel[0], 0.606531 * 0.882497 / 6.119101, 1e-6);
  EXPECT_NEAR(std::accumulate(kernel.begin(), kernel.end(), 0.0), 1.0, 1e-14);
}

TEST(SquareGaussian, EveryBitOfTheKernelEqualsThePlainVersion) {
  for (const int size : {1, 3, 5, 11}) {
    for (const auto& [down, right] : {std::pair{3.0, 3.0}, std::pair{0.7, 2.0}}) {
      EXPECT_EQ(squareKernelOf(size, down, right), plain_stencil::squareKernel(size, down, right));
    }
  }
}

TEST(SquareGaussian, BlursInOnePass) {
  const plain::Rows flat = uniformPage(6, 5, 93);
  EXPECT_EQ(rowsOf(enh_gaussian_filter(greyImage(flat), 5, 1.0, 2.0)), flat);
  // 100 in a corner of 2 x 2 pixels with the 3 x 3 kernel above, edges repeated. Down: the row of
  // the pixel counts (1 + 0.606531) / 2.213061 = 0.725930, the other 0.274070; to the right
  // 1.882497 / 2.764994 = 0.680832 and 0.319168: 49.4, 23.2, 18.7, 8.7.
  EXPECT_EQ(rowsOf(enh_gaussian_filter(greyImage({{100, 0}, {0, 0}}), 3, 1.0, 2.0)),
            (plain::Rows{{49, 23}, {19, 9}}));
  for (const auto& [width, height] :
       {std::pair{1, 1}, std::pair{1, 9}, std::pair{9, 1}, std::pair{17, 15}}) {
    const plain::Rows page = noisePage(width, height, 99);
    EXPECT_EQ(rowsOf(enh_gaussian_filter(greyImage(page), 11, 3.0, 1.5)),
              plain_stencil::squareBlur(page, 11, 3.0, 1.5));
  }
}

TEST(SquareGaussian, MakesAGreyImage) {
  QMImage source = greyImage({{5, 6}, {7, 8}});
  EXPECT_EQ(enh_gaussian_filter(source, 3, 1.0, 1.0).color, QM_IMG_GRAY);
  EXPECT_EQ(convolve1D(source, weightsOf(3, 1.0).data(), 3, true).width, 2);
}

}  // namespace kestra
