// Starts of jobs beside and behind each other, with a filter that the test plays.
#include "delivery/core/job_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <filesystem>
#include <set>
#include <tuple>

#include "delivery/core/job_store.h"
#include "delivery/core/lock.h"
#include "tests/delivery/core/disk_faults.h"
#include "tests/delivery/core/frames.h"
#include "tests/delivery/core/printer_of_bytes.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;
using kestra::testing_support::awaitTick;

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
    awaitTick();  // a filter needs longer for its first page than this clock for a tick
    int sequence = 0;
    for (const std::uint8_t one : dots) {
      EXPECT_EQ(write(ends[1], kUsualCommand.data(), kUsualCommand.size()), 7);
      while (fs::exists(places_.frames + "/" + frameName(1, job, sequence))) ++sequence;
      publish(places_.frames + "/" + frameName(1, job, sequence), frameOf(one));
    }
    if (endsWell) publish(places_.frames + "/label.pgc", {1, 0});
    close(ends[1]);
    awaitTick();
    facts_.input = ends[0];
    facts_.number = job;
    facts_.key = "job-" + std::to_string(job);
    facts_.queue = "label";
    facts_.device = "socket://h:9100";
    return ends[0];
  }
  // Job 7 has labels 16, 32 and 48, the first of which came.
  void killAfterALabelOfThree() {
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
  facts_.created = 1;
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
  killAfterALabelOfThree();
  filter(8, {64});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{32, 48, 64}));
  // The label that was cut off is forgotten once, and none of those that came behind it.
  EXPECT_EQ(sink_.opened, (std::vector<Before>{Before::kTornPage, Before::kNothing}));
  EXPECT_NE(told_.find("INFO: Printing what was left of job 7"), std::string::npos);
  EXPECT_TRUE(left().empty());
  EXPECT_NE(told_.find("PAGE: total 1\n"), std::string::npos);
  EXPECT_EQ(told_.find("PAGE: total 3"), std::string::npos);  // those are not this job's labels
  // And should the print system bring the job after all, nothing of it comes twice.
  filter(7, {16, 32, 48});
  EXPECT_EQ(print(sink_), Verdict::kPrinted);
  EXPECT_EQ(printer_.labels(kLabelBytes).size(), 3U);
}

// The filter outlives the sender, and stores what nobody takes.
TEST_F(JobRunTest, WhatTheFilterStoredAfterItsSenderWasKilledIsPrintedAsWell) {
  killAfterALabelOfThree();
  publish(places_.frames + "/" + frameName(1, 7, 3), frameOf(64));
  filter(8, {80});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{32, 48, 64, 80}));
  EXPECT_TRUE(left().empty());
}

TEST_F(JobRunTest, AJobWhoseSenderWasKilledBeforeItsFirstFrameIsPrintedAsWell) {
  filter(7, {});
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  close(facts_.input);
  facts_.input = ends[0];
  const pid_t child = fork();
  if (child == 0) {
    static_cast<void>(print(sink_));
    _exit(1);
  }
  const std::string devices = places_.state + "/devices";
  while (!fs::exists(devices) || fs::is_empty(devices)) usleep(1000);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(ends[0]);
  close(ends[1]);
  for (const int page : {0, 1}) {
    publish(places_.frames + "/" + frameName(1, 7, page),
            frameOf(static_cast<std::uint8_t>(16 * (page + 1))));
  }
  filter(8, {80});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{16, 32, 80}));
  EXPECT_TRUE(left().empty());
}

TEST_F(JobRunTest, WhatAKilledSenderLeftOutlivesTheCancelOfTheJobThatPrintsIt) {
  killAfterALabelOfThree();
  filter(8, {64});
  sink_.stopsAt = 5;
  EXPECT_EQ(print(sink_), Verdict::kRetry) << told_;
  sink_.stopsAt.reset();
  filter(9, {80});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  // The cancel ended label 2 in white, behind its header.
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{0, 32, 48, 80}));
  EXPECT_TRUE(left().empty());
}

TEST_F(JobRunTest, WhatAKilledSenderLeftDoesNotComeAgainOnceAPersonHadTheJobPrintedAnew) {
  facts_.created = 1;
  killAfterALabelOfThree();
  filter(7, {16, 32, 48});
  facts_.completed = 1000;
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  facts_.completed = 0;
  filter(8, {64});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{16, 32, 48, 64}));
  EXPECT_TRUE(left().empty());
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
    const JobStore store(places_.state);
    std::signal(SIGINT, SIG_DFL);  // a test in the background ignores it, and hands that on
    const bool held = store.prepare() && lock.open(*store.jobLock("job-7")) && lock.take();
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

