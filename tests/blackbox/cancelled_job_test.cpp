// Jobs that are cancelled at any moment, and jobs that run at the same time under the same number.
// Why: the delivery stage prints what it finds; half a page or another job's page must not be
// there.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

namespace {

const std::string kData = std::string(ts::kData) + "/";

// Three pages of some size, so that there is a middle of a page to be cancelled in.
JobCase threePages() {
  JobCase job;
  job.halftone(2);
  job.addPage(800, 300, "photo");
  job.addPage(812, 200, "noise");
  job.addPage(400, 400, "text");
  return job;
}

bool isFrame(const std::string& path) { return path.rfind(kData + "page_", 0) == 0; }

// Everything in the data directory is a whole page of the job, or a whole counter.
void expectWholeFiles(const ts::Result& result, const plain::Outcome& expected) {
  for (const auto& [path, bytes] : result.files) {
    if (path.rfind(kData, 0) != 0) continue;
    const std::string name = path.substr(kData.size());
    if (isFrame(path)) {
      const auto page = expected.frames.find(name);
      ASSERT_NE(page, expected.frames.end()) << name;
      EXPECT_EQ(bytes, std::string(page->second.begin(), page->second.end())) << name;
    } else if (name == expected.markerName) {
      EXPECT_EQ(bytes.size(), 2U);
    } else {
      // What a collector of page_*.dat and *.pgc never sees.
      EXPECT_EQ(name.rfind(".part_", 0), 0U) << name;
    }
  }
}

std::chrono::microseconds timeOfOneRun(const JobCase& job) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(runFilter(job).status, 0);
  return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() -
                                                               start);
}

class CancelledJob : public testing::TestWithParam<unsigned> {};

}  // namespace

TEST_P(CancelledJob, LeavesWholePagesAndAWholeCounterAtAnyMoment) {
  constexpr int kMoments = 20;
  JobCase job = threePages();
  job.marker = std::string("\x05\x00", 2);
  const plain::Outcome expected = predict(job);
  const auto whole = timeOfOneRun(job);
  // Random, but the same ones each time; a little beyond the end of the job as well.
  std::minstd_rand random(GetParam() + 1);
  std::uniform_int_distribution<long> moment(0, whole.count() * 11 / 10);
  for (int i = 0; i < kMoments; ++i) {
    ts::Sandbox box;
    ts::Run run = prepare(job, box);
    run.terminateAfter = std::chrono::microseconds(moment(random));
    SCOPED_TRACE("cancelled after " + std::to_string(run.terminateAfter->count()) + " us");
    const ts::Result result = box.start(run);
    EXPECT_TRUE(result.signal == SIGTERM || result.status == 0);
    expectWholeFiles(result, expected);
  }
}

INSTANTIATE_TEST_SUITE_P(TwentyMoments, CancelledJob, testing::Range(0U, 10U));

TEST(CancelledJob, IsReallyCancelled) {
  JobCase job = threePages();
  ts::Sandbox box;
  ts::Run run = prepare(job, box);
  run.inputBytes.resize(run.inputBytes.size() / 2);
  run.milestones = {{run.inputBytes.size(), 99}};  // waits for pages that never come
  run.terminateAfter = std::chrono::milliseconds(300);
  const ts::Result result = box.start(run);
  EXPECT_EQ(result.signal, SIGTERM);
  expectWholeFiles(result, predict(job));
}

TEST(ParallelJobs, OfTheSameNumberLeaveAllTheirPages) {
  constexpr std::size_t kJobs = 8;
  const JobCase job = threePages();
  const plain::Outcome expected = predict(job);
  ts::Sandbox box;
  const ts::Run run = prepare(job, box);
  const std::vector<ts::Result> results = box.startTogether(std::vector<ts::Run>(kJobs, run));
  for (const ts::Result& result : results) EXPECT_EQ(result.status, 0) << result.messages;

  // A job that starts late may find the counter of one that has ended and number its pages anew,
  // so the numbers are open; the label block says them at bytes 12 and 13.
  std::vector<std::string> frames;
  for (const auto& [path, bytes] : results[0].files) {
    if (isFrame(path)) frames.push_back(bytes);
  }
  ASSERT_EQ(frames.size(), kJobs * expected.frames.size());
  const auto withoutNumber = [](std::string frame) {
    frame[12] = frame[13] = 0;
    return frame;
  };
  for (const auto& [name, bytes] : expected.frames) {
    const std::string page = withoutNumber(std::string(bytes.begin(), bytes.end()));
    EXPECT_EQ(std::count_if(frames.begin(), frames.end(),
                            [&](const std::string& frame) { return withoutNumber(frame) == page; }),
              static_cast<long>(kJobs))
        << name;
  }
  const auto counter = results[0].files.find(kData + expected.markerName);
  ASSERT_NE(counter, results[0].files.end());
  EXPECT_EQ(counter->second.size(), 2U);
}

}  // namespace kestra::blackbox
