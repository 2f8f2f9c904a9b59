// Whose rights the program works with. Another user needs root to be made, so this is for root.
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "delivery/sinks/count_lines.h"
#include "delivery/tool/places_rights.h"
#include "tests/delivery/tool/machine.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;
namespace fs = std::filesystem;

constexpr uid_t kOwner = 12345;
constexpr uid_t kStranger = 12346;

class Rights : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can be somebody else";
    ASSERT_EQ(chmod(machine_.root().c_str(), 0755), 0);
    Journal journal;
    folder_ = machine_.printing("key");
    machine_.begin(journal, folder_, 45);
    machine_.keep(folder_, 1, frameOf(1));
    machine_.leave(frameName(1, 7), frameOf(1));
    give(machine_.places().state);
    give(machine_.places().frames);
  }
  static void give(const std::string& folder) {
    ASSERT_EQ(chown(folder.c_str(), kOwner, kOwner), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      ASSERT_EQ(lchown(entry.path().c_str(), kOwner, kOwner), 0);
    }
  }
  void expectNothingOfRoot() const {
    for (const std::string& place : {machine_.places().state, machine_.places().frames}) {
      for (const auto& entry : fs::recursive_directory_iterator(place)) {
        struct stat status = {};
        ASSERT_EQ(lstat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, kOwner) << entry.path();
        EXPECT_EQ(status.st_gid, kOwner) << entry.path();
      }
    }
  }
  Machine machine_;
  std::string folder_;
};

TEST_F(Rights, RootSeesWhatTheOwnerOfTheStateSeesAndLeavesNothingOfRoot) {
  const Ran list = machine_.run({"list"});
  EXPECT_NE(list.out.find("job 45"), std::string::npos) << list.out << list.err;
  EXPECT_NE(list.out.find("job 7"), std::string::npos) << list.out;
  EXPECT_EQ(machine_.run({"send", "45", "/dev/null"}).status, 0);
  expectNothingOfRoot();
  EXPECT_TRUE(fs::exists(machine_.places().state + "/jobs/key/lock"));
  EXPECT_EQ(machine_.run({"forget", "45"}).status, 0);
  expectNothingOfRoot();
}

TEST_F(Rights, NothingOfRootsGroupsStays) {
  const pid_t child = fork();
  if (child == 0) {
    const gid_t ours[2] = {4, 5};
    gid_t after[64];
    if (setgroups(2, ours) != 0 || !becomeOwner(machine_.places())) _exit(9);
    const bool isOwner = getuid() == kOwner && getegid() == kOwner && getgid() == kOwner;
    const bool hasNone = getgroups(64, after) == 0;
    countLines();
    _exit(isOwner && hasNone ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(Rights, WhatTheOwnerMayNotRemoveRootDoesNotRemoveEither) {
  const std::string foreign = machine_.places().state + "/jobs/key/foreign";
  fs::create_directory(foreign);  // root's
  fs::create_directory(foreign + "/inside");
  const Ran ran = machine_.run({"forget", "45"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.err.find("could not be removed"), std::string::npos) << ran.err;
  EXPECT_TRUE(fs::exists(foreign + "/inside"));
}

TEST_F(Rights, AStrangerIsToldToBecomeRoot) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"list"}, {"show", "45"}, {"forget", "45"}, {"send", "45", "-"}}) {
    const Ran ran = machine_.run(words, kStranger);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.err, "kestra-delivery: " + machine_.places().state +
                           " is closed to you; run this as root, for example with sudo\n");
  }
  EXPECT_TRUE(fs::exists(folder_ + "/journal"));
}

TEST_F(Rights, AStrangerSendsFramesOfTheirOwn) {
  const std::string frame = machine_.root() + "/own.dat";
  publish(frame, frameOf(9));
  ASSERT_EQ(chown(frame.c_str(), kStranger, kStranger), 0);
  const Ran ran = machine_.run({"send", frame, "-"}, kStranger);
  EXPECT_EQ(ran.status, 0) << ran.err;
  const Bytes label = labelOf(frameOf(9));
  EXPECT_EQ(Bytes(ran.out.begin(), ran.out.end()), label);
}

TEST_F(Rights, TheLockOfADeviceBelongsToTheOwner) {
  const std::string frame = machine_.root() + "/own.dat";
  publish(frame, frameOf(9));
  // Nobody listens there.
  EXPECT_EQ(machine_.run({"send", frame, "socket://127.0.0.1:1", "--wait", "0"}).status, 1);
  EXPECT_FALSE(fs::is_empty(machine_.places().state + "/devices"));
  expectNothingOfRoot();
}

TEST_F(Rights, TheOwnerSeesWhatRootSees) {
  const Ran root = machine_.run({"list"});
  const Ran owner = machine_.run({"list"}, kOwner);
  EXPECT_EQ(owner.status, 0) << owner.err;
  EXPECT_EQ(owner.out, root.out);
}

TEST_F(Rights, WithoutAnyFolderTheUserOfFiltersCounts) {
  const passwd* account = getpwnam("lp");
  if (account == nullptr) GTEST_SKIP() << "no such user here";
  fs::remove_all(machine_.places().state);
  fs::remove_all(machine_.places().frames);
  const auto owner = ownerOfPlaces(machine_.places());
  ASSERT_TRUE(owner) << owner.problem();
  EXPECT_EQ(owner->user, account->pw_uid);
  EXPECT_EQ(owner->group, account->pw_gid);
}

TEST_F(Rights, WithoutAStateFolderTheOwnerOfTheFramesCounts) {
  fs::remove_all(machine_.places().state);
  ASSERT_EQ(chown(machine_.places().frames.c_str(), kStranger, kStranger), 0);
  const auto owner = ownerOfPlaces(machine_.places());
  ASSERT_TRUE(owner) << owner.problem();
  EXPECT_EQ(owner->user, kStranger);
  EXPECT_EQ(owner->group, kStranger);
}

TEST(PlacesRights, FilesWhereJobsWriteAreTold) {
  const Machine machine;
  EXPECT_TRUE(isInPlaces(machine.places().state + "/x", machine.places()));
  EXPECT_TRUE(isInPlaces(machine.places().images + "/x", machine.places()));
  EXPECT_TRUE(isInPlaces(machine.root() + "/var/lib/../lib/rastertokestra/x", machine.places()));
  EXPECT_FALSE(isInPlaces(machine.root() + "/var/lib/rastertokestra-x", machine.places()));
  EXPECT_FALSE(isInPlaces(machine.root() + "/x", machine.places()));
}

}  // namespace
}  // namespace kestra::delivery
