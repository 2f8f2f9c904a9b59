// Wrapped programs that print, count, stall, die, and ask for a person.
#include "delivery/sinks/backend_sink.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <utility>

#include "delivery/sinks/factory.h"
#include "delivery/sinks/root_starter.h"
#include "tests/delivery/sinks/small_printer.h"
#include "tests/delivery/sinks/stand_in.h"

namespace kestra::delivery {
namespace {

using std::chrono::milliseconds;
using test::Bytes;
using test::openDescriptors;
using test::ServerBin;
using test::someBytes;
using test::StopWatch;
using test::Told;

constexpr long kLong = 20000;
Patience within(long time) { return Patience::forMilliseconds(time); }

// Counts as the program for USB does; a device of 4,096 bytes at a time.
constexpr char kUsb[] = R"(
echo run >>$D/runs
echo "STATE: +connecting-to-device" >&2
echo "STATE: -connecting-to-device" >&2
while :; do
  dd bs=4096 count=1 status=none >$D/piece
  n=$(wc -c <$D/piece)
  [ $n -gt 0 ] || break
  cat $D/piece >>$D/out
  [ ! -e $D/stall ] || exec sleep 1000
  echo "DEBUG: Wrote $n bytes of print data..." >&2
done)";

constexpr char kOnce[] = R"(
echo run >>$D/runs
cat >>$D/out
echo "PAGE: 1 1" >&2
echo "INFO: it is out" >&2
)";

class BackendSinkTest : public ::testing::Test {
 protected:
  std::unique_ptr<BackendSink> sinkTo(const std::string& scheme, const BackendTimes& times = {},
                                      bool inClass = false) {
    return std::make_unique<BackendSink>(
        scheme, std::make_unique<DirectStarter>(place_.program(scheme + "://M/K")), inClass, watch_,
        told_.tell(), times);
  }
  Progress page(Sink& sink, const Bytes& bytes, Before before = Before::kNothing) {
    Progress progress = sink.open(before, within(kLong));
    if (progress != Progress::kDone) return progress;
    progress = sink.settle(bytes.data(), bytes.size() - 1, within(kLong));
    if (progress == Progress::kDone) progress = sink.send(&bytes.back(), 1, within(kLong));
    return progress == Progress::kDone ? sink.prove(within(kLong)) : progress;
  }
  static std::string text(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }
  [[nodiscard]] std::size_t runs() const { return place_.text("runs").size() / 4; }
  static BackendTimes quick() {
    BackendTimes times;
    times.firstPause = milliseconds(50);
    times.mercy = milliseconds(300);
    times.reset = milliseconds(kLong);  // a slow machine's answer counts
    return times;
  }

  ServerBin place_;
  Watch watch_;
  Told told_;
};

TEST_F(BackendSinkTest, UsbRunsOnceForAllPagesAndItsCountIsTheProof) {
  place_.write("usb", kUsb);
  const auto sink = sinkTo("usb");
  const Bytes first = someBytes(100001, 1);
  const Bytes second = someBytes(30000, 2);
  ASSERT_EQ(page(*sink, first), Progress::kDone) << sink->problem();
  EXPECT_EQ(place_.text("out"), text(first));
  EXPECT_EQ(sink->surelyRead(), first.size());
  ASSERT_EQ(page(*sink, second), Progress::kDone) << sink->problem();
  EXPECT_EQ(place_.text("out"), text(first) + text(second));
  EXPECT_EQ(sink->sent(), first.size() + second.size());
  EXPECT_EQ(sink->finish(within(kLong)), Progress::kDone);
  EXPECT_EQ(sink->finish(within(kLong)), Progress::kDone);
  EXPECT_EQ(runs(), 1U);
  EXPECT_EQ(told_.count("STATE: +connecting-to-device"), 1);
}

