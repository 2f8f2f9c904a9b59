// Which files of the filter's folder are frames that nobody takes care of.
#include "delivery/tool/left_over.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <utility>

#include "tests/delivery/tool/machine.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;

TEST(LeftOver, FramesAreGroupedByJobInTheOrderOfTheirTimes) {
  const Machine machine;
  const Bytes frame = frameOf(1);
  machine.leave(frameName(1, 12, 1), frame, 10);
  machine.leave(frameName(2, 12, 0), frame, 30);
  machine.leave(frameName(1, 7, 0), frame, 5);
  machine.leave("page_12345_jobid_1234567_10000.dat", frame);
  const std::vector<LeftJob> jobs = leftOverFrames(machine.places().frames);
  ASSERT_EQ(jobs.size(), 3U);
  EXPECT_EQ(jobs[0].number, 7);
  EXPECT_EQ(jobs[1].number, 12);
  EXPECT_EQ(jobs[2].number, 1234567);
  ASSERT_EQ(jobs[1].frames.size(), 2U);
  EXPECT_EQ(jobs[1].frames[0].path, machine.places().frames + "/" + frameName(2, 12, 0));
  EXPECT_EQ(jobs[1].bytes(), 2 * frame.size());
  EXPECT_EQ(jobs[1].newest(), jobs[1].frames[1].made.tv_sec);
}

TEST(LeftOver, FramesOfOneMomentAreInTheOrderOfTheirNames) {
  const Machine machine;
  const timespec moment = {1700000000, 5};
  const timespec later = {1700000000, 6};
  for (const auto& [sequence, time] : {std::pair{2, moment}, {0, moment}, {1, later}}) {
    const std::string path = machine.leave(frameName(1, 12, sequence), frameOf(1));
    const timespec times[2] = {time, time};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }
  const std::vector<LeftJob> jobs = leftOverFrames(machine.places().frames);
  ASSERT_EQ(jobs.size(), 1U);
  std::vector<std::string> names;
  for (const LeftFrame& one : jobs[0].frames) {
    names.push_back(std::filesystem::path(one.path).filename());
  }
  EXPECT_EQ(names, (std::vector<std::string>{frameName(1, 12, 0), frameName(1, 12, 2),
                                             frameName(1, 12, 1)}));
}

TEST(LeftOver, WhatIsNoFrameIsLeftOut) {
  const Machine machine;
  for (const char* name : {"page_001_jobid_000012_0000.dat", "page_0001_jobid_00012_0000.dat",
                           "page_0001_jobid_000012_000.dat", "page_0001_jobid_000012_0000.dat.part",
                           "page_0001_jobid_1234567890_0000.dat", ".part_0001", "shop.pgc",
                           "page_-001_jobid_000012_0000.dat", "xpage_0001_jobid_000012_0000.dat",
                           "page_0001_job_000012_0000.dat", "page_0001_jobid_000012x0000.dat"}) {
    machine.leave(name, frameOf(1));
  }
  const std::string real = machine.root() + "/real";
  publish(real, frameOf(1));
  const std::string& folder = machine.places().frames;
  std::filesystem::create_symlink(real, folder + "/" + frameName(1, 12));
  std::filesystem::create_directory(folder + "/" + frameName(2, 12));
  ASSERT_EQ(mkfifo((folder + "/" + frameName(3, 12)).c_str(), 0600), 0);
  EXPECT_TRUE(leftOverFrames(folder).empty());
  EXPECT_TRUE(leftOverFrames(folder + "/none").empty());
}

TEST(LeftOver, FramesOfARunningJobAndKeptOnesAreLeftOut) {
  const Machine machine;
  machine.leave(frameName(1, 12), frameOf(1));
  const std::string kept = machine.leave(frameName(1, 13), frameOf(2));
  machine.leave(frameName(2, 13), frameOf(3));
  struct stat status = {};
  ASSERT_EQ(stat(kept.c_str(), &status), 0);
  CaredFor caredFor;
  caredFor.running = {12};
  caredFor.kept = {{status.st_dev, status.st_ino}};
  const std::vector<LeftJob> jobs = leftOverFrames(machine.places().frames, caredFor);
  ASSERT_EQ(jobs.size(), 1U);
  ASSERT_EQ(jobs[0].frames.size(), 1U);
  EXPECT_EQ(jobs[0].frames[0].path, machine.places().frames + "/" + frameName(2, 13));
}

TEST(LeftOver, FramesOfAnotherUserAreLeftOut) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  const Machine machine;
  const std::string theirs = machine.leave(frameName(1, 12), frameOf(1));
  ASSERT_EQ(chown(theirs.c_str(), 12345, 12345), 0);
  EXPECT_TRUE(leftOverFrames(machine.places().frames).empty());
}

}  // namespace
}  // namespace kestra::delivery
