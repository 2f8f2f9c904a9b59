// Tests of the words of faults.
//
// A fault that is misread does not happen, and the test that planned it proves nothing.
#include "tools/paper/fault_script.h"

#include <gtest/gtest.h>

namespace kestra::paper {
namespace {

PlannedFault fault(const std::string& text) {
  const auto parsed = parseFault(text);
  EXPECT_TRUE(parsed) << text << ": " << parsed.problem();
  return parsed ? *parsed : PlannedFault{};
}

std::string problemOf(const std::string& text) {
  const auto parsed = parseFault(text);
  EXPECT_FALSE(parsed) << text;
  return parsed.problem();
}

TEST(FaultScript, ReadsEveryMoment) {
  EXPECT_EQ(fault("start reset").when.kind, WhenKind::kStart);
  EXPECT_EQ(fault("connection 2 reset").when.kind, WhenKind::kConnection);
  EXPECT_EQ(fault("connection 2 reset").when.number, 2U);
  EXPECT_EQ(fault("label 3 reset").when.kind, WhenKind::kLabel);
  EXPECT_EQ(fault("label 3 reset").when.percent, 0U);
  EXPECT_EQ(fault("label 3 50% reset").when.number, 3U);
  EXPECT_EQ(fault("label 3 50% reset").when.percent, 50U);
  EXPECT_EQ(fault("after 4 reset").when.kind, WhenKind::kAfter);
  EXPECT_EQ(fault("byte 5000000000 reset").when.kind, WhenKind::kByte);
  EXPECT_EQ(fault("byte 5000000000 reset").when.number, 5000000000U);
  EXPECT_EQ(fault("  label   3  50%   reset ").when.text, "label 3 50%");
}

TEST(FaultScript, ReadsEveryAction) {
  EXPECT_EQ(fault("start pause 2.5").action.kind, ActionKind::kPause);
  EXPECT_EQ(fault("start pause 2.5").action.seconds, 2.5);
  EXPECT_EQ(fault("start slow 40").action.kind, ActionKind::kSlow);
  EXPECT_EQ(fault("start slow 40").action.speed, 40);
  EXPECT_FALSE(fault("start slow 40").action.seconds);
  EXPECT_EQ(fault("start slow 40 3").action.speed, 40);
  EXPECT_EQ(fault("start slow 40 3").action.seconds, 3);
  EXPECT_EQ(fault("start close").action.kind, ActionKind::kClose);
  EXPECT_EQ(fault("start reset").action.kind, ActionKind::kReset);
  EXPECT_EQ(fault("start reset-unread").action.kind, ActionKind::kResetUnread);
  EXPECT_EQ(fault("start deaf").action.kind, ActionKind::kDeaf);
  EXPECT_FALSE(fault("start deaf").action.seconds);
  EXPECT_EQ(fault("start deaf 7").action.seconds, 7);
  EXPECT_EQ(fault("start refuse 1").action.kind, ActionKind::kRefuse);
  EXPECT_EQ(fault("start power-cycle 1").action.kind, ActionKind::kPowerCycle);
  EXPECT_EQ(fault("start no-close").action.kind, ActionKind::kNoClose);
  EXPECT_EQ(fault("start die").action.kind, ActionKind::kDie);
  EXPECT_EQ(fault("start garbage paper out").action.bytes, "paper out");
  EXPECT_EQ(fault("start garbage 1B 40 ff").action.bytes, "\x1B@\xFF");
  EXPECT_EQ(fault("start garbage 1B 4g").action.bytes, "1B 4g");
  EXPECT_EQ(fault("start slow 40 3").action.text, "slow 40 3");
}

TEST(FaultScript, SaysWhatIsWrong) {
  EXPECT_EQ(problemOf("label 2 explode"), "unknown action \"explode\"");
  EXPECT_EQ(problemOf("label 2 pause"), "\"pause\" is no action; it goes: pause SECONDS");
  EXPECT_EQ(problemOf("label 2 pause long"), "\"pause long\" is no action; it goes: pause SECONDS");
  EXPECT_EQ(problemOf("label 2 pause -1"), "\"pause -1\" is no action; it goes: pause SECONDS");
  EXPECT_EQ(problemOf("label 2 pause 1 2"), "\"pause 1 2\" is no action; it goes: pause SECONDS");
  EXPECT_EQ(problemOf("label 2 reset now"), "\"reset now\" is no action; it goes: reset");
  EXPECT_EQ(problemOf("label 2 101% reset"), "\"101%\" is no share from 0% to 100%");
  EXPECT_EQ(problemOf("label 2 x% reset"), "\"x%\" is no share from 0% to 100%");
  for (const char* text : {"", "reset", "label reset", "label two reset", "page 2 reset",
                           "label -2 reset", "byte 1e3 reset"}) {
    EXPECT_NE(problemOf(text).find("does not start with start, connection N"), std::string::npos)
        << text;
  }
  EXPECT_NE(problemOf("label 2").find("no action; known are pause"), std::string::npos);
  EXPECT_NE(problemOf("start garbage").find("garbage TEXT"), std::string::npos);
}

TEST(FaultScript, ReadsAFaultALine) {
  const auto faults = parseScript("# two faults\n\nlabel 1 reset\n  after 2 die\n");
  ASSERT_TRUE(faults) << faults.problem();
  ASSERT_EQ(faults->size(), 2U);
  EXPECT_EQ((*faults)[0].action.kind, ActionKind::kReset);
  EXPECT_EQ((*faults)[1].action.kind, ActionKind::kDie);
}

TEST(FaultScript, NamesTheLineThatIsWrong) {
  const auto faults = parseScript("label 1 reset\n\nlabel 1 rest\n");
  EXPECT_FALSE(faults);
  EXPECT_EQ(faults.problem(), "line 3: unknown action \"rest\"");
}

}  // namespace
}  // namespace kestra::paper