TEST_F(BackendSinkTest, UsbThatHasTakenButNotWrittenProvesNothing) {
  place_.write("usb", kUsb);
  const auto sink = sinkTo("usb", quick());
  ASSERT_EQ(page(*sink, someBytes(5000)), Progress::kDone);
  std::ofstream(place_.file("stall")) << "out of paper";
  const Bytes second = someBytes(3000, 2);
  ASSERT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kDone);
  ASSERT_EQ(sink->send(second.data(), second.size(), within(kLong)), Progress::kDone);
  EXPECT_EQ(sink->settle(nullptr, 0, within(300)), Progress::kTimedOut);
  EXPECT_EQ(sink->prove(within(300)), Progress::kTimedOut);
  EXPECT_EQ(sink->surelyRead(), 5000U);
  StopWatch time;
  sink->drop();
  EXPECT_LT(time.seconds(), kLong / 1000.0);  // its program would go on for 1,000
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}

// A device that is slow to take the second page is no program that does not count.
TEST_F(BackendSinkTest, UsbThatHasCountedOnceIsWaitedForHoweverLongItIsSilent) {
  place_.write("usb", kUsb);
  BackendTimes times = quick();
  times.silence = milliseconds(100);
  const auto sink = sinkTo("usb", times);
  ASSERT_EQ(page(*sink, someBytes(5000)), Progress::kDone);
  std::ofstream(place_.file("stall")) << "out of paper";
  const Bytes second = someBytes(3000, 2);
  ASSERT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kDone);
  ASSERT_EQ(sink->send(second.data(), second.size(), within(kLong)), Progress::kDone);
  EXPECT_EQ(sink->settle(nullptr, 0, within(1000)), Progress::kTimedOut);
  EXPECT_EQ(sink->surelyRead(), 5000U);
}

TEST_F(BackendSinkTest, UsbThatNeverCountsIsProvenByItsEnd) {
  place_.write("usb", kOnce);
  BackendTimes times = quick();
  times.silence = milliseconds(300);
  const auto sink = sinkTo("usb", times);
  ASSERT_EQ(page(*sink, someBytes(5000)), Progress::kDone) << sink->problem();
  ASSERT_EQ(page(*sink, someBytes(5000)), Progress::kDone);
  EXPECT_EQ(runs(), 2U);
  EXPECT_EQ(place_.text("out").size(), 10000U);
}

TEST_F(BackendSinkTest, OthersRunOncePerPageAndTheirGoodEndIsTheProof) {
  place_.write("lpd", kOnce);
  const auto sink = sinkTo("lpd");
  const Bytes first = someBytes(100001, 1);
  const Bytes second = someBytes(20, 2);
  ASSERT_EQ(page(*sink, first), Progress::kDone) << sink->problem();
  EXPECT_EQ(place_.text("out"), text(first));
  ASSERT_EQ(page(*sink, second), Progress::kDone);
  EXPECT_EQ(place_.text("out"), text(first) + text(second));
  EXPECT_EQ(sink->surelyRead(), first.size() + second.size());
  EXPECT_EQ(sink->finish(within(kLong)), Progress::kDone);
  EXPECT_EQ(runs(), 2U);
  EXPECT_EQ(told_.count("INFO: it is out"), 2);
  EXPECT_EQ(told_.count("PAGE"), 0);
}

TEST_F(BackendSinkTest, AFailureIsTriedAgainLaterAndToldOnce) {
  for (const int code : {1, 6, 7}) {
    told_.lines.clear();
    place_.write("lpd", "cat >/dev/null\nexit " + std::to_string(code));
    const auto sink = sinkTo("lpd", quick());
    StopWatch time;
    EXPECT_EQ(page(*sink, someBytes(1000)), Progress::kBroken);
    EXPECT_EQ(sink->surelyRead(), 0U);
    EXPECT_NE(sink->problem().find("status " + std::to_string(code)), std::string::npos);
    sink->drop();
    EXPECT_EQ(page(*sink, someBytes(1000), Before::kTornPage), Progress::kBroken);
    sink->drop();
    EXPECT_EQ(page(*sink, someBytes(1000), Before::kTornPage), Progress::kBroken);
    EXPECT_GE(time.seconds(), 0.05 + 0.1);  // the pause, and twice the pause
    EXPECT_EQ(told_.count("INFO: Trying again"), 1);
    EXPECT_EQ(sink->innerExit(), 0);
    place_.write("lpd", kOnce);
    sink->drop();
    EXPECT_EQ(page(*sink, someBytes(1000)), Progress::kDone);
  }
}

