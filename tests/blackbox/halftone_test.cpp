// Every halftone with every kind of picture, tone, mirror and negative, compared dot by dot.
// Why: one wrong share of one pixel's error shows as a worm or a band on the label.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

namespace {

const char* const kPictures[] = {"gradient", "photo", "bars",  "text",
                                 "noise",    "runs",  "blank", "solid"};

}  // namespace

class HalftoneType : public ::testing::TestWithParam<int> {};

TEST_P(HalftoneType, PrintsEveryPictureAsThePlainVersionDoes) {
  JobCase job;
  job.halftone(GetParam());
  for (const char* picture : kPictures) job.addPage(120, 67, picture);
  expectAsPlain(job);
}

TEST_P(HalftoneType, PrintsPagesOfEverySmallSize) {
  const unsigned sizes[] = {1, 2, 3, 4, 5, 7, 8, 9, 12, 15, 16, 17, 31, 33};
  JobCase job;
  job.halftone(GetParam());
  for (const unsigned width : sizes) job.addPage(width, 11, "noise");
  for (const unsigned height : sizes) job.addPage(20, height, "photo");
  job.addPage(1, 200, "gradient");
  job.addPage(811, 1, "gradient");
  job.addPage(1, 1, "solid");
  expectAsPlain(job);
}

TEST_P(HalftoneType, PrintsNegativeMirroredAndTonedPages) {
  for (const int brightness : {-100, -20, 1, 20, 100}) {
    for (const int flags : {0, 1, 2, 3}) {
      SCOPED_TRACE(std::to_string(brightness) + " " + std::to_string(flags));
      JobCase job;
      job.halftone(GetParam());
      job.brightness(brightness);
      if ((flags & 1) != 0) job.mirror();
      if ((flags & 2) != 0) job.negative();
      job.addPage(50, 23, "photo");
      job.addPage(53, 9, "noise", 57);
      expectAsPlain(job);
    }
  }
}

TEST_P(HalftoneType, PrintsAPageOfFullHeadWidth) {
  JobCase job = onePage(812, 300, "photo");
  job.halftone(GetParam());
  expectAsPlain(job);
}

INSTANTIATE_TEST_SUITE_P(Each, HalftoneType, ::testing::Range(0, 10),
                         [](const auto& each) { return halftoneName(each.param); });

TEST(Halftone, ThresholdPrintsFrom129On) {
  JobCase job;
  job.addPixels(8, 1, {0, 128, 129, 255, 127, 130, 1, 200});
  // 128 stays paper, 129 is ink: 0 0 1 1 0 1 0 1 = 0x35.
  EXPECT_EQ(frameOf(job).back(), '\x35');
}

TEST(Halftone, ClampsBrightnessAtItsEnds) {
  for (const auto& [choice, used] : {std::pair("-250", -100), std::pair("101", 100)}) {
    JobCase job = onePage(40, 10, "gradient");
    job.choose("Brightness", choice);
    job.settings.brightness = used;
    expectAsPlain(job);
  }
}

TEST(Halftone, TheSecondNameRunsTheOrderedMethodWithSeventeenLevels) {
  // "FloydSteinberg" is method 1. Level 128: 128 x 16 / 255 = 8, so the cells below 8 of the first
  // matrix row 0 8 2 10 are ink: 1 0 1 0, twice = 0xAA. Error diffusion would give another pattern.
  JobCase job;
  job.halftone(1);
  job.addPixels(8, 1, ts::uniform(8, 1, 128));
  EXPECT_EQ(frameOf(job).back(), '\xAA');
}

TEST(Halftone, TheLastClassicNameRunsTheSixteenThresholds) {
  // "StevensonArce" is method 7. Level 128 lies above 0 and 48 of 0 192 48 240: 1 0 1 0 twice;
  // level 60 does as well, 40 only above 0: 1 0 0 0.
  JobCase job;
  job.halftone(7);
  job.addPixels(8, 1, {128, 128, 128, 128, 40, 40, 40, 40});
  EXPECT_EQ(frameOf(job).back(), '\xA8');
}

}  // namespace kestra::blackbox
