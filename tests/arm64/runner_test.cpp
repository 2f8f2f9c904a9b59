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
    clear();
    if (std::string(KESTRA_ANNOUNCE).find(' ') != std::string::npos) {
      GTEST_SKIP() << "a runner's words cannot hold blanks, and this folder's path does";
    }
  }
  void TearDown() override { clear(); }

  static void set(const char* name, const std::string& value) {
    ASSERT_EQ(::setenv(name, value.c_str(), 1), 0);
  }

 private:
  static void clear() {
    for (const char* name : {kFilter, kFilterRelative, kRunner}) ::unsetenv(name);
  }
};

JobCase onePage() {
  JobCase job;
  job.addPage(24, 16, "photo");
  return job;
}

// The page frames and the counter.
std::map<std::string, std::string> data(const ts::Result& result) {
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
  const ts::Result direct = box.start(run);
  ASSERT_EQ(direct.status, 1);
  ASSERT_NE(direct.messages.find("label"), std::string::npos) << direct.messages;
  set(kRunner, kAnnounce);
  const ts::Result through = box.start(run);
  EXPECT_EQ(through.status, 1);
  EXPECT_EQ(through.messages, "announced: queue/label\n" + direct.messages);
}

TEST_F(Runner, LeavesTheBytesOfAJobAsTheyAre) {
  const JobCase job = onePage();
  const ts::Result direct = runFilter(job);
  set(kRunner, kAnnounce);
  const ts::Result through = runFilter(job);
  EXPECT_EQ(through.messages.rfind("announced: ", 0), 0U) << through.messages;
  EXPECT_EQ(through.status, 0);
  EXPECT_EQ(through.output, direct.output);
  EXPECT_EQ(data(through).size(), 2U);
  EXPECT_EQ(data(through), data(direct));
}

TEST_F(Runner, StartsTheNamedFilterInsteadOfTheOwnOne) {
  set(kFilter, "/bin/false");
  set(kFilterRelative, "/bin/false");
  ts::Sandbox box;
  const ts::Result result = box.start(prepare(onePage(), box));
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(data(result).empty());
  EXPECT_TRUE(result.messages.empty()) << result.messages;
}

TEST_F(Runner, FailsTheTestWhereTheNamedFilterIsMissing) {
  set(kFilter, "/no/such/filter");
  set(kFilterRelative, "/no/such/filter");
  ts::Sandbox box;
  EXPECT_NONFATAL_FAILURE(box.start({}), "open /no/such/filter: No such file");
}

TEST_F(Runner, FailsTheTestWhereAFilterIsNamedForTheOtherIsolationOnly) {
  const bool relative = ts::currentIsolation() == ts::Isolation::kRelative;
  set(relative ? kFilter : kFilterRelative, "/bin/true");
  ts::Sandbox box;
  EXPECT_NONFATAL_FAILURE(box.start({}), "is set, but this machine needs");
}

TEST_F(Runner, FailsTheTestWhereItOrAFileOfItsWordsIsMissing) {
  ts::Sandbox box;
  set(kRunner, "/no/such/runner");
  EXPECT_NONFATAL_FAILURE(box.start({}), "open /no/such/runner: No such file");
  set(kRunner, "/bin/bash /no/such/word");
  EXPECT_NONFATAL_FAILURE(box.start({}), "open /no/such/word: No such file");
  set(kRunner, "bash");
  EXPECT_NONFATAL_FAILURE(box.start({}), "must begin with an absolute path");
}

}  // namespace kestra::blackbox