TEST_F(BackendSinkTest, AProgramThatAsksForAPersonIsPassedOn) {
  for (const int code : {2, 3, 4, 5}) {
    place_.write("lpd", "cat >/dev/null\nexit " + std::to_string(code));
    const auto sink = sinkTo("lpd");
    EXPECT_EQ(page(*sink, someBytes(1000)), Progress::kHopeless);
    EXPECT_EQ(sink->innerExit(), code);
    EXPECT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kHopeless);
  }
}

TEST_F(BackendSinkTest, AProgramThatDiesIsABreakWherever) {
  place_.write("lpd", "kill -KILL $$");
  BackendTimes patient = quick();
  patient.mercy = milliseconds(kLong);  // its pipe ends a moment before the program does
  const auto early = sinkTo("lpd", patient);
  EXPECT_EQ(page(*early, someBytes(1000000)), Progress::kBroken);
  EXPECT_NE(early->problem().find("signal 9"), std::string::npos) << early->problem();

  place_.write("lpd", "cat >/dev/null\nkill -SEGV $$");
  const auto late = sinkTo("lpd", quick());
  EXPECT_EQ(page(*late, someBytes(1000)), Progress::kBroken);
  EXPECT_NE(late->problem().find("signal 11"), std::string::npos) << late->problem();

  place_.write("usb", "dd bs=100 count=1 status=none >/dev/null\nexit 0");
  const auto good = sinkTo("usb", quick());
  EXPECT_EQ(page(*good, someBytes(1000)), Progress::kBroken);
  EXPECT_NE(good->problem().find("ended before"), std::string::npos) << good->problem();
}

TEST_F(BackendSinkTest, InAClassAFailureIsNotRepeated) {
  place_.write("lpd", "echo run >>$D/runs\ncat >/dev/null\nexit 1");
  const auto sink = sinkTo("lpd", quick(), true);
  EXPECT_EQ(page(*sink, someBytes(1000)), Progress::kBroken);
  EXPECT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kBroken);
  EXPECT_EQ(runs(), 1U);
}

TEST_F(BackendSinkTest, AStopEndsTheWaitsAndTheRestCanFollow) {
  place_.write("lpd", "sleep 0.5\ncat >>$D/out");
  const auto sink = sinkTo("lpd");
  const Bytes bytes = someBytes(500000);
  ASSERT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kDone);
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(sink->send(bytes.data(), bytes.size(), {}), Progress::kStopped);
  const Patience rest = Patience::forMilliseconds(kLong, Stop::kNone);
  const auto sent = static_cast<std::size_t>(sink->sent());
  EXPECT_LT(sent, bytes.size());
  ASSERT_EQ(sink->send(bytes.data() + sent, bytes.size() - sent, rest), Progress::kDone);
  EXPECT_EQ(sink->prove({Clock::time_point::max(), Stop::kCancel}), Progress::kStopped);
  // Nothing of the page is left to send.
  EXPECT_EQ(sink->send(nullptr, 0, rest), Progress::kDone);
  EXPECT_EQ(sink->prove(rest), Progress::kDone);
  EXPECT_EQ(place_.text("out"), text(bytes));
}

