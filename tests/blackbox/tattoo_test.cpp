// The two stencil halftones through the whole filter: tone, mirror, negative, barcode choice,
// sizes, lines with gaps. Why: a stencil is copied onto skin; each dot must be the one the rules
// give.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

class Tattoo : public ::testing::TestWithParam<int> {
 protected:
  static JobCase stencilJob() {
    JobCase job;
    job.halftone(GetParam());
    return job;
  }
};

TEST_P(Tattoo, PrintsEveryToneMirrorNegativeAndBarcodeChoice) {
  for (const int brightness : {-100, -20, -1, 0, 1, 20, 100}) {
    for (int flags = 0; flags < 12; ++flags) {
      SCOPED_TRACE(std::to_string(brightness) + " " + std::to_string(flags));
      JobCase job = stencilJob();
      job.brightness(brightness);
      if (flags % 2 != 0) job.mirror();
      if (flags / 2 % 2 != 0) job.negative();
      job.barcode(flags / 4);
      job.addPage(50, 23, "photo");
      job.addPage(53, 17, "bars", 57);
      expectAsPlain(job);
    }
  }
}

TEST_P(Tattoo, PrintsLongAndWidePages) {
  JobCase job = stencilJob();
  job.addPage(812, 160, "photo");
  job.addPage(812, 40, "text");
  job.addPage(8, 2000, "blank");
  job.addPage(8, 2000, "solid");
  expectAsPlain(job);
}

TEST_P(Tattoo, PrintsUniformPagesOfEveryLevel) {
  JobCase job = stencilJob();
  for (int level = 0; level < 256; ++level) job.addPixels(16, 5, ts::uniform(16, 5, level));
  expectAsPlain(job);
}

TEST_P(Tattoo, PrintsNearlyUniformPages) {
  // One pixel differs by one level or by a lot: the page's moments then nearly cancel.
  JobCase job = stencilJob();
  for (const int level : {0, 1, 2, 63, 64, 65, 127, 128, 200, 254, 255}) {
    for (const int other : {0, level - 1, level + 1, 255}) {
      ts::Pixels pixels = ts::uniform(24, 9, level);
      pixels[4 * 24 + 11] = static_cast<std::uint8_t>(std::min(std::max(other, 0), 255));
      job.addPixels(24, 9, pixels);
    }
  }
  expectAsPlain(job);
}

TEST_P(Tattoo, PrintsPagesOfTwoLevelsInEveryShare) {
  JobCase job = stencilJob();
  for (std::size_t dark = 1; dark < 128; dark += 7) {
    ts::Pixels pixels = ts::uniform(16, 8, 255);
    for (std::size_t i = 0; i < dark; ++i) pixels[i * 37 % 128] = 0;
    job.addPixels(16, 8, pixels);
  }
  expectAsPlain(job);
}

TEST_P(Tattoo, PrintsADotOnAPageOfOneBlankDot) {
  // A page of one level has threshold -1, and 0 lies above it: the only pixel becomes 255.
  JobCase job = stencilJob();
  job.addPixels(1, 1, {0});
  EXPECT_EQ(frameOf(job).back(), '\x80');
}

TEST_P(Tattoo, PrintsASolidPageSolid) {
  // 255 > -1 leaves an error of 0 everywhere.
  JobCase job = stencilJob();
  job.addPixels(16, 3, ts::uniform(16, 3, 255));
  const std::string frame = frameOf(job);
  for (std::size_t y = 0; y < 3; ++y) EXPECT_EQ(frame.substr(22 + y * 54 + 52, 2), hex("FF FF"));
}

TEST_P(Tattoo, PrintsStrayDotsOnABlankPage) {
  // The first pixel of a blank page is a dot as above; what it owes (255) keeps the next ones
  // blank.
  JobCase job = stencilJob();
  job.addPixels(8, 1, ts::uniform(8, 1, 0));
  EXPECT_EQ(frameOf(job).back() & '\xC0', '\x80' & '\xC0');
}

