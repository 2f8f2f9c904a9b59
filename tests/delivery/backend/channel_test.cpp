// Tests of the wire between front and sender: what arrives, and that neither end waits for the
// other.
#include "delivery/backend/channel.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace kestra::delivery {
namespace {

using std::chrono::milliseconds;

class WireTest : public testing::Test {
 protected:
  void SetUp() override {
    const auto wire = makeWire();
    ASSERT_TRUE(wire.has_value());
    front_ = wire->front;
    sender_ = wire->sender;
  }
  void TearDown() override {
    hangUp(front_);
    hangUp(sender_);
  }
  static void hangUp(int& end) {
    if (end >= 0) close(end);
    end = -1;
  }
  int front_ = -1;
  int sender_ = -1;
};

TEST_F(WireTest, BringsLinesWholeAndInOrderBeforeTheVerdictAndTheEnd) {
  {
    const SenderEnd sender(sender_, nullptr);
    sender.tell("STATE: +connecting-to-device");
    sender.tell("");
    sender.tell(std::string(2000, 'x'));
    sender.verdict(3);
  }
  hangUp(sender_);
  const FrontEnd front(front_);
  for (const std::string& line :
       {std::string("STATE: +connecting-to-device"), std::string(), std::string(2000, 'x')}) {
    const Report report = front.next();
    EXPECT_EQ(report.kind, Report::Kind::kLine);
    EXPECT_EQ(report.line, line);
  }
  const Report verdict = front.next();
  EXPECT_EQ(verdict.kind, Report::Kind::kVerdict);
  EXPECT_EQ(verdict.code, 3);
  EXPECT_EQ(front.next().kind, Report::Kind::kEnd);
}

TEST_F(WireTest, LetsNoTextBecomeASecondLine) {
  EXPECT_EQ(oneLine("INFO: a\nSTATE: +b\r\t\x1b[0m\x7f"), "INFO: a STATE: +b   [0m ");
  EXPECT_EQ(oneLine("Etikettenrolle f\xC3\xBCllen"), "Etikettenrolle f\xC3\xBCllen");
  EXPECT_EQ(oneLine(std::string(5000, 'y')), std::string(2000, 'y'));
  SenderEnd(sender_, nullptr).tell("one\ntwo");
  EXPECT_EQ(FrontEnd(front_).next().line, "one two");
}

TEST_F(WireTest, DropsLinesWhereNobodyReads) {
  const SenderEnd sender(sender_, nullptr);
  const auto before = Clock::now();
  for (int i = 0; i < 10000; ++i) sender.tell(std::to_string(i) + std::string(1900, ' '));
  EXPECT_LT(Clock::now() - before, std::chrono::seconds(30));
  hangUp(sender_);
  // Those that found room are the first ones, without a gap.
  const FrontEnd front(front_);
  int count = 0;
  for (Report report = front.next(); report.kind == Report::Kind::kLine; report = front.next()) {
    EXPECT_EQ(std::stoi(report.line), count);
    ++count;
  }
  EXPECT_GT(count, 10);
  EXPECT_LT(count, 10000);
}

TEST_F(WireTest, WaitsALittleForRoomForTheVerdict) {
  const SenderEnd sender(sender_, nullptr);
  for (int i = 0; i < 10000; ++i) sender.tell(std::string(1900, ' '));
  const auto before = Clock::now();
  sender.verdict(0, milliseconds(50));
  EXPECT_GE(Clock::now() - before, milliseconds(50));

  std::thread late([this] {
    const FrontEnd front(front_);
    Report report = front.next();
    while (report.kind == Report::Kind::kLine) report = front.next();
    EXPECT_EQ(report.kind, Report::Kind::kVerdict);
    EXPECT_EQ(report.code, 4);
  });
  sender.verdict(4, std::chrono::seconds(30));
  late.join();
}

TEST_F(WireTest, TalksToNobodyWithoutWaitingOrDying) {
  hangUp(front_);
  const SenderEnd sender(sender_, nullptr);
  const auto before = Clock::now();
  sender.tell("INFO: nobody hears this");
  sender.verdict(0, std::chrono::seconds(60));
  EXPECT_LT(Clock::now() - before, std::chrono::seconds(30));
}

TEST_F(WireTest, PassesACancelOn) {
  Watch watch;
  const SenderEnd sender(sender_, &watch);
  EXPECT_EQ(watch.pause(Patience::forMilliseconds(0)), Woken::kTime);
  FrontEnd(front_).cancel();
  EXPECT_EQ(watch.pause(Patience::forMilliseconds(30000)), Woken::kStopped);
  EXPECT_EQ(watch.stopped(), Stop::kCancel);
}

TEST_F(WireTest, LosesNoVerdictOfASenderThatEndsWithACancelUnread) {
  FrontEnd(front_).cancel();
  SenderEnd(sender_, nullptr).verdict(3);
  hangUp(sender_);
  const Report report = FrontEnd(front_).next();
  EXPECT_EQ(report.kind, Report::Kind::kVerdict);
  EXPECT_EQ(report.code, 3);
  EXPECT_EQ(FrontEnd(front_).next().kind, Report::Kind::kEnd);
}

TEST_F(WireTest, StopsNothingAtTheEndOfTheFront) {
  Watch watch;
  const SenderEnd sender(sender_, &watch);
  hangUp(front_);
  EXPECT_EQ(watch.await(Patience::forMilliseconds(30000)), Woken::kReady);
  EXPECT_EQ(watch.stopped(), Stop::kNone);
  // It is heard once: a wait that no stop ends is not woken again and again.
  EXPECT_EQ(watch.await(Patience::forMilliseconds(20, Stop::kNone)), Woken::kTime);
}

TEST_F(WireTest, HearsACancelThatCameJustBeforeTheEnd) {
  Watch watch;
  const SenderEnd sender(sender_, &watch);
  FrontEnd(front_).cancel();
  hangUp(front_);
  EXPECT_EQ(watch.pause(Patience::forMilliseconds(30000)), Woken::kStopped);
  EXPECT_EQ(watch.stopped(), Stop::kCancel);
}

TEST_F(WireTest, NoLongerCallsAnEndThatIsGone) {
  Watch watch;
  std::make_unique<SenderEnd>(sender_, &watch).reset();
  hangUp(front_);
  EXPECT_EQ(watch.pause(Patience::forMilliseconds(10)), Woken::kTime);
}

// What neither end says today an other version may say.
TEST_F(WireTest, PassesOverWhatItDoesNotKnow) {
  {
    const SenderEnd sender(sender_, nullptr);
    for (const std::string& message : {std::string("?what"), std::string("V"), std::string("Vx")}) {
      ASSERT_EQ(send(sender_, message.data(), message.size(), 0),
                static_cast<ssize_t>(message.size()));
    }
    sender.verdict(7);
  }
  const Report report = FrontEnd(front_).next();
  EXPECT_EQ(report.kind, Report::Kind::kVerdict);
  EXPECT_EQ(report.code, 7);
}

TEST_F(WireTest, TakesNothingButACancelForOne) {
  Watch watch;
  const SenderEnd sender(sender_, &watch);
  ASSERT_EQ(send(front_, "?", 1, 0), 1);
  EXPECT_EQ(watch.await(Patience::forMilliseconds(10000, Stop::kNone)), Woken::kReady);
  EXPECT_EQ(watch.stopped(), Stop::kNone);
  FrontEnd(front_).cancel();
  EXPECT_EQ(watch.await(Patience::forMilliseconds(10000, Stop::kNone)), Woken::kReady);
  EXPECT_EQ(watch.stopped(), Stop::kCancel);
}

}  // namespace
}  // namespace kestra::delivery