TEST_F(BackendSinkTest, ATalkativeProgramIsNotHeldUp) {
  // More than any pipe holds, on both channels, before the first byte is read.
  place_.write("lpd",
               "i=0\nwhile [ $i -lt 3000 ]; do echo \"DEBUG: a line of some fifty bytes, number "
               "$i ......\" >&2; i=$((i+1)); done\nhead -c 300000 /dev/zero >&3\ncat >>$D/out");
  const auto sink = sinkTo("lpd");
  const Bytes bytes = someBytes(1000);
  ASSERT_EQ(page(*sink, bytes), Progress::kDone) << sink->problem();
  EXPECT_EQ(place_.text("out"), text(bytes));
  EXPECT_EQ(told_.count("DEBUG: a line of some fifty bytes"), 3000);
}

TEST_F(BackendSinkTest, ATornPageIsForgottenByUsbBeforeTheNext) {
  place_.write("usb", std::string("dd bs=4 count=1 status=none <&4 | od -An -tx1 >$D/asked\n"
                                  "printf '\\001\\001\\000\\000' >&4\n") +
                          kUsb);
  const auto sink = sinkTo("usb", quick());
  ASSERT_EQ(page(*sink, someBytes(5000), Before::kTornPage), Progress::kDone) << sink->problem();
  EXPECT_EQ(place_.text("asked"), " 01 00 00 00\n");
  EXPECT_EQ(told_.count("WARNING"), 0);
  EXPECT_EQ(runs(), 1U);
}

// Over a wire without connections a printer goes on waiting for the rest of the label; what LPD
// begins and does not end is thrown away by the other side.
TEST_F(BackendSinkTest, ATornPageOnAPlainWireIsToldOnce) {
  for (const auto& [scheme, warnings] :
       std::map<std::string, int>{{"serial", 1}, {"parallel", 1}, {"lpd", 0}}) {
    told_.lines.clear();
    place_.write(scheme, "cat >>$D/out");
    const auto sink = sinkTo(scheme);
    ASSERT_EQ(page(*sink, someBytes(1000), Before::kTornPage), Progress::kDone) << scheme;
    ASSERT_EQ(page(*sink, someBytes(1000), Before::kTornPage), Progress::kDone) << scheme;
    EXPECT_EQ(told_.count("WARNING: The printer could not be made to forget"), warnings) << scheme;
  }
}

TEST_F(BackendSinkTest, AResetThatIsRefusedOrNotAnsweredIsToldOnceAndNeverComesLate) {
  BackendTimes times = quick();
  place_.write("usb", std::string("printf '\\001\\007\\000\\000' >&4\n") + kUsb);
  const auto refused = sinkTo("usb", times);
  ASSERT_EQ(page(*refused, someBytes(5000), Before::kTornPage), Progress::kDone);
  EXPECT_EQ(told_.count("WARNING: The printer could not be made to forget"), 1);
  EXPECT_EQ(runs(), 1U);

  told_.lines.clear();
  place_.write("usb", kUsb);         // never reads its side channel
  times.reset = milliseconds(4000);  // in which it has certainly begun
  const auto mute = sinkTo("usb", times);
  ASSERT_EQ(page(*mute, someBytes(5000), Before::kTornPage), Progress::kDone);
  EXPECT_EQ(told_.count("WARNING: The printer could not be made to forget"), 1);
  EXPECT_EQ(runs(), 3U);  // one more that was asked, one more that was not
}

TEST_F(BackendSinkTest, HundredsOfPagesLeaveNothingBehind) {
  place_.write("lpd", "exec cat >/dev/null");
  auto sink = sinkTo("lpd");
  ASSERT_EQ(page(*sink, someBytes(10)), Progress::kDone);
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 300; ++i) ASSERT_EQ(page(*sink, someBytes(10)), Progress::kDone);
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  sink.reset();
  // Nothing of it is waited for any more.
  EXPECT_EQ(watch_.pause(within(1)), Woken::kTime);
}