TEST_P(Tattoo, ReadsLinesWithGapsAsIfThereWereNone) {
  // Two lines of 6 bytes, width 4. The page is laid out a b c d . . e f g h . . with gaps of 0 and
  // read as lines of 4: "abcd" and "..ef". So it prints like a page of those lines.
  JobCase gaps = stencilJob();
  gaps.addPixels(4, 2, {10, 90, 170, 250, 77, 77, 60, 220, 140, 30, 77, 77});
  JobCase skewed = stencilJob();
  skewed.addPixels(4, 2, {10, 90, 170, 250, 0, 0, 60, 220});
  const ts::Result first = expectAsPlain(gaps);
  const ts::Result second = expectAsPlain(skewed);
  EXPECT_EQ(onlyFrame(first), onlyFrame(second));
  EXPECT_EQ(imageNamed(first, "dithered_#_1.bmp"), imageNamed(second, "dithered_#_1.bmp"));
}

TEST_P(Tattoo, MirrorsBeforeTheGapsComeIn) {
  JobCase gaps = stencilJob();
  gaps.mirror();
  gaps.addPixels(4, 2, {10, 90, 170, 250, 77, 77, 60, 220, 140, 30, 77, 77});
  JobCase skewed = stencilJob();
  skewed.addPixels(4, 2, {250, 170, 90, 10, 0, 0, 30, 140});
  EXPECT_EQ(frameOf(gaps), frameOf(skewed));
}

TEST_P(Tattoo, PrintsManyPagesWithGapsOfAnyLength) {
  for (const bool negative : {false, true}) {
    JobCase job = stencilJob();
    if (negative) job.negative();
    for (const unsigned width : {1U, 3U, 5U, 8U, 17U, 40U}) {
      for (const unsigned gap : {1U, 2U, 3U, 4U, 9U, 100U}) {
        job.addPage(width, 1 + gap % 13, "photo", width + gap);
      }
    }
    expectAsPlain(job);
  }
}

TEST_P(Tattoo, ComplementsTheNegativePageWithItsPadding) {
  // Width 5, solid: 255 becomes 0, the padding 0 becomes 255 and is read as a dot in later rows:
  // 0 0 0 0 0 F F F 0 0 in lines of 5 is 00000 and FFF00 = 00 and E0.
  JobCase job = stencilJob();
  job.negative();
  job.addPixels(5, 2, ts::uniform(5, 2, 255));
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(imageNamed(result, "dithered_#_1.bmp").substr(1078),
            hex("00 00 00 00 00 FF FF FF 00 00"));
  EXPECT_EQ(onlyFrame(result).back(), '\xE0');
}

TEST_P(Tattoo, PrintsThroughATooNarrowHeadAndOnEveryPaper) {
  // 30 points are 84.6 dots at 203 dpi: the margin of 160 dots is (-75.4 / 2 + 7) / 8 = -3.8 -> -3.
  for (const char* points : {"30", "40", "57", "0", "2000"}) {
    for (const char* paper : {"LabelGaps", "LabelMark", "Continue"}) {
      SCOPED_TRACE(std::string(points) + " " + paper);
      JobCase job = stencilJob();
      job.mediaWidth(points);
      job.choose("PaperType", paper);
      job.settings.paperType = paper;
      job.addPage(160, 12, "photo");
      job.addPage(163, 9, "text", 164, 300);
      expectAsPlain(job);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Stencil, Tattoo, ::testing::Values(8, 9),
                         [](const auto& each) { return halftoneName(each.param); });

TEST(TattooNames, BothTypesGiveDifferentDots) {
  std::vector<std::string> frames;
  for (const int halftone : {0, 8, 9}) {
    JobCase job = onePage(64, 48, "photo");
    job.halftone(halftone);
    frames.push_back(frameOf(job));
  }
  EXPECT_NE(frames[0], frames[1]);
  EXPECT_NE(frames[0], frames[2]);
  EXPECT_NE(frames[1], frames[2]);
}

}  // namespace kestra::blackbox
