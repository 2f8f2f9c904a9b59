// Which job a word means.
#include "delivery/tool/choose_job.h"

#include <gtest/gtest.h>

namespace kestra::delivery {
namespace {

Remembered printing(const std::string& key, int number, bool isLast = true) {
  Remembered one;
  one.key = key;
  one.isLast = isLast;
  one.journal.number = number;
  one.journal.begun = 1700000000;
  return one;
}

std::string keysOf(const std::vector<Remembered>& printings) {
  std::string keys;
  for (const Remembered& one : printings) keys += one.key + " ";
  return keys;
}

TEST(ChooseJob, ANumberIsDigitsThatFit) {
  EXPECT_EQ(jobNumber("45"), 45);
  EXPECT_EQ(jobNumber("000045"), 45);
  EXPECT_EQ(jobNumber("999999999"), 999999999);
  for (const char* word : {"", "1000000000", "-1", "4a", " 4", "+4"}) {
    EXPECT_FALSE(jobNumber(word)) << word;
  }
}

TEST(ChooseJob, ANumberComesBeforeTheStartOfAKey) {
  Remembered withoutJournal;
  withoutJournal.key = "aaa";
  const std::vector<Remembered> all = {withoutJournal,           printing("45ab", 7),
                                       printing("b", 45, false), printing("b", 45),
                                       printing("c12", 8),       printing("c13", 9)};
  EXPECT_EQ(keysOf(matchingJobs(all, "45")), "b b ");
  EXPECT_EQ(keysOf(matchingJobs(all, "45a")), "45ab ");
  EXPECT_EQ(keysOf(matchingJobs(all, "c12")), "c12 ");
  EXPECT_EQ(keysOf(matchingJobs(all, "c1")), "c12 c13 ");
  EXPECT_EQ(keysOf(matchingJobs(all, "0")), "");  // no journal, no number
  EXPECT_EQ(keysOf(matchingJobs(all, "")), "");
  EXPECT_EQ(keysOf(matchingJobs(all, "../b")), "");
}

TEST(ChooseJob, TwoJobsOfOneNumberAreToldApartByTheirKeys) {
  EXPECT_TRUE(areOneJob({}, "45"));
  EXPECT_TRUE(areOneJob({printing("a", 45, false), printing("a", 45)}, "45"));
  EXPECT_EQ(
      areOneJob({printing("a", 45, false), printing("a", 45), printing("b", 45)}, "45").problem(),
      "45 is more than one job; name its key: a, b");
}

}  // namespace
}  // namespace kestra::delivery