TEST_F(BackendSinkTest, AProgramThatVanishedIsHopeless) {
  place_.write("lpd", "exit 0");
  const auto sink = sinkTo("lpd");
  ASSERT_EQ(unlink(place_.file("backend/lpd").c_str()), 0);
  EXPECT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kHopeless);
  EXPECT_NE(sink->problem().find("No such file"), std::string::npos) << sink->problem();
}

TEST_F(BackendSinkTest, TheSameGoesThroughTheProcessThatKeptItsRights) {
  place_.write("usb", kUsb, 0744);
  const DeviceUri uri = parseDeviceUri("kestra:usb://M/K");
  auto sink =
      makeSink(uri, forkRootStarter(place_.program("usb://M/K")), false, watch_, told_.tell());
  const Bytes bytes = someBytes(50000);
  ASSERT_EQ(page(*sink, bytes), Progress::kDone) << sink->problem();
  ASSERT_EQ(sink->finish(within(kLong)), Progress::kDone);
  ASSERT_EQ(page(*sink, bytes), Progress::kDone) << sink->problem();
  EXPECT_EQ(place_.text("out"), text(bytes) + text(bytes));
  sink.reset();
  EXPECT_GT(waitpid(-1, nullptr, 0), 0);  // its process
}

// A machine that is short of something; then one whose program is none.
class FailingStarter : public Starter {
 public:
  explicit FailingStarter(int error) : error_(error) {}
  [[nodiscard]] int start(const InnerEnds& /*ends*/) override {
    return std::exchange(error_, ENOEXEC);
  }
  [[nodiscard]] int descriptor() const override { return -1; }
  [[nodiscard]] std::optional<int> end() override { return std::nullopt; }
  void signal(int /*number*/) override {}

 private:
  int error_;
};

TEST_F(BackendSinkTest, AMachineThatIsShortOfSomethingIsAskedAgain) {
  for (const int error : {EAGAIN, ENOMEM, EMFILE, ENFILE, EBUSY, ETIMEDOUT}) {
    BackendSink sink("lpd", std::make_unique<FailingStarter>(error), false, watch_, told_.tell(),
                     quick());
    EXPECT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kBroken);
    EXPECT_NE(sink.problem().find(std::strerror(error)), std::string::npos) << sink.problem();
    EXPECT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kHopeless);
    EXPECT_NE(sink.problem().find("Exec format error"), std::string::npos) << sink.problem();
  }
}

// A start needs eight descriptors for the program's channels; whichever of them is lacking, none
// is left behind and the page is printed when there is room.
TEST_F(BackendSinkTest, AProcessWithoutRoomForFilesIsNoReasonToGiveUp) {
  place_.write("lpd", kOnce);
  BackendTimes times = quick();
  times.firstPause = times.longestPause = milliseconds(1);
  const auto sink = sinkTo("lpd", times);
  const std::size_t before = openDescriptors();
  rlimit all = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &all), 0);
  const int next = dup(STDIN_FILENO);  // the lowest number that is free
  close(next);
  for (rlim_t room = 0; room < 8; ++room) {
    rlimit little = all;
    little.rlim_cur = static_cast<rlim_t>(next) + room;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &little), 0);
    const Progress progress = sink->open(Before::kNothing, within(kLong));
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &all), 0);
    EXPECT_EQ(progress, Progress::kBroken) << room;
    EXPECT_NE(sink->problem().find("Too many open files"), std::string::npos) << sink->problem();
    EXPECT_EQ(openDescriptors(), before) << room;
  }
  EXPECT_EQ(page(*sink, someBytes(10)), Progress::kDone) << sink->problem();
}

TEST_F(BackendSinkTest, APauseBeforeTheNextStartEndsWithPatience) {
  place_.write("lpd", "cat >/dev/null\nexit 1");
  BackendTimes times = quick();
  times.firstPause = milliseconds(kLong);
  const auto sink = sinkTo("lpd", times);
  ASSERT_EQ(page(*sink, someBytes(10)), Progress::kBroken);
  EXPECT_EQ(sink->open(Before::kNothing, within(10)), Progress::kTimedOut);
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(sink->open(Before::kNothing, {}), Progress::kStopped);
}

