// Tests the log function: the print system sorts lines by their prefix, so prefix, message and line
// end must come out byte by byte.
#include "filter/base/log.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/capture.h"

namespace kestra {
namespace {

std::string logged(std::uint32_t level) {
  Capture capture;
  wrenLogCommon(level, "x");
  return capture.stop();
}

TEST(Log, PutsEachLevelsPrefixDirectlyBeforeTheMessage) {
  EXPECT_EQ("DEBUG:x\n", logged(kLogDebug));
  EXPECT_EQ("DEBUG:x\n", logged(kLogDebugMore));  // shares the prefix of level 0
  EXPECT_EQ("WARN:x\n", logged(kLogWarn));
  EXPECT_EQ("ERROR:x\n", logged(kLogError));
  EXPECT_EQ("CRIT:x\n", logged(kLogCritical));
  EXPECT_EQ("INVALID:x\n", logged(kLogInvalid));
}

TEST(Log, LevelsAreTheNumbersOfTheirPrefixes) {
  EXPECT_EQ("ERROR:x\n", logged(3));
  EXPECT_EQ("INVALID:x\n", logged(5));
}

TEST(Log, StaysInsideThePrefixesForLevelsThatDoNotExist) {
  EXPECT_EQ("INVALID:x\n", logged(6));
  EXPECT_EQ("INVALID:x\n", logged(0xFFFFFFFFU));
}

TEST(Log, FormatsItsArguments) {
  Capture capture;
  wrenLogCommon(kLogDebug, "page %d of %s, %f mm, %zu bytes", 3, "roll", 50.5, std::size_t{1234});
  EXPECT_EQ("DEBUG:page 3 of roll, 50.500000 mm, 1234 bytes\n", capture.stop());
}

TEST(Log, LeavesAnEmptyLineAfterAMessageWithALineEndOfItsOwn) {
  Capture capture;
  wrenLogCommon(kLogDebug, "PAGE: %d %d\n", 1, 2);
  EXPECT_EQ("DEBUG:PAGE: 1 2\n\n", capture.stop());
}

TEST(Log, WritesPercentSignsOfAnArgumentAsTheyAre) {
  Capture capture;
  wrenLogCommon(kLogDebug, "%s", "100%d%s%n");
  EXPECT_EQ("DEBUG:100%d%s%n\n", capture.stop());
}

TEST(Log, WritesAMessageOfAnyLengthWhole) {
  const std::string text(10000, 'q');
  Capture capture;
  wrenLogCommon(kLogError, "%s", text.c_str());
  EXPECT_EQ("ERROR:" + text + "\n", capture.stop());
}

}  // namespace
}  // namespace kestra