// A tenth of what was waited between two looks, 10 ms at least and 100 ms at most: 10 looks in the
// first 100 ms, 17 more until the wait is told of, 18 in the 1.5 s behind that. Every 10 ms would
// be 200.
TEST_F(JobRunTest, AJobThatWaitsForAnotherLooksEverMoreSeldom) {
  filter(7, {16});
  const JobStore store(places_.state);
  ASSERT_EQ(store.prepare().problem(), "");
  int ready[2];
  ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
  const pid_t child = fork();
  if (child == 0) {
    Lock lock;
    if (!lock.open(store.deviceLock(facts_.device)) || !lock.take()) _exit(1);
    close(ready[1]);
    for (;;) pause();
  }
  close(ready[1]);
  char none = 0;
  ASSERT_EQ(read(ready[0], &none, 1), 0);
  Watch watch;
  const int alarm = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  const Tell setAlarm = [&](const std::string& line) {
    told_ += line + "\n";
    const itimerspec later = {{}, {1, 500000000}};
    EXPECT_EQ(timerfd_settime(alarm, 0, &later, nullptr), 0);
  };
  watch.add(alarm, [&] {
    watch.remove(alarm);
    watch.stop(Stop::kLeave);
  });
  rusage before = {}, after = {};
  getrusage(RUSAGE_THREAD, &before);
  EXPECT_EQ(printJob(places_, {}, facts_, sink_, watch, setAlarm), Verdict::kRetry);
  getrusage(RUSAGE_THREAD, &after);
  EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 100);
  EXPECT_NE(told_.find("Another job prints on this printer"), std::string::npos) << told_;
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(alarm);
  close(ready[0]);
  close(facts_.input);
}

// A printer that was left with part of a page takes the next one for the rest of it.
TEST_F(JobRunTest, TheNextJobKnowsWhetherThePrinterHasPartOfAPage) {
  struct Spoilt : BytesSink {
    using BytesSink::BytesSink;
    Progress send(const std::uint8_t* data, std::size_t size, const Patience& patience) override {
      const Progress progress = BytesSink::send(data, size / 2, patience);
      return progress == Progress::kDone ? Progress::kHopeless : progress;
    }
  };
  filter(7, {16});
  Spoilt spoilt(printer_);
  EXPECT_EQ(print(spoilt), Verdict::kStop);
  for (const int job : {8, 9}) {
    filter(job, {32});
    BytesSink sink(printer_);
    EXPECT_EQ(print(sink), Verdict::kPrinted) << told_;
    EXPECT_EQ(sink.opened, std::vector<Before>{job == 8 ? Before::kTornPage : Before::kNothing});
  }
}

// A journal that says of job 7 what a sender that was killed left, and one kept frame.
TEST_F(JobRunTest, NothingIsTakenUpOfOtherPrintersOrOfJobsThatAPersonStopped) {
  const JobStore store(places_.state);
  ASSERT_EQ(store.prepare().problem(), "");
  struct Case {
    const char *key, *device;
    Rest rest;
  };
  for (const Case& one :
       {Case{"a", "socket://other:9100", Rest::kNone}, Case{"b", "socket://h:9100", Rest::kStopped},
        Case{"c", "socket://h:9100", Rest::kNone}}) {
    ASSERT_EQ(store.jobLock(one.key).problem(), "");
    const std::string folder = *store.printingFolder(one.key, 0);
    Journal journal;
    ASSERT_EQ(journal.open(folder + "/journal").problem(), "");
    ASSERT_TRUE(journal.start({0, 7, "label", one.device, "t"}));
    if (one.rest != Rest::kNone) {
      ASSERT_TRUE(journal.rest(one.rest));
    }
    publish(folder + "/frame-10-000001.dat", frameOf(one.key[0] == 'c' ? 48 : 99));
    store.mark(folder, true);
  }
  filter(8, {16});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{48, 16}));
}

