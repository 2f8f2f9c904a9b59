// Which printing a start of a job belongs to, and what is forgotten when.
#include "delivery/core/job_store.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>

#include "delivery/core/lock.h"
#include "tests/delivery/core/frames.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;

constexpr char kKey[] = "0b1c-2d";

class JobStoreTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(store_.prepare().problem(), "");
    ASSERT_EQ(store_.jobLock(kKey).problem(), "");
  }
  // One start of the job; the generation it belongs to.
  std::string start(long long completed, Rest rest) {
    const std::string folder = *store_.printingFolder(kKey, completed);
    Journal journal;
    EXPECT_EQ(journal.open(folder + "/journal").problem(), "");
    EXPECT_TRUE(journal.start({completed, 5, "label", "socket://h", "t"}));
    if (rest != Rest::kNone) {
      EXPECT_TRUE(journal.rest(rest));
    }
    return fs::path(folder).filename();
  }

  Folder folder_;
  JobStore store_{folder_ / "state"};
};

TEST_F(JobStoreTest, GoesOnWithTheSamePrintingAfterEveryEndButThoseAPersonMeans) {
  EXPECT_EQ(start(0, Rest::kNone), "0");     // cut off
  EXPECT_EQ(start(0, Rest::kLeft), "0");     // sent away
  EXPECT_EQ(start(0, Rest::kStopped), "0");  // held by a person
  EXPECT_EQ(start(0, Rest::kHeld), "0");
  EXPECT_EQ(start(0, Rest::kEnded), "0");
  EXPECT_EQ(start(0, Rest::kEnded), "0");    // the print system forgot that it had ended
  EXPECT_EQ(start(1000, Rest::kNone), "1");  // started again by a person
  EXPECT_EQ(start(1000, Rest::kLeft), "1");  // and cut off
  EXPECT_EQ(start(0, Rest::kEnded), "1");    // the print system forgot when it had ended
  EXPECT_EQ(start(2000, Rest::kChanged), "2");
  EXPECT_EQ(start(2000, Rest::kEnded), "3");  // resumed though its pages had changed: all anew
}

TEST_F(JobStoreTest, FoldersAreForTheFiltersUserAlone) {
  start(0, Rest::kEnded);
  for (const auto& entry : fs::recursive_directory_iterator(folder_ / "state")) {
    struct stat status = {};
    ASSERT_EQ(lstat(entry.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, entry.is_directory() ? 0700U : 0600U) << entry.path();
  }
}

TEST_F(JobStoreTest, RefusesAFolderThatIsALink) {
  const Folder elsewhere;
  fs::create_directory_symlink(elsewhere.path(), folder_ / "link");
  EXPECT_NE(JobStore(folder_ / "link").prepare().problem().find("link"), std::string::npos);
  EXPECT_TRUE(fs::is_empty(elsewhere.path()));
}

TEST_F(JobStoreTest, ListsAllPrintings) {
  start(0, Rest::kEnded);
  start(1000, Rest::kNone);
  const auto found = store_.printings();
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].generation, 0);
  EXPECT_EQ(found[0].journal.rest, Rest::kEnded);
  EXPECT_EQ(found[1].generation, 1);
  EXPECT_EQ(found[1].journal.completed, 1000);
  EXPECT_EQ(found[1].key, kKey);
}

TEST_F(JobStoreTest, KnowsThePrintingsUnderWayWithoutReadingAll) {
  start(0, Rest::kEnded);
  const std::string folder = *store_.printingFolder(kKey, 0);
  EXPECT_TRUE(store_.openPrintings().empty());
  store_.mark(folder, true);
  const auto found = store_.openPrintings();
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].key, kKey);
  EXPECT_EQ(found[0].folder, folder);
  EXPECT_EQ(found[0].journal.number, 5);
  store_.mark(folder, false);
  EXPECT_TRUE(store_.openPrintings().empty());
}

