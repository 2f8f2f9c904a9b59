// Commands and frames become labels; what is missing is noticed.
#include "delivery/core/job_source.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "tests/delivery/core/frames.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;

constexpr int kJob = 12;
constexpr Command kFirst = {0x1B, 0x73, 1, 0, 0, 0, 0};
constexpr Command kSecond = {0x1B, 0x73, 1, 0, 0, 4, 2};

// A filter that the test plays: a pipe, and files in a folder.
class JobSourceTest : public testing::Test {
 protected:
  JobSourceTest() {
    EXPECT_EQ(pipe(pipe_), 0);
    intake_ = std::make_unique<FrameIntake>(folder_.path(), kJob, timespec{1, 0});
    source_ = std::make_unique<JobSource>(pipe_[0], *intake_, folder_ / "label.pgc", watch_);
  }
  ~JobSourceTest() override {
    source_.reset();
    close(pipe_[0]);
    end();
  }
  void say(const Bytes& bytes) {
    EXPECT_EQ(write(pipe_[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  void say(const Command& command) { say(Bytes(command.begin(), command.end())); }
  void store(int page, const Bytes& frame) { publish(folder_ / frameName(page, kJob), frame); }
  void endWell() {
    publish(folder_ / "label.pgc", {1, 0});
    end();
  }
  void end() {
    if (pipe_[1] >= 0) close(pipe_[1]);
    pipe_[1] = -1;
  }
  Next page(std::size_t number) { return source_->page(number, page_, soon()); }
  static Patience soon() { return Patience::forMilliseconds(30000); }

  Folder folder_;
  int pipe_[2] = {-1, -1};
  Watch watch_;
  std::unique_ptr<FrameIntake> intake_;
  std::unique_ptr<JobSource> source_;
  Page page_;
};

TEST_F(JobSourceTest, JoinsTheNthCommandAndTheNthFrame) {
  say(kFirst);
  store(1, frameOf(1));
  say(kSecond);
  store(2, frameOf(2));
  ASSERT_EQ(page(1), Next::kPage);
  EXPECT_EQ(page_.bytes, labelOf(frameOf(1), kFirst));
  ASSERT_EQ(page(2), Next::kPage);
  EXPECT_EQ(page_.bytes, labelOf(frameOf(2), kSecond));
  EXPECT_FALSE(source_->total().has_value());
  endWell();
  EXPECT_EQ(source_->announced(3, soon()), Next::kEnd);
  EXPECT_EQ(source_->total(), 2U);
  // The print of an earlier one may have been lost.
  ASSERT_EQ(page(1), Next::kPage);
  EXPECT_EQ(page_.bytes, labelOf(frameOf(1), kFirst));
}

TEST_F(JobSourceTest, GivesAFrameInTheMomentInWhichItAppears) {
  say(kFirst);
  ASSERT_EQ(source_->announced(1, soon()), Next::kPage);
  std::thread filter([this] { store(1, frameOf(1)); });
  EXPECT_EQ(page(1), Next::kPage);
  filter.join();
}

TEST_F(JobSourceTest, TakesACommandThatComesInPieces) {
  for (const std::uint8_t byte : kFirst) {
    say(Bytes{byte});
    EXPECT_EQ(watch_.await(soon()), Woken::kReady);
  }
  store(1, frameOf(1));
  EXPECT_EQ(page(1), Next::kPage);
  EXPECT_EQ(page_.bytes, labelOf(frameOf(1), kFirst));
}

TEST_F(JobSourceTest, MissesAPageAtTheNextCommand) {
  say(kFirst);
  say(kSecond);
  EXPECT_EQ(page(1), Next::kMissing);
  EXPECT_EQ(source_->problem(), "page 1 was not stored by the filter");
}

// Else each page would be sent under the number of the one before it, and the last one be missed.
TEST_F(JobSourceTest, MissesAPageThatWasRemovedBeforeItCouldBeTaken) {
  say(kFirst);
  store(1, frameOf(1));
  fs::remove(folder_ / frameName(1, kJob));
  say(kSecond);
  store(2, frameOf(2));
  endWell();
  EXPECT_EQ(page(1), Next::kMissing);
  EXPECT_EQ(source_->problem(), "page 1 was removed before it could be taken");
  ASSERT_EQ(page(2), Next::kPage);
  EXPECT_EQ(page_.bytes, labelOf(frameOf(2), kSecond));
}

// Frames 1 and 2 are gone before anybody listens: what is there is not page 1.
TEST_F(JobSourceTest, TakesNoPageForAnotherWhereFramesAreFewerThanTheirCommands) {
  say(kFirst);
  say(kSecond);
  say(kFirst);
  store(3, frameOf(3));
  EXPECT_EQ(page(1), Next::kMissing);
  EXPECT_EQ(source_->problem(), "page 1 was not stored by the filter");
}

TEST_F(JobSourceTest, PagesBeforeAMissingOneAreThoseOfTheirCommands) {
  say(kFirst);
  store(1, frameOf(1));
  ASSERT_EQ(page(1), Next::kPage);
  say(kSecond);
  ASSERT_EQ(source_->announced(2, soon()), Next::kPage);
  say(kFirst);
  ASSERT_EQ(source_->announced(3, soon()), Next::kPage);
  store(3, frameOf(3));
  endWell();
  EXPECT_EQ(page(2), Next::kMissing);
  EXPECT_EQ(source_->problem(), "page 2 was not stored by the filter");
  ASSERT_EQ(page(1), Next::kPage);
  EXPECT_EQ(page_.bytes, labelOf(frameOf(1), kFirst));
}

// The frame of the start before this one is as old as this start's pipe: it is not page 1.
TEST_F(JobSourceTest, AFrameAsOldAsTheStartIsNoPageOfIt) {
  const auto setTime = [this](int page, time_t seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, (folder_ / frameName(page, kJob)).c_str(), times, 0), 0);
  };
  store(7, frameOf(7));
  setTime(7, 1);
  intake_->look();
  say(kFirst);
  store(8, frameOf(8));
  EXPECT_EQ(source_->announced(1, soon()), Next::kPage);
  EXPECT_TRUE(intake_->hasDoubtful());
  endWell();
  ASSERT_EQ(page(1), Next::kPage);
  EXPECT_EQ(page_.bytes, labelOf(frameOf(8), kFirst));
  EXPECT_EQ(source_->announced(2, soon()), Next::kEnd);
}

TEST_F(JobSourceTest, MissesTheLastPageAtTheEndOfTheInput) {
  say(kFirst);
  store(1, frameOf(1));
  say(kSecond);
  endWell();
  EXPECT_EQ(page(1), Next::kPage);
  EXPECT_EQ(page(2), Next::kMissing);
}

TEST_F(JobSourceTest, NoticesAFilterThatWasKilledBehindAWholePage) {
  publish(folder_ / "label.pgc", {1, 0});
  const timespec old[2] = {{5, 0}, {5, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, (folder_ / "label.pgc").c_str(), old, 0), 0);
  say(kFirst);
  store(1, frameOf(1));
  end();
  EXPECT_EQ(page(1), Next::kPage);
  EXPECT_EQ(source_->announced(2, soon()), Next::kCut);
}

// A copy across file systems is younger than the frame, and may be than what the filter stores
// last.
TEST_F(JobSourceTest, BelievesAnEndThatIsOlderThanOurCopyOfTheLastFrame) {
  const Folder kept;
  say(kFirst);
  store(1, frameOf(1));
  intake_->keepIn(kept.path());
  intake_->look();
  endWell();
  const std::string copy = intake_->frames().at(0).kept;
  ASSERT_NE(copy, intake_->frames().at(0).original);
  fs::remove(copy);
  publish(copy, frameOf(1));
  const timespec later[2] = {{4102444800, 0}, {4102444800, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, copy.c_str(), later, 0), 0);
  EXPECT_EQ(page(1), Next::kPage);
  EXPECT_EQ(source_->announced(2, soon()), Next::kEnd);
}

TEST_F(JobSourceTest, IsNotMisledByAFolderThatIsEmptiedBehindAKilledFilter) {
  say(kFirst);
  store(1, frameOf(1));
  end();
  EXPECT_EQ(page(1), Next::kPage);
  EXPECT_EQ(watch_.pause(Patience::forMilliseconds(20)), Woken::kTime);  // the end is heard
  fs::remove_all(folder_.path());
  EXPECT_EQ(source_->announced(2, soon()), Next::kCut);
}

TEST_F(JobSourceTest, NoticesAFilterThatWasKilledBeforeItsFirstPage) {
  end();
  EXPECT_EQ(source_->announced(1, soon()), Next::kCut);
}

TEST_F(JobSourceTest, AJobWithoutPagesEndsWell) {
  endWell();
  EXPECT_EQ(source_->announced(1, soon()), Next::kEnd);
}

TEST_F(JobSourceTest, NoticesFramesThatNobodyAnnounced) {
  say(kFirst);
  store(1, frameOf(1));
  store(2, frameOf(2));
  endWell();
  EXPECT_EQ(page(1), Next::kPage);
  EXPECT_EQ(source_->announced(2, soon()), Next::kMissing);
}

// After the print system died, its next life starts the job beside the sender that is still busy.
TEST_F(JobSourceTest, LeavesFramesToTheStartOfTheJobThatRendersAfterThisOne) {
  say(kFirst);
  store(1, frameOf(1));
  endWell();
  EXPECT_EQ(page(1), Next::kPage);
  while (!source_->total()) ASSERT_EQ(watch_.await(soon()), Woken::kReady);
  store(2, frameOf(1));
  EXPECT_EQ(watch_.pause(Patience::forMilliseconds(20)), Woken::kTime);
  EXPECT_EQ(source_->announced(2, soon()), Next::kEnd);
  EXPECT_EQ(page(2), Next::kEnd);
  intake_->removeAll(0);
  EXPECT_FALSE(fs::exists(folder_ / frameName(1, kJob)));
  EXPECT_TRUE(fs::exists(folder_ / frameName(2, kJob)));
}

TEST_F(JobSourceTest, SendsNoBrokenFrame) {
  say(kFirst);
  store(1, Bytes(100, 7));
  EXPECT_EQ(page(1), Next::kBad);
  EXPECT_NE(source_->problem().find("no page frame"), std::string::npos);
}

Bytes allRaw(JobSource& source) {
  Bytes all, part;
  while (source.raw(part, Patience::forMilliseconds(2000)) == Next::kRaw) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

// The system takes up to 15 ms to close what tells of new frames, while the job could be done.
TEST(JobSource, LeavesTheClosingOfWhatToldOfFramesToTheWatch) {
  const Folder folder;
  int notices = -1;
  {
    Watch watch;
    {
      FrameIntake intake(folder.path(), kJob, {});
      notices = intake.descriptor();
      ASSERT_GE(notices, 0);
      int ends[2];
      ASSERT_EQ(pipe(ends), 0);
      close(ends[1]);
      { const JobSource source(ends[0], intake, "", watch); }
      close(ends[0]);
    }
    EXPECT_GE(fcntl(notices, F_GETFD), 0) << "closed with the intake";
  }
  EXPECT_LT(fcntl(notices, F_GETFD), 0) << "open behind the watch's end";
}

// What a person sends as it is may begin like a command, hold whole labels, or end in half a
// command.
TEST_F(JobSourceTest, PassesOnWhatIsNoCommand) {
  const Bytes label = labelOf(frameOf(1), kFirst);
  const Bytes half(kFirst.begin(), kFirst.begin() + 3);
  for (const Bytes& raw : {Bytes{'x'}, Bytes{0x1B, 0x40}, label, half}) {
    Folder folder;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], raw.data(), raw.size()), static_cast<ssize_t>(raw.size()));
    close(ends[1]);
    FrameIntake intake(folder.path(), kJob, {});
    {
      JobSource source(ends[0], intake, "", watch_);
      EXPECT_EQ(source.announced(1, soon()), Next::kRaw);
      EXPECT_EQ(allRaw(source), raw);
    }
    close(ends[0]);
  }
}

