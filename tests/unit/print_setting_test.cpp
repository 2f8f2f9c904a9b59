// Tests the print-setting command, the seven bytes that reach the printer before each page.
#include "printer/print_setting.h"

#include <gtest/gtest.h>

namespace kestra {
namespace {

TEST(PrintSetting, IsSevenBytesWithSpeedAndDarkness) {
  EXPECT_EQ((PrintSetting{0x1B, 0x73, 0x01, 0x00, 0x00, 2, 1}), printSetting("4", 1));
}

TEST(PrintSetting, CodesTheSpeedLessTwoFromTwoOn) {
  const struct {
    const char* text;
    int code;
  } table[] = {{"0", 0},         {"1", 1},   {"2", 0},     {"3", 1},
               {"4", 2},         {"6", 4},   {"15", 13},   {"255", 253},
               {"", 0},          {"abc", 0}, {"5 ips", 3}, {"256", 0},  // low byte 0
               {"257", 1},                                              // low byte 1
               {"258", 0},                                              // low byte 2, less 2
               {"-1", 253},                                             // low byte 255, less 2
               {"-255", 1},                                             // low byte 1
               {"2147483648", 0}};
  for (const auto& row : table) {
    EXPECT_EQ(row.code, printSetting(row.text, 0)[5]) << '"' << row.text << '"';
  }
}

TEST(PrintSetting, SendsTheLowByteOfTheDarkness) {
  EXPECT_EQ(0, printSetting("4", 0)[6]);
  EXPECT_EQ(2, printSetting("4", 2)[6]);
  EXPECT_EQ(2, printSetting("4", 258)[6]);
  EXPECT_EQ(255, printSetting("4", -1)[6]);
}

}  // namespace
}  // namespace kestra