TEST_F(JobStoreTest, ForgetsOldJobsButNoneThatPrints) {
  start(0, Rest::kEnded);
  const std::string journal = folder_ / "state/jobs/0b1c-2d/0/journal";
  const timespec old[2] = {{1000, 0}, {1000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, journal.c_str(), old, 0), 0);
  store_.forgetOld(std::time(nullptr));  // older than 1970 is nothing
  EXPECT_EQ(store_.printings().size(), 1U);
  // It looked ten seconds ago; the system's clocks may differ by a moment, not by so much.
  const std::string stamp = folder_ / "state/tidied";
  const timespec lately[2] = {{std::time(nullptr) - 10, 0}, {std::time(nullptr) - 10, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, stamp.c_str(), lately, 0), 0);
  store_.forgetOld(60);
  EXPECT_EQ(store_.printings().size(), 1U);
  fs::remove(stamp);
  store_.forgetOld(60);
  EXPECT_TRUE(store_.printings().empty());
}

TEST_F(JobStoreTest, KeepsAnOldJobThatPrints) {
  start(0, Rest::kLeft);
  const std::string journal = folder_ / "state/jobs/0b1c-2d/0/journal";
  const timespec old[2] = {{1000, 0}, {1000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, journal.c_str(), old, 0), 0);
  int ready[2], over[2];
  ASSERT_EQ(pipe(ready), 0);
  ASSERT_EQ(pipe(over), 0);
  const pid_t child = fork();
  if (child == 0) {
    close(over[1]);
    Lock lock;
    char word = lock.open(*store_.jobLock(kKey)) && lock.take() ? 'y' : 'n';
    if (write(ready[1], &word, 1) != 1) _exit(1);
    _exit(read(over[0], &word, 1) == 0 ? 0 : 1);
  }
  close(over[0]);
  char word = 'n';
  ASSERT_EQ(read(ready[0], &word, 1), 1);
  ASSERT_EQ(word, 'y');
  store_.forgetOld(60);
  EXPECT_EQ(store_.printings().size(), 1U);
  close(over[1]);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  fs::remove(folder_ / "state/tidied");
  store_.forgetOld(60);
  EXPECT_TRUE(store_.printings().empty());
  close(ready[0]);
  close(ready[1]);
}

TEST_F(JobStoreTest, RefusesAFolderOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give folders away";
  ASSERT_EQ(chown((folder_ / "state/jobs").c_str(), 12345, 12345), 0);
  EXPECT_NE(store_.prepare().problem().find("jobs"), std::string::npos);
}

// Two jobs that were cut off; the one that began first has the key that is sorted last.
TEST_F(JobStoreTest, PrintingsUnderWayComeInTheOrderInWhichTheyBegan) {
  for (const char* key : {"zz", "aa"}) {
    ASSERT_EQ(store_.jobLock(key).problem(), "");
    const std::string folder = *store_.printingFolder(key, 0);
    Journal journal;
    ASSERT_EQ(journal.open(folder + "/journal").problem(), "");
    ASSERT_TRUE(journal.start({}));
    store_.mark(folder, true);
    while (std::time(nullptr) <= journal.state().begun) usleep(1000);  // the next second
  }
  const auto found = store_.openPrintings();
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].key, "zz");
  EXPECT_EQ(found[1].key, "aa");
}

TEST_F(JobStoreTest, KeysAreNamesOfNothingElse) {
  EXPECT_EQ(jobKey("urn:uuid:0b1c-2d", 5, 9), "0b1c-2d-5");
  EXPECT_EQ(jobKey("", 5, 9), "job-5-9");
  EXPECT_EQ(jobKey("urn:uuid:../../etc", 5, 9), "job-5-9");
  EXPECT_EQ(jobKey("urn:uuid:" + std::string(65, 'a'), 5, 9), "job-5-9");
  EXPECT_FALSE(isJobKey(""));
  EXPECT_FALSE(isJobKey("."));
  EXPECT_FALSE(isJobKey("a/b"));
  EXPECT_FALSE(isJobKey("a.b"));
}

TEST_F(JobStoreTest, TheLockOfADeviceHidesNothingButItsName) {
  EXPECT_EQ(store_.deviceLock("socket://a"), store_.deviceLock("socket://a"));
  EXPECT_NE(store_.deviceLock("socket://a"), store_.deviceLock("socket://b"));
  EXPECT_EQ(store_.deviceLock("../../x").rfind(folder_ / "state/devices/", 0), 0U);
}

