// Starts of jobs beside and behind each other, with a filter that the test plays.
#include "delivery/core/job_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "delivery/core/job_store.h"
#include "delivery/core/lock.h"
#include "tests/delivery/core/frames.h"
#include "tests/delivery/core/printer_of_bytes.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;

constexpr std::size_t kLabelBytes = 41;

class JobRunTest : public testing::Test {
 protected:
  JobRunTest() {
    places_ = {place_ / "frames", place_ / "images", place_ / "state", place_ / "settings"};
    fs::create_directory(places_.frames);
    fs::permissions(places_.frames, fs::perms::owner_all);
    fs::create_directory(places_.images);
  }
  // What a filter leaves that printed labels with these dots, and the reading end of its pipe.
  int filter(int job, const std::vector<std::uint8_t>& dots, bool endsWell = true) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    facts_.birth = birthOfPipe(ends[0]);
    int sequence = 0;
    for (const std::uint8_t one : dots) {
      EXPECT_EQ(write(ends[1], kUsualCommand.data(), kUsualCommand.size()), 7);
      while (fs::exists(places_.frames + "/" + frameName(1, job, sequence))) ++sequence;
      publish(places_.frames + "/" + frameName(1, job, sequence), frameOf(one));
    }
    if (endsWell) publish(places_.frames + "/label.pgc", {1, 0});
    close(ends[1]);
    facts_.input = ends[0];
    facts_.number = job;
    facts_.key = "job-" + std::to_string(job);
    facts_.queue = "label";
    facts_.device = "socket://h:9100";
    return ends[0];
  }
  Verdict print(BytesSink& sink) {
    Watch watch;
    sink.watch = &watch;
    const Verdict verdict = printJob(places_, {}, facts_, sink, watch, tell());
    close(facts_.input);
    return verdict;
  }
  Tell tell() {
    return [this](const std::string& line) { told_ += line + "\n"; };
  }
  std::vector<std::string> left() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(place_.path())) {
      const std::string name = entry.path().filename();
      if (name.find(".dat") != std::string::npos) names.push_back(name);
    }
    return names;
  }

  Folder place_;
  Places places_;
  JobFacts facts_;
  std::string told_;
  PrinterOfBytes printer_;
  BytesSink sink_{printer_};
};

TEST_F(JobRunTest, PrintsAJobAndLeavesNoFrame) {
  filter(7, {16, 32});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{16, 32}));
  EXPECT_TRUE(left().empty());
  EXPECT_TRUE(fs::exists(places_.frames + "/label.pgc"));
}

TEST_F(JobRunTest, AStartThatComesAgainPrintsOnlyWhatIsMissing) {
  filter(7, {16}, false);  // the filter was killed behind the first page
  EXPECT_EQ(print(sink_), Verdict::kRetry);
  filter(7, {16, 32, 48});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{16, 32, 48}));
  filter(7, {16, 32, 48});  // a print system that forgot that the job had ended
  EXPECT_EQ(print(sink_), Verdict::kPrinted);
  EXPECT_EQ(printer_.labels(kLabelBytes).size(), 3U);
  EXPECT_TRUE(left().empty());
}

TEST_F(JobRunTest, AJobThatAPersonStartsAgainIsPrintedAgain) {
  filter(7, {16});
  EXPECT_EQ(print(sink_), Verdict::kPrinted);
  filter(7, {16});
  facts_.completed = 1000;
  EXPECT_EQ(print(sink_), Verdict::kPrinted);
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{16, 16}));
}

TEST_F(JobRunTest, FramesThatWereThereBeforeTheJobAreNeverPrinted) {
  const std::string planted = places_.frames + "/" + frameName(1, 7);
  publish(planted, frameOf(99));
  const timespec old[2] = {{1000, 0}, {1000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, planted.c_str(), old, 0), 0);
  filter(7, {16});
  EXPECT_EQ(print(sink_), Verdict::kPrinted);
  EXPECT_EQ(printer_.labels(kLabelBytes), std::vector<int>{16});
  EXPECT_EQ(left(), std::vector<std::string>{frameName(1, 7)});
}

