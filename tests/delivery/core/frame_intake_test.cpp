// Which files are the job's labels, in which order, and that none is lost or taken twice.
#include "delivery/core/frame_intake.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/delivery/core/frames.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;
using kestra::testing_support::awaitTick;

constexpr int kJob = 12;

std::vector<std::string> namesOf(const FrameIntake& intake) {
  std::vector<std::string> names;
  for (const TakenFrame& frame : intake.frames()) {
    names.push_back(fs::path(frame.original).filename());
  }
  return names;
}

void setTime(const std::string& path, time_t seconds) {
  const timespec times[2] = {{seconds, 0}, {seconds, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

TEST(FrameIntake, TakesFramesInTheOrderOfTheirAppearance) {
  const Folder folder;
  FrameIntake intake(folder.path(), kJob, {});
  // A page counter that starts again in the middle of a job: names do not tell the order.
  const std::vector<std::string> names = {frameName(8999, kJob), frameName(9000, kJob),
                                          frameName(1, kJob), frameName(1, kJob, 1)};
  for (const auto& name : names) publish(folder / name, frameOf(1));
  pollfd news = {intake.descriptor(), POLLIN, 0};
  EXPECT_EQ(poll(&news, 1, 1000), 1);
  intake.look();
  EXPECT_EQ(namesOf(intake), names);
  intake.look();
  EXPECT_EQ(namesOf(intake), names);
}

TEST(FrameIntake, OrdersWhatWasThereBeforeByAgeThenByName) {
  const Folder folder;
  publish(folder / frameName(1, kJob), frameOf(1));
  publish(folder / frameName(9000, kJob), frameOf(1));
  publish(folder / frameName(9000, kJob, 1), frameOf(1));
  setTime(folder / frameName(1, kJob), 2000);
  setTime(folder / frameName(9000, kJob), 1000);
  setTime(folder / frameName(9000, kJob, 1), 1000);
  const FrameIntake intake(folder.path(), kJob, {500, 0});
  EXPECT_EQ(namesOf(intake),
            (std::vector<std::string>{frameName(9000, kJob), frameName(9000, kJob, 1),
                                      frameName(1, kJob)}));
}

TEST(FrameIntake, SetsFramesOfAnEarlierStartAside) {
  const Folder folder;
  publish(folder / frameName(1, kJob), frameOf(1));
  setTime(folder / frameName(1, kJob), 1000);
  publish(folder / frameName(2, kJob), frameOf(2));
  setTime(folder / frameName(2, kJob), 3000);
  FrameIntake intake(folder.path(), kJob, {2000, 0});
  EXPECT_EQ(namesOf(intake), (std::vector<std::string>{frameName(2, kJob)}));
  // The one left by this job goes with it, one that is older than the job stays.
  intake.removeAll(1001);
  EXPECT_TRUE(fs::exists(folder / frameName(1, kJob)));
  EXPECT_FALSE(fs::exists(folder / frameName(2, kJob)));
  intake.removeAll(1000);
  EXPECT_FALSE(fs::exists(folder / frameName(1, kJob)));
}

// Two frames of the start before and one of this start lie in the same tick of the clock.
TEST(FrameIntake, FramesAsOldAsTheStartAreDecidedOnByTheirNumber) {
  const Folder folder;
  const Folder kept;
  for (const int page : {1, 2, 3, 4}) publish(folder / frameName(page, kJob), frameOf(1));
  for (const int page : {1, 2, 3}) setTime(folder / frameName(page, kJob), 1000);
  setTime(folder / frameName(4, kJob), 1001);
  FrameIntake intake(folder.path(), kJob, {1000, 0});
  intake.keepIn(kept.path());
  EXPECT_TRUE(intake.hasDoubtful());
  EXPECT_EQ(namesOf(intake), std::vector<std::string>{frameName(4, kJob)});
  intake.decide(2);
  EXPECT_FALSE(intake.hasDoubtful());
  ASSERT_EQ(namesOf(intake), (std::vector<std::string>{frameName(3, kJob), frameName(4, kJob)}));
  // What is left over when all is ended by force is sent in the order of these names.
  EXPECT_LT(intake.frames()[0].kept, intake.frames()[1].kept);
  intake.removeAll(0);
  EXPECT_TRUE(fs::is_empty(folder.path()));
  EXPECT_TRUE(fs::is_empty(kept.path()));
}

TEST(FrameIntake, LeavesEverythingElseAlone) {
  const Folder folder;
  const std::vector<std::string> others = {frameName(1, 13),
                                           frameName(1, 120012),
                                           "page_0001_jobid_000012_0000.dat.part",
                                           ".part_page_0001_jobid_000012_0000.dat",
                                           "page_x_jobid_000012_0000.dat",
                                           "page__jobid_000012_0000.dat",
                                           "label.pgc",
                                           "page_0001_jobid_000012_"};
  for (const auto& name : others) publish(folder / name, frameOf(1));
  publish(folder / "real", frameOf(1));
  fs::create_symlink(folder / "real", folder / frameName(2, kJob));
  ASSERT_EQ(mkfifo((folder / frameName(3, kJob)).c_str(), 0600), 0);
  fs::create_directory(folder / frameName(4, kJob));
  FrameIntake intake(folder.path(), kJob, {});
  EXPECT_TRUE(intake.frames().empty());
  intake.removeAll(0);
  for (const auto& name : others) EXPECT_TRUE(fs::exists(folder / name)) << name;
  EXPECT_TRUE(fs::is_symlink(folder / frameName(2, kJob)));
}

TEST(FrameIntake, KeepsWhatItHasTakenWhenTheFolderIsEmptied) {
  const Folder folder, ours;
  FrameIntake intake(folder.path(), kJob, {});
  publish(folder / frameName(1, kJob), frameOf(1));
  intake.look();
  intake.keepIn(ours.path());  // what was taken before is kept as well
  publish(folder / frameName(2, kJob), frameOf(2));
  intake.look();
  fs::remove_all(folder.path());
  ASSERT_EQ(intake.frames().size(), 2U);
  EXPECT_EQ(bytesOf(intake.frames()[0].kept), frameOf(1));
  EXPECT_EQ(bytesOf(intake.frames()[1].kept), frameOf(2));
  intake.removeAll(0);
  EXPECT_TRUE(fs::is_empty(ours.path()));
}

// The next frame then even has the same name.
TEST(FrameIntake, AFrameThatWasGoneBeforeItCouldBeTakenKeepsItsPlace) {
  const Folder folder;
  const Folder kept;
  FrameIntake intake(folder.path(), kJob, {});
  intake.keepIn(kept.path());
  publish(folder / frameName(1, kJob), frameOf(1));
  fs::remove(folder / frameName(1, kJob));
  publish(folder / frameName(2, kJob), frameOf(2));
  intake.look();
  intake.look();
  ASSERT_EQ(namesOf(intake), (std::vector<std::string>{frameName(1, kJob), frameName(2, kJob)}));
  EXPECT_TRUE(intake.frames()[0].isGone);
  EXPECT_FALSE(intake.frames()[1].isGone);
  EXPECT_EQ(bytesOf(intake.frames()[1].kept), frameOf(2));
  intake.removeAll(0);
  EXPECT_FALSE(fs::exists(folder / frameName(2, kJob)));
}

TEST(FrameIntake, AFrameUnderTheNameOfOneThatIsGoneIsNotTakenForIt) {
  const Folder folder;
  const Folder kept;
  FrameIntake intake(folder.path(), kJob, {});
  intake.keepIn(kept.path());
  publish(folder / frameName(1, kJob), frameOf(1));
  publish(folder / frameName(1, kJob, 1), frameOf(2));
  fs::remove(folder / frameName(1, kJob));
  fs::remove(folder / frameName(1, kJob, 1));
  publish(folder / frameName(1, kJob), frameOf(3));
  intake.look();
  ASSERT_EQ(intake.frames().size(), 3U);
  EXPECT_TRUE(intake.frames()[0].isGone);
  EXPECT_TRUE(intake.frames()[1].isGone);
  ASSERT_FALSE(intake.frames()[2].isGone);
  EXPECT_EQ(bytesOf(intake.frames()[2].kept), frameOf(3));
}

// Its new frame has the name of the first one, and nobody has told of it.
TEST(FrameIntake, AFrameInAFolderThatWasMadeAnewIsNotTakenForOneOfTheOldFolder) {
  const Folder folder;
  const Folder kept;
  const std::string old = folder / "old";
  fs::create_directory(old);
  fs::permissions(old, fs::perms::owner_all);
  FrameIntake intake(old, kJob, {});
  intake.keepIn(kept.path());
  publish(old + "/" + frameName(1, kJob), frameOf(1));
  publish(old + "/" + frameName(1, kJob, 1), frameOf(2));
  fs::remove_all(old);
  fs::create_directory(old);
  fs::permissions(old, fs::perms::owner_all);
  publish(old + "/" + frameName(1, kJob), frameOf(3));
  intake.look();
  ASSERT_EQ(intake.frames().size(), 3U);
  EXPECT_TRUE(intake.frames()[0].isGone);
  EXPECT_TRUE(intake.frames()[1].isGone);
  ASSERT_FALSE(intake.frames()[2].isGone);
  EXPECT_EQ(bytesOf(intake.frames()[2].kept), frameOf(3));
}

TEST(FrameIntake, AFrameThatIsGoneBeforeItCouldBeKeptIsNotTheNextOneOfItsName) {
  const Folder folder;
  const Folder kept;
  FrameIntake intake(folder.path(), kJob, {});
  publish(folder / frameName(1, kJob), frameOf(1));
  publish(folder / frameName(2, kJob), frameOf(2));
  intake.look();
  fs::remove(folder / frameName(1, kJob));
  fs::remove(folder / frameName(2, kJob));
  awaitTick();
  publish(folder / frameName(1, kJob), frameOf(3));
  intake.keepIn(kept.path());
  intake.look();
  ASSERT_EQ(intake.frames().size(), 3U);
  EXPECT_TRUE(intake.frames()[0].isGone);
  EXPECT_TRUE(intake.frames()[1].isGone);
  EXPECT_EQ(bytesOf(intake.frames()[2].kept), frameOf(3));
}

TEST(FrameIntake, AFrameThatIsGoneAfterItWasTakenIsThereOnce) {
  const Folder folder;
  const Folder kept;
  const std::string later = folder / "later";
  FrameIntake intake(later, kJob, {});
  intake.keepIn(kept.path());
  fs::create_directory(later);
  fs::permissions(later, fs::perms::owner_all);
  publish(later + "/" + frameName(1, kJob), frameOf(1));
  intake.look();  // listens from here on, and finds the frame
  publish(later + "/" + frameName(2, kJob), frameOf(2));
  intake.look();
  fs::remove(later + "/" + frameName(1, kJob));
  fs::remove(later + "/" + frameName(2, kJob));
  intake.look();
  EXPECT_EQ(namesOf(intake), (std::vector<std::string>{frameName(1, kJob), frameName(2, kJob)}));
  EXPECT_FALSE(intake.frames()[0].isGone);
  EXPECT_FALSE(intake.frames()[1].isGone);
}

TEST(FrameIntake, FindsTheFolderAgainWhenItIsMadeAnew) {
  const Folder place;
  const std::string folder = place / "kcv6data";
  FrameIntake intake(folder, kJob, {});
  EXPECT_TRUE(intake.mustBePolled());
  EXPECT_FALSE(intake.hasFolder());
  fs::create_directory(folder);
  publish(folder + "/" + frameName(1, kJob), frameOf(1));
  intake.look();
  EXPECT_FALSE(intake.mustBePolled());
  fs::remove_all(folder);
  intake.look();
  EXPECT_TRUE(intake.mustBePolled());
  awaitTick();
  fs::create_directory(folder);
  publish(folder + "/" + frameName(1, kJob), frameOf(2));
  intake.look();
  ASSERT_EQ(intake.frames().size(), 2U);
}

TEST(FrameIntake, RemovesNoFileThatHasTakenAFramesName) {
  const Folder folder;
  publish(folder / frameName(1, kJob), frameOf(1));
  FrameIntake intake(folder.path(), kJob, {});
  ASSERT_EQ(intake.frames().size(), 1U);
  fs::rename(folder / frameName(1, kJob), folder / "moved");
  publish(folder / frameName(1, kJob), frameOf(2));
  intake.removeAll(0);
  EXPECT_EQ(bytesOf(folder / frameName(1, kJob)), frameOf(2));
}

TEST(FrameIntake, TakesNothingFromAFolderThatIsALink) {
  const Folder real, place;
  publish(real / frameName(1, kJob), frameOf(1));
  fs::create_directory_symlink(real.path(), place / "kcv6data");
  const FrameIntake intake(place / "kcv6data", kJob, {});
  EXPECT_FALSE(intake.hasFolder());
  EXPECT_TRUE(intake.frames().empty());
}

TEST(FrameIntake, TakesNoFrameOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  const Folder folder;
  publish(folder / frameName(1, kJob), frameOf(1));
  ASSERT_EQ(chown((folder / frameName(1, kJob)).c_str(), 12345, 12345), 0);
  FrameIntake intake(folder.path(), kJob, {});
  EXPECT_TRUE(intake.frames().empty());
  intake.removeAll(0);
  EXPECT_TRUE(fs::exists(folder / frameName(1, kJob)));
}

TEST(FrameIntake, TakesAFrameThatIsRenamedOnce) {
  const Folder folder;
  publish(folder / frameName(1, kJob), frameOf(1));
  FrameIntake intake(folder.path(), kJob, {});
  fs::rename(folder / frameName(1, kJob), folder / frameName(2, kJob));
  intake.look();
  EXPECT_EQ(namesOf(intake), std::vector<std::string>{frameName(1, kJob)});
}

// A frame that is gone leaves its number to the next file.
TEST(FrameIntake, TakesAFrameInAFileOfAUsedNumber) {
  const Folder folder;
  const std::string path = folder / frameName(1, kJob);
  publish(path, frameOf(1));
  FrameIntake intake(folder.path(), kJob, {});
  // The same file, written anew, is what a new file of its number looks like.
  const timespec later[2] = {{4000000000, 1}, {4000000000, 1}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), later, 0), 0);
  fs::rename(path, folder / frameName(2, kJob));
  intake.look();
  EXPECT_EQ(namesOf(intake), (std::vector<std::string>{frameName(1, kJob), frameName(2, kJob)}));
}

TEST(FrameIntake, KeepsACopyWhereTheFoldersAreOnTwoFileSystems) {
  std::string ours = "/dev/shm/kestra-delivery-XXXXXX";
  if (mkdtemp(ours.data()) == nullptr) GTEST_SKIP() << "no second file system";
  const Folder folder;
  struct stat here = {}, there = {};
  if (stat(ours.c_str(), &there) == 0 && stat(folder.path().c_str(), &here) == 0 &&
      here.st_dev != there.st_dev) {
    FrameIntake intake(folder.path(), kJob, {});
    intake.keepIn(ours);
    const Bytes large(3000000, 7);  // more than one piece
    publish(folder / frameName(1, kJob), large);
    intake.look();
    fs::remove(folder / frameName(1, kJob));
    ASSERT_EQ(intake.frames().size(), 1U);
    EXPECT_EQ(bytesOf(intake.frames()[0].kept), large);
    intake.removeAll(0);
    EXPECT_TRUE(fs::is_empty(ours));
  }
  fs::remove_all(ours);
}

TEST(FrameIntake, ListensToAFolderThatWasMadeAnew) {
  const Folder place;
  const std::string folder = place / "kcv6data";
  fs::create_directory(folder);
  FrameIntake intake(folder, kJob, {});
  fs::remove_all(folder);
  intake.look();
  fs::create_directory(folder);
  intake.look();
  EXPECT_FALSE(intake.mustBePolled());
  publish(folder + "/" + frameName(1, kJob), frameOf(1));
  pollfd news = {intake.descriptor(), POLLIN, 0};
  EXPECT_EQ(poll(&news, 1, 1000), 1);
  intake.look();
  EXPECT_EQ(intake.frames().size(), 1U);
}

// The system tells of so many files and no more until they are heard of.
TEST(FrameIntake, FindsAFrameThatTheSystemHadNoRoomToTellOf) {
  std::ifstream limit("/proc/sys/fs/inotify/max_queued_events");
  int most = 0;
  if (!(limit >> most) || most > 50000) GTEST_SKIP() << "the system tells of too many";
  const Folder folder;
  FrameIntake intake(folder.path(), kJob, {});
  for (int i = 0; i <= most; ++i) {
    // Two names in turn: of the same twice in a row it tells once.
    const std::string path = folder / (i % 2 == 0 ? "one" : "other");
    std::ofstream(path).put('x');
    fs::remove(path);
  }
  publish(folder / frameName(1, kJob), frameOf(1));
  intake.look();
  EXPECT_EQ(namesOf(intake), (std::vector<std::string>{frameName(1, kJob)}));
}

// A link on the same file system, a copy on another: both are known as the original's.
TEST(FrameIntake, RemovesTheOriginalsOfKeptFramesAndNoOthers) {
  const Folder folder, kept;
  const std::string linked = folder / frameName(1, kJob), copied = folder / frameName(2, kJob);
  const std::string others[] = {folder / frameName(3, kJob), folder / frameName(4, kJob),
                                folder / frameName(1, kJob + 1)};
  for (const std::string& path : {linked, copied, others[0], others[1], others[2]}) {
    publish(path, frameOf(1));
    setTime(path, 1000);
  }
  setTime(others[0], 1001);           // another start's, of equal labels
  publish(others[1], frameOf(1, 5));  // a label of another size
  setTime(others[1], 1000);
  ASSERT_EQ(link(linked.c_str(), (kept / "frame-1-000001.dat").c_str()), 0);
  publish(kept / "frame-1-000002.dat", frameOf(9));
  setTime(kept / "frame-1-000002.dat", 1000);
  removeOriginals(folder.path(), kJob,
                  {kept / "frame-1-000001.dat", kept / "frame-1-000002.dat", kept / "none"});
  EXPECT_FALSE(fs::exists(linked));
  EXPECT_FALSE(fs::exists(copied));
  for (const std::string& path : others) EXPECT_TRUE(fs::exists(path)) << path;
  EXPECT_TRUE(fs::exists(kept / "frame-1-000001.dat"));
}

TEST(FrameIntake, FollowsAFolderThatIsMovedAwayAndMadeAnew) {
  const Folder place;
  const std::string folder = place / "kcv6data";
  const auto make = [&] {
    fs::create_directory(folder);
    fs::permissions(folder, fs::perms::owner_all);
  };
  make();
  FrameIntake intake(folder, kJob, {});
  fs::rename(folder, place / "moved");
  intake.look();
  EXPECT_TRUE(intake.mustBePolled());
  make();
  publish(place / "moved" + "/" + frameName(1, kJob), frameOf(1));
  publish(folder + "/" + frameName(2, kJob), frameOf(2));
  intake.look();
  EXPECT_EQ(namesOf(intake), std::vector<std::string>{frameName(2, kJob)});
}

TEST(FrameIntake, SaysSoAtEverySecondFrame) {
  const Folder folder;
  FrameIntake intake(folder.path(), kJob, {});
  std::vector<std::size_t> said;
  intake.onEvery(2, [&] { said.push_back(intake.frames().size()); });
  for (int page = 1; page <= 5; ++page) publish(folder / frameName(page, kJob), frameOf(1));
  intake.look();
  EXPECT_EQ(said, (std::vector<std::size_t>{2, 4}));
}

TEST(FrameIntake, AFrameThatCannotBeKeptIsSentFromWhereItIs) {
  const Folder folder;
  FrameIntake intake(folder.path(), kJob, {});
  publish(folder / frameName(1, kJob), frameOf(1));
  intake.look();
  intake.keepIn(folder / "missing");
  ASSERT_EQ(intake.frames().size(), 1U);
  EXPECT_FALSE(intake.frames()[0].isGone);
  EXPECT_EQ(intake.frames()[0].kept, intake.frames()[0].original);
}

TEST(FrameIntake, AFrameThatWasGoneEarlyIsNotKept) {
  const Folder folder, kept;
  FrameIntake intake(folder.path(), kJob, {});
  publish(folder / frameName(1, kJob), frameOf(1));
  fs::remove(folder / frameName(1, kJob));
  intake.look();
  intake.keepIn(kept.path());
  ASSERT_EQ(intake.frames().size(), 1U);
  EXPECT_TRUE(intake.frames()[0].isGone);
  EXPECT_TRUE(fs::is_empty(kept.path()));
}

// Behind a page of this start, one of the same tick is this start's as well.
TEST(FrameIntake, FramesAsOldAsTheStartAreItsOwnBehindItsFirst) {
  const Folder folder;
  FrameIntake intake(folder.path(), kJob, {1000, 0});
  publish(folder / frameName(1, kJob), frameOf(1));
  setTime(folder / frameName(1, kJob), 1001);
  intake.look();
  publish(folder / "hidden", frameOf(2));
  setTime(folder / "hidden", 1000);
  fs::rename(folder / "hidden", folder / frameName(2, kJob));
  intake.look();
  EXPECT_FALSE(intake.hasDoubtful());
  EXPECT_EQ(namesOf(intake), (std::vector<std::string>{frameName(1, kJob), frameName(2, kJob)}));
}

TEST(FrameIntake, FramesInDoubtGoWithTheJobThatKeepsNone) {
  const Folder folder;
  for (const int page : {1, 2}) {
    publish(folder / frameName(page, kJob), frameOf(1));
    setTime(folder / frameName(page, kJob), 1000);
  }
  {
    FrameIntake undecided(folder.path(), kJob, {1000, 0});
    ASSERT_TRUE(undecided.hasDoubtful());
    undecided.removeAll(1001);
    EXPECT_TRUE(fs::exists(folder / frameName(1, kJob)));  // older than the job
  }
  FrameIntake intake(folder.path(), kJob, {1000, 0});
  intake.decide(1);
  EXPECT_EQ(namesOf(intake), std::vector<std::string>{frameName(2, kJob)});
  EXPECT_EQ(intake.frames()[0].kept, intake.frames()[0].original);
  FrameIntake again(folder.path(), kJob, {1000, 0});
  again.removeAll(1000);
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

// Kept are frames of 1000, 2000 and 2000; one that is not there any more tells nothing.
TEST(FramesBehind, AreThoseThatFollowTheLastOneKept) {
  const Folder folder, kept;
  const auto put = [](const std::string& path, time_t time) {
    publish(path, frameOf(1));
    setTime(path, time);
  };
  put(kept / "1", 1000);
  put(kept / "2", 2000);
  put(kept / "3", 2000);
  const std::vector<std::string> paths = {kept / "2", kept / "1", kept / "gone", kept / "3"};
  int page = 0;
  for (const time_t time : {1000, 2000, 2000, 2000, 3000}) {
    put(folder / frameName(++page, kJob), time);
  }
  EXPECT_EQ(framesBehind(folder.path(), kJob, paths, 0),
            (std::vector<std::string>{folder / frameName(4, kJob), folder / frameName(5, kJob)}));
  // Without any that was kept: those that are younger than the job.
  EXPECT_EQ(framesBehind(folder.path(), kJob, {}, 2500),
            std::vector<std::string>{folder / frameName(5, kJob)});
}

// Whoever made the link decides where it leads.
TEST(FramesBehind, AFolderThatIsALinkIsLeftAlone) {
  const Folder place, kept;
  const std::string real = place / "real", linked = place / "link";
  fs::create_directory(real);
  fs::create_directory_symlink(real, linked);
  const std::string path = real + "/" + frameName(1, kJob);
  for (const std::string& one : {path, kept / "1"}) {
    publish(one, frameOf(1));
    setTime(one, 1000);
  }
  EXPECT_TRUE(framesBehind(linked, kJob, {}, 0).empty());
  removeOriginals(linked, kJob, {kept / "1"});
  EXPECT_TRUE(fs::exists(path));
  EXPECT_EQ(framesBehind(real, kJob, {}, 0), std::vector<std::string>{path});
  removeOriginals(real, kJob, {kept / "1"});
  EXPECT_FALSE(fs::exists(path));
}

}  // namespace
}  // namespace kestra::delivery
