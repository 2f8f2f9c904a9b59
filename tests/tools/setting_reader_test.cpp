// Tests of the decoding of print-setting commands and page counters.
//
// Speed codes are two less than the job's speed from 2 on, which the words must undo.
#include "tools/frame/setting_reader.h"

#include <gtest/gtest.h>

#include "tests/tools/frame_bytes.h"

namespace kestra {
namespace {

TEST(SentSetting, ReadsOneCommandPerPage) {
  const ParsedSettings parsed =
      parsePrintSettings({0x1B, 0x73, 1, 0, 0, 2, 1, 0x1B, 0x73, 1, 0, 0, 4, 2});
  EXPECT_EQ(parsed.problem, "");
  ASSERT_EQ(parsed.settings.size(), 2U);
  EXPECT_EQ(parsed.settings[0].speedCode, 2);
  EXPECT_EQ(parsed.settings[0].darkness, 1);
  EXPECT_EQ(parsed.settings[1].speedCode, 4);
  EXPECT_EQ(parsed.settings[1].darkness, 2);
}

TEST(SentSetting, NamesTheByteThatIsWrong) {
  const ParsedSettings parsed =
      parsePrintSettings({0x1B, 0x73, 1, 0, 0, 2, 1, 0x1B, 0x74, 1, 0, 0, 4, 2});
  EXPECT_EQ(parsed.settings.size(), 1U);
  // The second command starts at byte 7; its second byte is 0x74 = 116 instead of 0x73 = 115.
  EXPECT_EQ(parsed.problem, "command 2: byte 8 is 116, expected 115");
}

TEST(SentSetting, SaysWhenACommandIsCutOff) {
  EXPECT_EQ(parsePrintSettings({0x1B, 0x73, 1, 0, 0, 2}).problem,
            "command 1 is cut off: 6 bytes, a command has 7");
  EXPECT_EQ(parsePrintSettings({}).problem, "empty, a job sends one command of 7 bytes per page");
}

TEST(SentSetting, NamesTheJobSpeedsBehindACode) {
  // Speeds 0 and 1 are sent unchanged, every other speed two less.
  EXPECT_EQ(describe({0, 0}), "darkness Light, PrintSpeed 2 or 0");
  EXPECT_EQ(describe({1, 1}), "darkness Middle, PrintSpeed 3 or 1");
  EXPECT_EQ(describe({2, 2}), "darkness Dark, PrintSpeed 4");
  EXPECT_EQ(describe({253, 3}), "darkness 3 (unknown), PrintSpeed 255");
  EXPECT_EQ(describe({254, 0}), "darkness Light, a speed that no PrintSpeed gives");
}

TEST(SentSetting, TellsTheCodesAsTheyAreSent) {
  EXPECT_EQ(describeCodes({2, 1}), "speed code 2, darkness code 1");
}

TEST(PageCounter, IsReadLowByteFirst) {
  const Result<std::uint16_t> parsed = parsePageCounter({0x27, 0x23});
  ASSERT_TRUE(parsed);
  EXPECT_EQ(*parsed, 8999);  // 0x2327
  EXPECT_EQ(parsed.problem(), "");
}

TEST(PageCounter, HasExactlyTwoBytes) {
  const Result<std::uint16_t> shorter = parsePageCounter({1});
  EXPECT_FALSE(shorter);
  EXPECT_EQ(shorter.problem(), "1 bytes, a page counter has exactly 2");
  const Result<std::uint16_t> longer = parsePageCounter({1, 2, 3});
  EXPECT_FALSE(longer);
  EXPECT_EQ(longer.problem(), "3 bytes, a page counter has exactly 2");
}

}  // namespace
}  // namespace kestra