// The second start was killed as well; what the first one kept is the same labels.
TEST_F(JobRunTest, AStartKeepsNoFramesOfAnEarlierOne) {
  for (int start = 0; start < 2; ++start) {
    filter(7, {16, 32});
    const pid_t child = fork();
    if (child == 0) {
      sink_.diesAt = 10;
      static_cast<void>(print(sink_));
      _exit(1);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    close(facts_.input);
    std::set<std::string> owners;
    std::size_t kept = 0;
    for (const std::string& name : left()) {
      if (name.rfind("frame-", 0) != 0) continue;
      ++kept;
      owners.insert(name.substr(0, name.rfind('-')));
    }
    EXPECT_EQ(owners, std::set<std::string>{"frame-" + std::to_string(child)});
    EXPECT_GE(kept, 2U);
  }
}

TEST_F(JobRunTest, AJobThatWaitsForAPersonIsPrintedWhenItIsResumed) {
  facts_.doubt = Doubt::kHold;
  filter(7, {16, 32});
  sink_.breaksAt = kLabelBytes;
  EXPECT_EQ(print(sink_), Verdict::kHold);
  filter(7, {16, 32});
  BytesSink again(printer_);
  EXPECT_EQ(print(again), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{16, 16, 32}));
  EXPECT_NE(told_.find("Label 1 may come twice"), std::string::npos);
}

// The person who resumes it has looked after a missing page, not at the printer.
TEST_F(JobRunTest, AJobThatWasHeldForAnotherReasonIsHeldForADoubt) {
  facts_.doubt = Doubt::kHold;
  for (const Verdict verdict : {Verdict::kRetry, Verdict::kRetry, Verdict::kHold}) {
    filter(7, {16}, false);
    EXPECT_EQ(print(sink_), verdict) << told_;
  }
  filter(7, {16, 32});
  BytesSink resumed(printer_);
  resumed.breaksAt = kLabelBytes;
  EXPECT_EQ(print(resumed), Verdict::kHold) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{16, 32})) << told_;
}

// A process that prints another job holds the printer; the one that waits is cancelled.
TEST_F(JobRunTest, ACancelWhileWaitingForThePrinterEndsOnlyTheJobThatWaits) {
  int ready[2], over[2];
  ASSERT_EQ(pipe(ready), 0);
  ASSERT_EQ(pipe(over), 0);
  const pid_t child = fork();
  if (child == 0) {
    close(over[1]);
    Lock lock;
    const JobStore store(places_.state);
    char word = store.prepare() && lock.open(store.deviceLock("socket://h:9100")) && lock.take()
                    ? 'y'
                    : 'n';
    if (write(ready[1], &word, 1) != 1) _exit(1);
    _exit(read(over[0], &word, 1) == 0 ? 0 : 1);
  }
  close(over[0]);
  char word = 'n';
  ASSERT_EQ(read(ready[0], &word, 1), 1);
  ASSERT_EQ(word, 'y');
  filter(7, {16});
  Watch watch;
  sink_.watch = &watch;
  const Tell impatient = [&](const std::string& line) {
    if (line == "INFO: Another job prints on this printer; waiting for it") {
      watch.stop(Stop::kCancel);
    }
  };
  EXPECT_EQ(printJob(places_, {}, facts_, sink_, watch, impatient), Verdict::kRetry);
  close(facts_.input);
  close(over[1]);
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_TRUE(printer_.connections.empty());
  EXPECT_TRUE(left().empty());
  close(ready[0]);
  close(ready[1]);
}

// Where the system notes when a pipe was written to, that is another time.
TEST_F(JobRunTest, APipeIsBornBeforeWhatIsWrittenIntoIt) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const timespec birth = birthOfPipe(ends[0]);
  for (int milliseconds = 0; milliseconds < 20; ++milliseconds) {
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    usleep(1000);
  }
  EXPECT_EQ(birthOfPipe(ends[0]).tv_sec, birth.tv_sec);
  EXPECT_EQ(birthOfPipe(ends[0]).tv_nsec, birth.tv_nsec);
  close(ends[0]);
  close(ends[1]);
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

// A folder stands where a lock or a file where a folder should be.
TEST_F(JobRunTest, NothingIsPrintedWhoseLocksOrFoldersCannotBeMade) {
  const JobStore store(places_.state);
  ASSERT_EQ(store.prepare().problem(), "");
  const std::string device = store.deviceLock("socket://h:9100");
  const std::string job = *store.jobLock("job-7");
  const std::string folder = places_.state + "/jobs/job-7/0";
  for (const std::string& path : {device, job, folder, folder + "/journal"}) {
    told_.clear();
    fs::remove_all(folder);
    fs::remove_all(path);
    if (path == folder) {
      publish(path, {1});
    } else {
      fs::create_directories(path);
      if (path != device) fs::permissions(fs::path(path).parent_path(), fs::perms::owner_all);
    }
    filter(7, {16});
    EXPECT_EQ(print(sink_), Verdict::kStop) << path;
    EXPECT_NE(told_.find("ERROR: Nothing is printed, as what was printed could not be remembered"),
              std::string::npos)
        << told_;
    EXPECT_NE(told_.find(path), std::string::npos) << told_;
    EXPECT_TRUE(printer_.connections.empty()) << path;
    fs::remove_all(path);
  }
  filter(7, {16});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
}

