// What the filter prints of fitted pages.
// Why: a page is straight only if the printer's own frame says so.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"
#include "tests/fit/plain_fit.h"

namespace kestra::fit_tests {

namespace ts = testing_support;
using blackbox::JobCase;

namespace {

// The job with a description whose head has 40 dots at 203 dots per inch.
JobCase smallHead() {
  JobCase job;
  job.ppd.setMaxMediaWidth("14.19");
  job.settings.maxMediaPoints = 14.19;
  return job;
}

// The frames behind the stage must be those of pages that had been drawn to fit.
void expectFramesOfFittedPages(JobCase job, bool compressed) {
  const std::string stream = ts::writeStream(job.pages, compressed);
  job.pages = plainFit(job.pages, 40);
  const ts::Result drawn = blackbox::expectAsPlain(job);
  job.stream = throughStage(stream, kSmallHead).stream;
  const ts::Result fitted = blackbox::expectAsPlain(job);
  std::size_t frames = 0;
  for (const auto& [name, bytes] : drawn.files) {
    if (name.find("page_") == std::string::npos) continue;
    ASSERT_EQ(fitted.files.count(name), 1U) << name;
    EXPECT_TRUE(fitted.files.at(name) == bytes) << name;
    ++frames;
  }
  EXPECT_EQ(frames, job.pages.size());
  EXPECT_EQ(fitted.output, drawn.output);
}

}  // namespace

TEST(FittedFrames, OfFittedPagesAreThoseOfPagesDrawnToFit) {
  for (const bool compressed : {false, true}) {
    for (const int halftone : {0, 3, 8}) {
      JobCase job = smallHead();
      job.halftone(halftone);
      for (const unsigned width : {1U, 2U, 3U, 5U, 6U, 7U, 30U, 39U, 40U, 41U, 43U, 70U, 90U}) {
        job.addPage(width, 11, "photo");
      }
      expectFramesOfFittedPages(job, compressed);
    }
  }
}

TEST(FittedFrames, OfNegativeAndMirroredPagesTreatTheAddedPaperAsThePages) {
  JobCase job = smallHead();
  job.halftone(8);
  job.negative();
  job.mirror();
  for (const unsigned width : {33U, 34U, 35U, 45U}) job.addPage(width, 9, "text");
  expectFramesOfFittedPages(job, false);
}

// One upright line of dots in every row's same column; without the stage it wanders.
TEST(FittedFrames, OfAnUprightLineHaveItInTheSameColumnOfEveryRow) {
  constexpr unsigned kWidth = 30;
  constexpr unsigned kHeight = 20;
  constexpr unsigned kColumn = 10;
  JobCase job;
  ts::StreamPage page = {ts::makeHeader(kWidth, kHeight, kWidth), ts::uniform(kWidth, kHeight, 0)};
  for (unsigned y = 0; y < kHeight; ++y) page.pixels[y * kWidth + kColumn] = 255;
  const auto isUpright = [&](const std::string& stream) {
    JobCase one = job;
    one.stream = stream;
    const std::string frame = blackbox::onlyFrame(blackbox::runFilter(one));
    // Each record: 2 bytes of count, margin ((812 - 32) / 2 + 7) / 8 = 49 bytes, 4 bytes of dots.
    constexpr std::size_t kRecord = 2 + 49 + 4;
    if (frame.size() != 22 + kRecord * kHeight) return false;
    for (std::size_t y = 0; y < kHeight; ++y) {
      // Column 10 is the third bit of the second byte.
      if (frame.substr(22 + y * kRecord + 51, 4) != std::string("\0\x20\0\0", 4)) return false;
    }
    return true;
  };
  const std::string stream = ts::rawStream({page});
  EXPECT_FALSE(isUpright(stream));
  EXPECT_TRUE(isUpright(throughStage(stream, 288).stream));
}

}  // namespace kestra::fit_tests