TEST_F(BackendSinkTest, NothingGoesToAProgramThatDoesNotRun) {
  place_.write("lpd", "cat >/dev/null\nexit 1");
  const auto sink = sinkTo("lpd", quick());
  const Bytes bytes = someBytes(10);
  EXPECT_EQ(sink->send(bytes.data(), bytes.size(), within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink->settle(nullptr, 0, within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink->prove(within(kLong)), Progress::kDone);  // nothing was sent
  ASSERT_EQ(page(*sink, bytes), Progress::kBroken);
  EXPECT_EQ(sink->prove(within(kLong)), Progress::kBroken);
}

TEST_F(BackendSinkTest, NothingFollowsTheEndOfTheInput) {
  place_.write("lpd", "cat >/dev/null\nexec sleep 1000");
  const auto sink = sinkTo("lpd", quick());
  const Bytes bytes = someBytes(10);
  ASSERT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kDone);
  ASSERT_EQ(sink->send(bytes.data(), bytes.size(), within(kLong)), Progress::kDone);
  EXPECT_EQ(sink->prove(within(100)), Progress::kTimedOut);
  EXPECT_EQ(sink->send(bytes.data(), bytes.size(), within(kLong)), Progress::kBroken);
}

TEST_F(BackendSinkTest, AProgramThatReadsNothingIsWaitedForWithPatience) {
  place_.write("lpd", "exec sleep 1000");
  const auto sink = sinkTo("lpd", quick());
  const Bytes bytes = someBytes(1000000);  // no pipe holds that
  ASSERT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kDone);
  EXPECT_EQ(sink->send(bytes.data(), bytes.size(), within(500)), Progress::kTimedOut);
  EXPECT_LT(sink->sent(), bytes.size());
}

TEST_F(BackendSinkTest, AProgramThatClosesItsInputAndLivesOnIsABreak) {
  place_.write("lpd", "exec <&-\nexec sleep 1000");
  const auto sink = sinkTo("lpd", quick());
  EXPECT_EQ(page(*sink, someBytes(1000000)), Progress::kBroken);
  EXPECT_EQ(sink->problem(), "the program lpd takes no more data");
}

TEST_F(BackendSinkTest, AStopEndsTheWaitForTheCount) {
  place_.write("usb", kUsb);
  const auto sink = sinkTo("usb", quick());
  ASSERT_EQ(page(*sink, someBytes(5000)), Progress::kDone);
  std::ofstream(place_.file("stall")) << "out of paper";
  const Bytes second = someBytes(3000, 2);
  ASSERT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kDone);
  ASSERT_EQ(sink->send(second.data(), second.size(), within(kLong)), Progress::kDone);
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(sink->settle(nullptr, 0, {}), Progress::kStopped);
}

// All bytes were counted, and then the program does not end well: what it held may be lost.
TEST_F(BackendSinkTest, ACountedJobWhoseProgramEndsBadlyIsABreak) {
  struct Case {
    const char *end, *problem;
  };
  for (const Case& one : {Case{"exit 1", "the program usb ended with status 1"},
                          Case{"kill -KILL $$", "the program usb was ended by signal 9"}}) {
    place_.write("usb", std::string(kUsb) + "\n" + one.end);
    const auto sink = sinkTo("usb", quick());
    ASSERT_EQ(page(*sink, someBytes(5000)), Progress::kDone) << sink->problem();
    EXPECT_EQ(sink->finish(within(kLong)), Progress::kBroken);
    EXPECT_EQ(sink->problem(), one.problem);
  }
}

TEST_F(BackendSinkTest, AProgramThatDoesNotEndIsNotWaitedForBeyondPatience) {
  place_.write("usb", std::string(kUsb) + "\nexec sleep 1000");
  const auto sink = sinkTo("usb", quick());
  ASSERT_EQ(page(*sink, someBytes(5000)), Progress::kDone) << sink->problem();
  EXPECT_EQ(sink->finish(within(100)), Progress::kTimedOut);
}