TEST_F(JobRunTest, NothingIsPrintedWhileTheDiskOfItsMemoryIsFullOrBroken) {
  for (const bool hasRoom : {false, true}) {
    told_.clear();
    filter(7, {16});
    DiskFaults disk;
    disk.hasRoom = hasRoom;
    disk.goodFlushes = 0;
    EXPECT_EQ(print(sink_), Verdict::kStop);
    EXPECT_NE(told_.find("/journal cannot be written"), std::string::npos) << told_;
    EXPECT_TRUE(printer_.connections.empty());
  }
  filter(7, {16});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), std::vector<int>{16});
}

TEST_F(JobRunTest, WhatIsLeftOfAJobThatAnotherStartPrintsIsLeftToIt) {
  killAfterALabelOfThree();
  int ready[2];
  ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
  const pid_t child = fork();
  if (child == 0) {
    Lock lock;
    const JobStore store(places_.state);
    if (!lock.open(*store.jobLock("job-7")) || !lock.take()) _exit(1);
    close(ready[1]);
    for (;;) pause();
  }
  close(ready[1]);
  char none = 0;
  ASSERT_EQ(read(ready[0], &none, 1), 0);
  close(ready[0]);
  filter(8, {64});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), std::vector<int>{64});
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  // That one was killed, too.
  filter(9, {80});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{64, 32, 48, 80}));
}

TEST_F(JobRunTest, WhatIsLeftAndCannotBeLockedHoldsUpNoOtherJob) {
  killAfterALabelOfThree();
  const std::string lock = places_.state + "/jobs/job-7/lock";
  fs::remove(lock);
  fs::create_directory(lock);
  filter(8, {64});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), std::vector<int>{64});
}

// Label 1 was out or not; whoever wants to be asked is asked for that job, not for the next one.
TEST_F(JobRunTest, WhatIsLeftInDoubtIsHeldWhileTheNextJobIsPrinted) {
  facts_.doubt = Doubt::kHold;
  filter(7, {16, 32});
  const pid_t child = fork();
  if (child == 0) {
    sink_.diesAt = kLabelBytes;
    static_cast<void>(print(sink_));
    _exit(1);
  }
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  close(facts_.input);
  filter(8, {64});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(printer_.labels(kLabelBytes), std::vector<int>{64});
  EXPECT_NE(told_.find("Label 1 may have come or not"), std::string::npos) << told_;
  told_.clear();
  filter(9, {80});
  EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
  EXPECT_EQ(told_.find("may have come or not"), std::string::npos) << told_;
}

// Job 7 was begun once, or twice, and has kept nothing; in the frames' folder lies one of its
// number. After two starts nobody knows whose it is.
TEST_F(JobRunTest, AFrameThatMayBeOfEitherOfTwoStartsIsNotTakenUp) {
  const JobStore store(places_.state);
  ASSERT_EQ(store.prepare().problem(), "");
  ASSERT_EQ(store.jobLock("job-7").problem(), "");
  const std::string folder = *store.printingFolder("job-7", 0);
  for (const int starts : {1, 2}) {
    fs::remove(folder + "/journal");
    {
      Journal journal;
      ASSERT_EQ(journal.open(folder + "/journal").problem(), "");
      for (int i = 0; i < starts; ++i) {
        ASSERT_TRUE(journal.start({0, 7, "label", "socket://h:9100", "t"}));
      }
    }
    store.mark(folder, true);
    const std::string frame = places_.frames + "/" + frameName(1, 7);
    publish(frame, frameOf(48));
    const int job = 7 + starts;
    filter(job, {static_cast<std::uint8_t>(job)});
    EXPECT_EQ(print(sink_), Verdict::kPrinted) << told_;
    EXPECT_EQ(fs::exists(frame), starts == 2);
  }
  EXPECT_EQ(printer_.labels(kLabelBytes), (std::vector<int>{48, 8, 9}));
}

}  // namespace
}  // namespace kestra::delivery
