// Tests of grey conversion, threshold and tone table: worked examples, then every kind of page
// against the plain version; each by the rule and as a job does it, in every version of its loops.
// Why: the threshold is compared with every dot of a page, so one level more or less is visible.
#include "imaging/tattoo/grey.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "imaging/kernels/tones.h"
#include "tests/kernels/versions.h"
#include "tests/plain_stencil/tone.h"
#include "tests/stencil/pictures.h"
#include "tests/stencil/stencil_images.h"

namespace kestra {
namespace {

using Levels = std::vector<int>;

int levelOf(std::vector<unsigned char> pixel, int color) {
  pixel.resize(4, 0);
  return cvtGray(QMImage(1, 1, static_cast<QM_IMG_COLOR>(color), pixel.data())).data[0];
}

// By the rule; a job must find the same.
int thresholdOf(const plain::Rows& rows) {
  const QMImage grey = greyImage(rows);
  const int threshold = thresh_global_moments(grey);
  inEveryVersion([&] {
    EXPECT_EQ(momentThreshold(grey.data, static_cast<std::uint32_t>(grey.size())), threshold);
  });
  return threshold;
}

// A page of one row with a level repeated.
plain::Rows mixture(const std::vector<std::pair<int, int>>& levelsAndCounts) {
  plain::Rows rows(1);
  for (const auto& [level, count] : levelsAndCounts) {
    rows[0].insert(rows[0].end(), static_cast<std::size_t>(count), level);
  }
  return rows;
}

// The page behind the table, by the rule; a job's look-up must give the same.
plain::Rows tonedPage(int knee, float low, float high, const plain::Rows& rows) {
  QMImage image = greyImage(rows);
  enh_piecewise_gamma(image, knee, low, high);
  const auto table = piecewiseGammaTable(knee, low, high);
  inEveryVersion([&] {
    QMImage looked = greyImage(rows);
    lookUpLevels(table.data(), looked.data, looked.data, looked.size());
    EXPECT_EQ(rowsOf(looked), rowsOf(image));
  });
  return rowsOf(image);
}

Levels toned(int knee, float low, float high, const Levels& levels) {
  return tonedPage(knee, low, high, {levels})[0];
}

}  // namespace

TEST(CvtGray, CopiesGreyImagesByteForByte) {
  plain::Rows all(1);
  for (int level = 0; level < 256; ++level) all[0].push_back(level);
  const QMImage source = greyImage(all);
  const QMImage grey = cvtGray(source);
  EXPECT_EQ(rowsOf(grey), all);
  EXPECT_NE(grey.data, source.data);
}

TEST(CvtGray, WeighsTheBytesByTheirColour) {
  // 0.299 * 255 = 76.2, 0.114 * 255 = 29.1, 0.587 * 255 = 149.7.
  EXPECT_EQ(levelOf({0, 0, 255}, 1), 76);
  EXPECT_EQ(levelOf({0, 0, 255}, 2), 29);
  EXPECT_EQ(levelOf({0, 0, 255, 200}, 3), 76);
  EXPECT_EQ(levelOf({0, 0, 255, 200}, 4), 29);
  EXPECT_EQ(levelOf({255, 0, 0}, 1), 29);
  EXPECT_EQ(levelOf({255, 0, 0}, 2), 76);
  for (const int color : {1, 2, 3, 4, 5}) {
    EXPECT_EQ(levelOf({0, 255, 0, 255}, color), 150) << color;
    EXPECT_EQ(levelOf({255, 255, 255, 0}, color), 255) << "the fourth byte counts for nothing";
    EXPECT_EQ(levelOf({0, 0, 0, 255}, color), 0);
  }
}

TEST(CvtGray, StepsByThePixelSizeOfTheColourType) {
  // Two pixels of each type, red first: 100 grey, then 200 grey, with a misleading fourth byte.
  const std::vector<unsigned char> three = {100, 100, 100, 200, 200, 200};
  const std::vector<unsigned char> four = {100, 100, 100, 7, 200, 200, 200, 9};
  for (const int color : {1, 2}) {
    const QMImage grey = cvtGray(QMImage(2, 1, static_cast<QM_IMG_COLOR>(color), three.data()));
    EXPECT_EQ(rowsOf(grey), (plain::Rows{{100, 200}}));
    EXPECT_EQ(grey.channels, 1);
    EXPECT_EQ(grey.color, QM_IMG_GRAY);
  }
  for (const int color : {3, 4, 5}) {
    const QMImage grey = cvtGray(QMImage(1, 2, static_cast<QM_IMG_COLOR>(color), four.data()));
    EXPECT_EQ(rowsOf(grey), (plain::Rows{{100}, {200}}));
  }
}

TEST(CvtGray, EqualsThePlainVersionForEveryColourType) {
  const plain::Rows noise = noisePage(4 * 31, 17, 3);
  const std::vector<std::uint8_t> bytes = plain::flatten(noise);
  for (const int color : {0, 1, 2, 3, 4, 5}) {
    const QMImage source(31, 17, static_cast<QM_IMG_COLOR>(color), bytes.data());
    EXPECT_EQ(rowsOf(cvtGray(source)), plain_stencil::grey(bytes, 31, 17, color)) << color;
  }
}

TEST(Threshold, OfTwoLevelsIsTheUpperOneWhereTheArithmeticIsExact) {
  // Levels 0 and 4, half each: m1 = 2, m2 = 8, m3 = 32; cd = 8 - 4 = 4; c0 = (-64 + 64) / 4 = 0;
  // c1 = (-32 + 16) / 4 = -4; disc = 16; z0 = 0, z1 = 4; share (4 - 2) / 4 = 1/2. The sum up to
  // level 0 is 1/2, which is not above it: level 4 it is.
  EXPECT_EQ(thresholdOf(mixture({{0, 8}, {4, 8}})), 4);
  EXPECT_EQ(thresholdOf(mixture({{4, 1}, {0, 1}})), 4);
}

TEST(Threshold, OfThreeLevelsLiesBetweenTheOuterOnes) {
  // 0, 4, 8 at 1/4, 1/2, 1/4: m1 = 4, m2 = 24, m3 = 160; cd = 24 - 16 = 8; c0 = (-576 + 640) / 8 =
  // 8; c1 = (-160 + 96) / 8 = -8; disc = 64 - 32 = 32; z0 = 4 - 2.83, z1 = 4 + 2.83; share 1/2. The
  // sums are 1/4 at level 0 and 3/4 at level 4.
  EXPECT_EQ(thresholdOf(mixture({{0, 4}, {4, 8}, {8, 4}})), 4);
  // 0 at 1/2, 100 and 200 at 1/4: m1 = 75, m2 = 12500, m3 = 2250000; cd = 6875;
  // c0 = (-156250000 + 168750000) / 6875 = 1818.2; c1 = (-2250000 + 937500) / 6875 = -190.9;
  // disc = 36446 - 7273 = 29174, root 170.8; z1 = 180.9; share 105.9 / 170.8 = 0.62: level 100.
  EXPECT_EQ(thresholdOf(mixture({{0, 8}, {100, 4}, {200, 4}})), 100);
}

TEST(Threshold, OfOneLevelIsMinusOneForEachOfAll256) {
  for (int level = 0; level < 256; ++level) {
    EXPECT_EQ(thresholdOf(uniformPage(1, 1, level)), -1) << level;
    EXPECT_EQ(thresholdOf(uniformPage(16, 8, level)), -1) << level;
  }
}

TEST(Threshold, OfPureBlackAndWhiteIsOneOfTheTwo) {
  // The share of black is the sum up to level 0, up to roundings: either level may come out, never
  // one between them. 255 must occur, as it is what makes Tattoo_V7 lose full ink.
  std::set<int> seen;
  for (int black = 1; black < 200; ++black) {
    const plain::Rows page = mixture({{0, black}, {255, 200 - black}});
    const int threshold = thresholdOf(page);
    EXPECT_EQ(threshold, plain_stencil::thresholdOf(page).threshold) << black;
    seen.insert(threshold);
  }
  EXPECT_EQ(seen.count(255), 1U);
  for (const int threshold : seen) EXPECT_TRUE(threshold == 0 || threshold == 255) << threshold;
}

TEST(Threshold, EqualsThePlainVersionOnEveryKindOfPage) {
  for (const NamedPicture& picture : allPictures()) {
    EXPECT_EQ(thresholdOf(picture.rows), plain_stencil::thresholdOf(picture.rows).threshold)
        << picture.name;
  }
}

TEST(Threshold, KeepsEveryRoundingOnNearlyUniformPages) {
  // One pixel another level by 1: variance and numerators are differences of nearly equal numbers,
  // so the result jumps between the page's levels, 128 and -1. All of these must have been seen.
  int noSolution = 0;
  int noLevel = 0;
  for (int level = 0; level < 255; ++level) {
    for (const int count : {3, 10, 99, 1000, 4095}) {
      for (const auto& page :
           {mixture({{level, count}, {level + 1, 1}}), mixture({{level, 1}, {level + 1, count}})}) {
        const plain_stencil::Moments expected = plain_stencil::thresholdOf(page);
        ASSERT_EQ(thresholdOf(page), expected.threshold) << level << ", " << count;
        if (0.0F > expected.discriminant) ++noSolution;
        if (expected.threshold == -1) ++noLevel;
      }
    }
  }
  EXPECT_GT(noSolution, 0);
  EXPECT_GT(noLevel, 0);
}

TEST(Gamma, KneeOf64KeepsItsCornersAndBendsBothCurves) {
  EXPECT_EQ(toned(64, 0.85F, 0.7F, {0, 64, 255}), (Levels{0, 64, 255}));
  // (1/64)^0.85 * 64 = 1.87; (16/64)^0.85 * 64 = 19.70; 32: 35.51; 48: 50.12.
  EXPECT_EQ(toned(64, 0.85F, 0.7F, {1, 16, 32, 48}), (Levels{1, 19, 35, 50}));
  // 64 + 191 * (64/191)^0.7 = 152.85; 200: 214.59; 254: 254.30.
  EXPECT_EQ(toned(64, 0.85F, 0.7F, {128, 200, 254}), (Levels{152, 214, 254}));
}

TEST(Gamma, KneeInTheMiddleWithTheOtherExponents) {
  // 128 * sqrt(40/128) = 71.55, 100: 113.14; 128 + 127 * (22/127)^1.5 = 137.16, 200: 182.21,
  // 254: 253.50.
  EXPECT_EQ(toned(128, 0.5F, 1.5F, {40, 100, 128, 150, 200, 254, 255}),
            (Levels{71, 113, 128, 137, 182, 253, 255}));
}

TEST(Gamma, KneeOfZeroTakesTheUpperCurveThroughout) {
  // 255 * (k/255)^1.5: 50 gives 22.14, 100 gives 62.62.
  EXPECT_EQ(toned(0, 0.5F, 1.5F, {0, 50, 100, 255}), (Levels{0, 22, 62, 255}));
}

TEST(Gamma, KneeOfMinusOneDividesBy256) {
  // ((k + 1) / 256)^1.5 * 256 - 1: -0.94 and -0.82 are cut to 0; 50: 21.76; 100: 62.44; 255: 255.
  EXPECT_EQ(toned(-1, 0.5F, 1.5F, {0, 1, 50, 100, 255}), (Levels{0, 0, 21, 62, 255}));
  // With exponent 0.7: 4.28 for level 0.
  EXPECT_EQ(toned(-1, 0.85F, 0.7F, {0}), (Levels{4}));
}

TEST(Gamma, KneeOf255SendsFullLevelToZero) {
  // sqrt(100/255) * 255 = 159.69, 254: 254.50; 255 is 0 / 0, no number, whose low byte is 0.
  EXPECT_EQ(toned(255, 0.5F, 1.5F, {100, 254, 255}), (Levels{159, 254, 0}));
}

TEST(Gamma, KneeBeyondTheLevelsTakesTheLowerCurveAndKeepsLowBytes) {
  // 300 * sqrt(100/300) = 173.2; 255: 276.6, of which 276 - 256 = 20 stays.
  EXPECT_EQ(toned(300, 0.5F, 1.5F, {100, 255}), (Levels{173, 20}));
}

TEST(Gamma, EveryTableEqualsThePlainVersion) {
  for (int knee = -3; knee <= 300; ++knee) {
    for (const auto& [low, high] : {std::pair{0.85F, 0.7F}, std::pair{0.5F, 1.5F}}) {
      const auto table = piecewiseGammaTable(knee, low, high);
      const std::vector<int> expected = plain_stencil::gammaTable(knee, low, high);
      ASSERT_EQ(std::vector<int>(table.begin(), table.end()), expected) << "knee " << knee;
    }
  }
}

TEST(Gamma, ReplacesEveryByteInPlace) {
  for (const int knee : {-1, 0, 64, 200, 255}) {
    const plain::Rows page = noisePage(33, 15, 21);
    EXPECT_EQ(tonedPage(knee, 0.5F, 1.5F, page),
              plain_stencil::applyTable(page, plain_stencil::gammaTable(knee, 0.5F, 1.5F)));
    QMImage image = greyImage(page);
    const unsigned char* before = image.data;
    enh_piecewise_gamma(image, knee, 0.5F, 1.5F);
    EXPECT_EQ(image.data, before);
  }
}

}  // namespace kestra