TEST_F(JobRunTest, NothingIsPrintedThatCannotBeRemembered) {
  publish(places_.state, {1});  // a file where the folder should be
  filter(7, {16});
  EXPECT_EQ(print(sink_), Verdict::kStop);
  EXPECT_TRUE(printer_.connections.empty());
  EXPECT_NE(told_.find(places_.state), std::string::npos);
}

// A sender that is killed together with its front: the print system takes the job for printed.
TEST_F(JobRunTest, WhatAKilledSenderLeftIsPrintedBeforeTheNextJobOfThePrinter) {
  filter(7, {16, 32, 48});
  const pid_t child = fork();
  if (child == 0) {
    sink_.diesAt = kLabelBytes + 10;
    static_cast<void>(print(sink_));
    _exit(1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_EQ(WEXITSTATUS(status), 0);
  close(facts_.input);
  filter(8, {64});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{32, 48, 64}));
  EXPECT_EQ(sink_.opened.at(0), Before::kTornPage);
  EXPECT_NE(told_.find("INFO: Printing what was left of job 7"), std::string::npos);
  EXPECT_NE(told_.find("PAGE: total 1\n"), std::string::npos);
  EXPECT_EQ(told_.find("PAGE: total 3"), std::string::npos);  // those are not this job's labels
  // And should the print system bring the job after all, nothing of it comes twice.
  filter(7, {16, 32, 48});
  EXPECT_EQ(print(sink_), Verdict::kPrinted);
  EXPECT_EQ(printer_.labels(kLabelBytes).size(), 3U);
}

TEST_F(JobRunTest, ACancelledJobIsNotTakenUpByTheNextOne) {
  filter(7, {16, 32});
  {
    Watch watch;
    sink_.watch = &watch;
    sink_.stopsAt = 5;
    EXPECT_EQ(printJob(places_, {}, facts_, sink_, watch, tell()), Verdict::kRetry);
    close(facts_.input);
  }
  sink_.stopsAt.reset();
  filter(8, {64});
  EXPECT_EQ(print(sink_), Verdict::kPrinted);
  // Label 1 of the first job was ended in white behind its header: no dots in its first row.
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{0, 64}));
  EXPECT_TRUE(left().empty());
}

// Two starts of one job side by side, as after the print system died by force.
TEST_F(JobRunTest, AStartWaitsForTheEarlierOneAndACancelReachesThat) {
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    Lock lock;
    std::string problem;
    const JobStore store(places_.state);
    const bool held = store.prepare(problem) &&
                      lock.open(store.jobLock("job-7", problem), problem) && lock.take();
    const char word = held ? 'y' : 'n';
    if (write(ready[1], &word, 1) != 1) _exit(1);
    for (;;) pause();
  }
  char word = 'n';
  ASSERT_EQ(read(ready[0], &word, 1), 1);
  ASSERT_EQ(word, 'y');
  filter(7, {16});
  Watch watch;
  sink_.watch = &watch;
  // The person who waits cancels when she is told what for.
  const Tell impatient = [&](const std::string& line) {
    if (line == "INFO: An earlier start of this job still prints; waiting for it") {
      watch.stop(Stop::kCancel);
    }
  };
  EXPECT_EQ(printJob(places_, {}, facts_, sink_, watch, impatient), Verdict::kRetry);
  close(facts_.input);
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(WTERMSIG(status), SIGINT);
  EXPECT_TRUE(printer_.connections.empty());
  close(ready[0]);
  close(ready[1]);
}

TEST_F(JobRunTest, WithoutAMemoryAJobIsPrintedAnewFromItsFirstLabel) {
  Watch watch;
  for (int i = 0; i < 2; ++i) {
    filter(7, {16, 32});
    EXPECT_EQ(printJobOnce(places_, facts_, sink_, watch, tell()), Verdict::kPrinted);
    close(facts_.input);
  }
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{16, 32, 16, 32}));
  EXPECT_FALSE(fs::exists(places_.state));
  EXPECT_TRUE(left().empty());
}

}  // namespace
}  // namespace kestra::delivery
