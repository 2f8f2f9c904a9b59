// kestra-delivery forget from outside: what goes, and what stays.
#include <gtest/gtest.h>

#include <filesystem>

#include "delivery/core/job_store.h"
#include "delivery/core/lock.h"
#include "tests/delivery/tool/machine.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;
namespace fs = std::filesystem;

class Forget : public ::testing::Test {
 protected:
  void remember(const std::string& key, int number) {
    const std::string folder = machine_.printing(key);
    Journal journal;
    machine_.begin(journal, folder, number);
    ASSERT_TRUE(noteDone(journal, frameOf(1)));
    machine_.keep(folder, 1, frameOf(1));
  }
  bool isKnown(const std::string& key) const {
    return fs::exists(machine_.places().state + "/jobs/" + key);
  }
  Machine machine_;
};

TEST_F(Forget, TheJobGoesAndItsFramesWhereThatIsAsked) {
  remember("key", 45);
  remember("other", 46);
  const std::string left = machine_.leave(frameName(1, 45), frameOf(1));
  const std::string foreign = machine_.leave(frameName(1, 46), frameOf(1));
  Ran ran = machine_.run({"forget", "45"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(
      ran.out,
      "Forgot the job key: 1 printing, 1 label noted, 1 kept page frame.\n"
      "Still in the filter's folder: 1 page frame of job 45; --frames removes what is there.\n");
  EXPECT_FALSE(isKnown("key"));
  EXPECT_TRUE(isKnown("other"));
  EXPECT_TRUE(fs::exists(left));

  ran = machine_.run({"forget", "45"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_TRUE(fs::exists(left));
  ran = machine_.run({"forget", "45", "--frames"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out, "Removed 1 page frame of job 45, 34 bytes.\n");
  EXPECT_FALSE(fs::exists(left));
  EXPECT_TRUE(fs::exists(foreign));
  EXPECT_EQ(machine_.run({"forget", "45", "--frames"}).status, 1);
}

TEST_F(Forget, ItsMarkOfBeingUnderWayGoesWithIt) {
  remember("key", 45);
  remember("other", 46);
  const std::string open = machine_.places().state + "/open";
  fs::create_directory(open);
  const JobStore store(machine_.places().state);
  for (const char* key : {"key", "other"}) store.mark(machine_.printing(key), true);
  EXPECT_EQ(machine_.run({"forget", "45"}).status, 0);
  EXPECT_FALSE(fs::exists(open + "/key.0"));
  EXPECT_TRUE(fs::exists(open + "/other.0"));
}

TEST_F(Forget, OriginalsOfItsKeptFramesGoWithIt) {
  const std::string folder = machine_.printing("key");
  Journal journal;
  machine_.begin(journal, folder, 45);
  const std::string original = machine_.leave(frameName(1, 45), frameOf(1));
  fs::create_hard_link(original, folder + "/frame-9-000001.dat");
  EXPECT_EQ(machine_.run({"forget", "key", "--frames"}).status, 0);
  EXPECT_FALSE(fs::exists(original));
}

TEST_F(Forget, AJobUnderWayIsRefused) {
  remember("key", 45);
  const std::string left = machine_.leave(frameName(1, 45), frameOf(1));
  Lock lock;
  ASSERT_TRUE(lock.open(machine_.places().state + "/jobs/key/lock") && lock.take());
  const Ran ran = machine_.run({"forget", "45", "--frames"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "kestra-delivery: The job is under way; cancel it first\n");
  EXPECT_TRUE(isKnown("key"));
  EXPECT_TRUE(fs::exists(left));
}

TEST_F(Forget, TwoJobsOfOneNumberAreRefused) {
  remember("a", 45);
  remember("b", 45);
  const Ran ran = machine_.run({"forget", "45"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.err.find("45 is more than one job; name its key: a, b"), std::string::npos);
  EXPECT_TRUE(isKnown("a") && isKnown("b"));
  EXPECT_EQ(machine_.run({"forget", "b"}).status, 0);
  EXPECT_TRUE(isKnown("a"));
}

TEST_F(Forget, AJobWithoutAJournalTakesNoOtherJobsFramesAlong) {
  static_cast<void>(machine_.printing("key"));
  const std::string left = machine_.leave(frameName(1, 0), frameOf(1));
  EXPECT_EQ(machine_.run({"forget", "key", "--frames"}).status, 0);
  EXPECT_FALSE(isKnown("key"));
  EXPECT_TRUE(fs::exists(left));
}

}  // namespace
}  // namespace kestra::delivery