TEST_F(JobSourceTest, PassesOnALargeRawJobWithoutHoldingAllOfIt) {
  Bytes raw(3 << 20);
  for (std::size_t i = 0; i < raw.size(); ++i) raw[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
  std::thread sender([&] {
    std::size_t sent = 0;
    while (sent < raw.size()) {
      const ssize_t now = write(pipe_[1], raw.data() + sent, raw.size() - sent);
      ASSERT_GT(now, 0);
      sent += static_cast<std::size_t>(now);
    }
    end();
  });
  EXPECT_EQ(source_->announced(1, soon()), Next::kRaw);
  EXPECT_EQ(watch_.pause(Patience::forMilliseconds(50)), Woken::kTime);
  Bytes all, part;
  std::size_t largest = 0;
  while (source_->raw(part, soon()) == Next::kRaw) {
    largest = std::max(largest, part.size());
    all.insert(all.end(), part.begin(), part.end());
  }
  sender.join();
  EXPECT_EQ(all, raw);
  EXPECT_LT(largest, 512U * 1024);
}

TEST_F(JobSourceTest, EndsAWaitWithItsPatience) {
  const auto moment = [] { return Patience::forMilliseconds(10); };
  EXPECT_EQ(source_->announced(1, moment()), Next::kStopped);
  say(kFirst);
  EXPECT_EQ(source_->page(1, page_, moment()), Next::kStopped);
}

TEST_F(JobSourceTest, EndsAWaitWhenTheJobIsToStop) {
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(source_->announced(1, {}), Next::kStopped);
  say(kFirst);
  EXPECT_EQ(source_->page(1, page_, {}), Next::kStopped);
}

TEST(PageCounterPath, IsTheFiltersOwn) {
  EXPECT_EQ(pageCounterPath("/s", "label"), "/s/label.pgc");
  EXPECT_EQ(pageCounterPath("/s",
                            "Dr\xC3\xBC"
                            "ck"),
            "/s/Dr__ck.pgc");
  EXPECT_EQ(pageCounterPath("/s", "a~\x7F"), "/s/a~_.pgc");
  EXPECT_EQ(pageCounterPath("/s", "../x"), "");
  EXPECT_EQ(pageCounterPath("/s", ""), "");
}

// The counter of an earlier job of the queue, or of one that this filter did not come to the end
// of, is older than the last page.
// Two pages stored at 1000 and 2000, the counter at a time between them or with the second.
class CounterTime : public JobSourceTest,
                    public testing::WithParamInterface<std::pair<time_t, Next>> {};

INSTANTIATE_TEST_SUITE_P(BehindTheFirstAndTheSecondPage, CounterTime,
                         testing::Values(std::make_pair(time_t{1500}, Next::kCut),
                                         std::make_pair(time_t{2000}, Next::kEnd)),
                         [](const auto& each) { return "At" + std::to_string(each.param.first); });

TEST_P(CounterTime, BehindTheLastPageAloneIsTheEndOfTheDocument) {
  const auto setTime = [](const std::string& path, time_t seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  };
  for (int number : {1, 2}) {
    const std::string hidden = folder_ / ("hidden" + std::to_string(number));
    publish(hidden, frameOf(static_cast<std::uint8_t>(number)));
    setTime(hidden, 1000 * number);
    fs::rename(hidden, folder_ / frameName(number, kJob));
    say(kFirst);
    ASSERT_EQ(page(static_cast<std::size_t>(number)), Next::kPage);
  }
  publish(folder_ / "label.pgc", {1, 0});
  setTime(folder_ / "label.pgc", GetParam().first);
  end();
  EXPECT_EQ(source_->announced(3, soon()), GetParam().second);
}

// Only the end of the filter decides; one that was cut off has stored nothing for its command.
TEST_F(JobSourceTest, AFrameAsOldAsTheStartIsNoPageOfAFilterThatWasCutOff) {
  store(7, frameOf(7));
  const timespec birth[2] = {{1, 0}, {1, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, (folder_ / frameName(7, kJob)).c_str(), birth, 0), 0);
  intake_->look();
  say(kFirst);
  EXPECT_EQ(source_->page(1, page_, Patience::forMilliseconds(10)), Next::kStopped);
  EXPECT_TRUE(intake_->hasDoubtful());
  end();
  EXPECT_EQ(page(1), Next::kMissing);
}

TEST_F(JobSourceTest, APageThatHalfACommandFollowsIsMissedAtTheEnd) {
  say(kFirst);
  say(Bytes(kSecond.begin(), kSecond.begin() + 3));
  end();
  EXPECT_EQ(page(1), Next::kMissing);
  EXPECT_EQ(source_->problem(), "page 1 was not stored by the filter");
  EXPECT_EQ(source_->announced(2, soon()), Next::kRaw);
}

TEST_F(JobSourceTest, FramesBesideARawJobAreNotOverlooked) {
  store(1, frameOf(1));
  say(Bytes{'x'});
  Bytes raw;
  ASSERT_EQ(source_->announced(1, soon()), Next::kRaw);
  ASSERT_EQ(source_->raw(raw, soon()), Next::kRaw);
  EXPECT_EQ(raw, Bytes{'x'});
  EXPECT_EQ(source_->raw(raw, Patience::forMilliseconds(10)), Next::kStopped);
  endWell();
  EXPECT_EQ(source_->raw(raw, soon()), Next::kMissing);
}

// Nobody tells of files in a folder that was not there.
TEST_F(JobSourceTest, LooksAgainAndAgainForAFolderThatIsMadeLate) {
  const std::string late = folder_ / "late";
  FrameIntake intake(late, kJob, timespec{1, 0});
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  {
    JobSource source(ends[0], intake, "", watch_);
    ASSERT_EQ(write(ends[1], kFirst.data(), kFirst.size()), 7);
    ASSERT_EQ(source.announced(1, soon()), Next::kPage);
    ASSERT_TRUE(intake.mustBePolled());
    fs::create_directory(late);
    fs::permissions(late, fs::perms::owner_all);
    publish(late + "/" + frameName(1, kJob), frameOf(1));
    ASSERT_EQ(source.page(1, page_, soon()), Next::kPage);
    EXPECT_EQ(page_.bytes, labelOf(frameOf(1), kFirst));
    EXPECT_FALSE(intake.mustBePolled());
  }
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
}  // namespace kestra::delivery
