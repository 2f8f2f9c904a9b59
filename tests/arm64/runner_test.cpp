// Tests that name another filter, or a runner for it, start exactly that.
// Why: a test that quietly ran this machine's own filter would prove nothing of another processor.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "tests/blackbox/job_case.h"
#include "tests/support/isolation.h"

namespace kestra::blackbox {

namespace ts = testing_support;

namespace {

constexpr char kFilter[] = "KESTRA_TEST_FILTER";
constexpr char kFilterRelative[] = "KESTRA_TEST_FILTER_RELATIVE";
constexpr char kRunner[] = "KESTRA_TEST_RUNNER";
const std::string kAnnounce = std::string("/bin/bash ") + KESTRA_ANNOUNCE + " %0";

// Each test starts without any of the variables, and leaves none.
class Runner : public testing::Test {
 protected:
  void SetUp() override {
    Clear();
    if (std::string(KESTRA_ANNOUNCE).find(' ') != std::string::npos) {
      GTEST_SKIP() << "a runner's words cannot hold blanks, and this folder's path does";
    }
  }
  void TearDown() override { Clear(); }

  static void Set(const char* name, const std::string& value) {
    ASSERT_EQ(::setenv(name, value.c_str(), 1), 0);
  }

 private:
  static void Clear() {
    for (const char* name : {kFilter, kFilterRelative, kRunner}) ::unsetenv(name);
  }
};

JobCase OnePage() {
  JobCase job;
  job.AddPage(24, 16, "photo");
  return job;
}

// The page frames and the counter.
std::map<std::string, std::string> Data(const ts::Result& result) {
  std::map<std::string, std::string> data;
  for (const auto& [path, bytes] : result.files) {
    if (path.rfind(ts::kData, 0) == 0) data[path] = bytes;
  }
  return data;
}

}  // namespace

TEST_F(Runner, GetsTheFiltersNameAndItsArguments) {
  ts::Sandbox box;
  ts::Run run;
  run.queueName = "queue/label";
  run.arguments = {"too", "few arguments"};  // the filter says its name and ends with status 1
  const ts::Result direct = box.Start(run);
  ASSERT_EQ(direct.status, 1);
  ASSERT_NE(direct.messages.find("label"), std::string::npos) << direct.messages;
  Set(kRunner, kAnnounce);
  const ts::Result through = box.Start(run);
  EXPECT_EQ(through.status, 1);
  EXPECT_EQ(through.messages, "announced: queue/label\n" + direct.messages);
}

TEST_F(Runner, LeavesTheBytesOfAJobAsTheyAre) {
  const JobCase job = OnePage();
  const ts::Result direct = RunFilter(job);
  Set(kRunner, kAnnounce);
  const ts::Result through = RunFilter(job);
  EXPECT_EQ(through.messages.rfind("announced: ", 0), 0U) << through.messages;
  EXPECT_EQ(through.status, 0);
  EXPECT_EQ(through.output, direct.output);
  EXPECT_EQ(Data(through).size(), 2U);
  EXPECT_EQ(Data(through), Data(direct));
}

TEST_F(Runner, StartsTheNamedFilterInsteadOfTheOwnOne) {
  Set(kFilter, "/bin/false");
  Set(kFilterRelative, "/bin/false");
  ts::Sandbox box;
  const ts::Result result = box.Start(Prepare(OnePage(), box));
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(Data(result).empty());
  EXPECT_TRUE(result.messages.empty()) << result.messages;
}

TEST_F(Runner, FailsTheTestWhereTheNamedFilterIsMissing) {
  Set(kFilter, "/no/such/filter");
  Set(kFilterRelative, "/no/such/filter");
  ts::Sandbox box;
  EXPECT_NONFATAL_FAILURE(box.Start({}), "open /no/such/filter: No such file");
}

TEST_F(Runner, FailsTheTestWhereAFilterIsNamedForTheOtherIsolationOnly) {
  const bool relative = ts::CurrentIsolation() == ts::Isolation::kRelative;
  Set(relative ? kFilter : kFilterRelative, "/bin/true");
  ts::Sandbox box;
  EXPECT_NONFATAL_FAILURE(box.Start({}), "is set, but this machine needs");
}

TEST_F(Runner, FailsTheTestWhereItOrAFileOfItsWordsIsMissing) {
  ts::Sandbox box;
  Set(kRunner, "/no/such/runner");
  EXPECT_NONFATAL_FAILURE(box.Start({}), "open /no/such/runner: No such file");
  Set(kRunner, "/bin/bash /no/such/word");
  EXPECT_NONFATAL_FAILURE(box.Start({}), "open /no/such/word: No such file");
  Set(kRunner, "bash");
  EXPECT_NONFATAL_FAILURE(box.Start({}), "must begin with an absolute path");
}

}  // namespace kestra::blackbox