TEST_F(JobStoreTest, KnowsTheFramesThatTheLastStartKept) {
  const Folder folder;
  for (const char* name :
       {"frame-10-000002.dat", "frame-10-000001.dat", "journal", "frame-x.dat"}) {
    publish(folder / name, frameOf(1));
  }
  EXPECT_EQ(keptFrames(folder.path()), (std::vector<std::string>{folder / "frame-10-000001.dat",
                                                                 folder / "frame-10-000002.dat"}));
  dropKeptFrames(folder.path(), 10);
  EXPECT_EQ(keptFrames(folder.path()).size(), 2U);
  dropKeptFrames(folder.path());
  EXPECT_TRUE(keptFrames(folder.path()).empty());
  EXPECT_TRUE(fs::exists(folder / "journal"));
}

// Two starts that were both killed: the frames of the later one are the job as it was last.
TEST_F(JobStoreTest, OfTwoStartsTheLaterOnesFramesCount) {
  const Folder folder;
  publish(folder / "frame-10-000001.dat", frameOf(1));
  const time_t before = std::time(nullptr);
  while (std::time(nullptr) <= before) usleep(1000);  // the file system counts in ticks of its own
  struct stat status = {};
  do {
    publish(folder / "frame-9-000001.dat", frameOf(2));
    ASSERT_EQ(lstat((folder / "frame-9-000001.dat").c_str(), &status), 0);
  } while (status.st_ctime <= before);
  EXPECT_EQ(keptFrames(folder.path()), std::vector<std::string>{folder / "frame-9-000001.dat"});
}

TEST_F(JobStoreTest, NamesThatAreNoJobsAreNeitherListedNorRemoved) {
  start(0, Rest::kEnded);
  const std::string jobs = folder_ / "state/jobs", open = folder_ / "state/open";
  for (const std::string& odd : {jobs + "/a b", jobs + "/a{", jobs + "/" + kKey + "/x",
                                 jobs + "/" + kKey + "/1234567", open + "/a{.0"}) {
    fs::create_directory(odd);
  }
  publish(open + "/no-number", {1});
  EXPECT_EQ(store_.printings().size(), 1U);
  EXPECT_TRUE(store_.openPrintings().empty());
  store_.forget("../jobs");
  store_.forget("a b");
  store_.forgetOld(-1000);
  EXPECT_TRUE(fs::exists(jobs + "/a b"));
  EXPECT_FALSE(fs::exists(jobs + "/" + kKey));
}

TEST_F(JobStoreTest, PrintingsAreListedByJobAndGeneration) {
  start(0, Rest::kEnded);
  start(1000, Rest::kEnded);
  ASSERT_EQ(store_.jobLock("ABC").problem(), "");
  ASSERT_EQ(store_.printingFolder("ABC", 0).problem(), "");
  std::vector<std::string> found;
  for (const Printing& one : store_.printings()) {
    found.push_back(one.key + "." + std::to_string(one.generation));
  }
  EXPECT_EQ(found, (std::vector<std::string>{"0b1c-2d.0", "0b1c-2d.1", "ABC.0"}));
}

TEST_F(JobStoreTest, AJobThatCameNoFurtherThanItsFolderIsForgottenByTheFoldersAge) {
  store_.forgetOld(3600);
  EXPECT_TRUE(fs::exists(folder_ / "state/jobs/0b1c-2d"));
  fs::remove(folder_ / "state/tidied");
  store_.forgetOld(-1);
  EXPECT_FALSE(fs::exists(folder_ / "state/jobs/0b1c-2d"));
}

TEST_F(JobStoreTest, AFileInPlaceOfAFolderIsTold) {
  publish(folder_ / "file", {1});
  const Result<void> prepared = JobStore(folder_ / "file/state").prepare();
  EXPECT_NE(prepared.problem().find("Not a directory"), std::string::npos) << prepared.problem();
  publish(folder_ / "state/jobs/taken", {1});
  EXPECT_FALSE(store_.jobLock("taken"));
  publish(folder_ / ("state/jobs/" + std::string(kKey) + "/0"), {1});
  const Result<std::string> printing = store_.printingFolder(kKey, 0);
  EXPECT_NE(printing.problem().find("no folder of ours"), std::string::npos) << printing.problem();
}

}  // namespace
}  // namespace kestra::delivery