TEST_F(BackendSinkTest, AProgramThatWillNotEndIsKilled) {
  place_.write("lpd", "trap '' TERM\necho run >>$D/runs\nwhile :; do sleep 0.01; done");
  const auto sink = sinkTo("lpd", quick());
  ASSERT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kDone);
  while (runs() == 0) ASSERT_EQ(watch_.pause(within(1)), Woken::kTime);
  StopWatch time;
  sink->drop();
  EXPECT_GE(time.seconds(), 0.3);  // its mercy
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}

TEST_F(BackendSinkTest, OtherStatesArePassedOn) {
  place_.write("lpd", "echo 'STATE: +media-empty-error' >&2\nexec cat >/dev/null");
  const auto sink = sinkTo("lpd");
  ASSERT_EQ(page(*sink, someBytes(10)), Progress::kDone);
  EXPECT_EQ(told_.count("STATE: +media-empty-error"), 1);
}

TEST_F(BackendSinkTest, TheWaitForAResetEndsWithPatience) {
  place_.write("usb", kUsb);  // never answers
  const auto sink = sinkTo("usb", quick());
  EXPECT_EQ(sink->open(Before::kTornPage, within(100)), Progress::kTimedOut);
  sink->drop();
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(sink->open(Before::kTornPage, {}), Progress::kStopped);
}

// Something that it started keeps the channel open: an end of that would be no answer either.
TEST_F(BackendSinkTest, AProgramThatEndsInsteadOfAnAnswerIsABreak) {
  place_.write("usb", "(exec sleep 10 </dev/null >/dev/null 2>&1 3>&-) &\nexit 1");
  const auto sink = sinkTo("usb", quick());
  EXPECT_EQ(sink->open(Before::kTornPage, within(kLong)), Progress::kBroken);
  EXPECT_EQ(told_.count("WARNING: The printer could not be made to forget"), 0);
}

// The answer comes after the time for it, which counts from when the printer is there.
TEST_F(BackendSinkTest, APrinterThatIsNotThereYetCannotAnswer) {
  BackendTimes times = quick();
  times.reset = milliseconds(4000);  // in which it has certainly said that it connects
  place_.write("usb", std::string("echo 'STATE: +connecting-to-device' >&2\nsleep 4.5\n"
                                  "printf '\\001\\001\\000\\000' >&4\n") +
                          kUsb);
  const auto sink = sinkTo("usb", times);
  ASSERT_EQ(page(*sink, someBytes(5000), Before::kTornPage), Progress::kDone) << sink->problem();
  EXPECT_EQ(told_.count("WARNING"), 0);
  EXPECT_EQ(runs(), 1U);
}

TEST_F(BackendSinkTest, AnAnswerToAnotherQuestionIsNoneAndToldOncePerJob) {
  place_.write("usb", std::string("printf '\\002\\001\\000\\000' >&4\n") + kUsb);
  const auto sink = sinkTo("usb", quick());
  for (std::size_t page = 1; page <= 2; ++page) {
    ASSERT_EQ(this->page(*sink, someBytes(5000), Before::kTornPage), Progress::kDone);
    EXPECT_EQ(told_.count("WARNING: The printer could not be made to forget"), 1);
    EXPECT_EQ(runs(), page);
    sink->drop();
  }
}

TEST(Factory, TheSchemeChoosesTheWay) {
  Watch watch;
  Told told;
  const auto socket =
      makeSink(parseDeviceUri("kestra:socket://127.0.0.1:1"), nullptr, true, watch, told.tell());
  watch.stop(Stop::kLeave);
  EXPECT_EQ(socket->open(Before::kNothing, {}), Progress::kStopped);
}

}  // namespace
}  // namespace kestra::delivery
