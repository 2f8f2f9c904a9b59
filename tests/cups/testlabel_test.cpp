// Test labels that kestra-testlabel prints on a queue.
// Why: it must ask the queue itself for size and options, and each step must reach the printer.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/cups/command.h"
#include "tests/cups/cups_case.h"

namespace kestra::cups_tests {

class TestLabels : public CupsCase {
 protected:
  // Runs the program and waits for the jobs that it says it sent, in order.
  std::vector<JobReport> printOn(const std::string& queue, std::vector<std::string> words) {
    words.insert(words.begin(), {server().testLabelProgram(), "-d", queue});
    const std::string said = mustRun(words);
    const std::string start = "request id is " + queue + "-";
    std::vector<JobReport> reports;
    for (std::size_t at = 0; (at = said.find(start, at)) != std::string::npos;) {
      at += start.size();
      reports.push_back(server().await(std::atoi(said.c_str() + at)));
    }
    return reports;
  }

  // Rows of a job's only frame.
  static int rows(const JobReport& report) {
    const std::string frame = onlyFrame(report);
    return (frame[20] & 255) + 256 * (frame[21] & 255);
  }
};

TEST_F(TestLabels, HaveTheSizeOfTheQueue) {
  const std::vector<JobReport> reports = printOn(makeQueue({"PageSize=w142h85"}), {});
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_EQ(reports[0].state, JobState::kCompleted);
  // 30 mm at 203 dpi: 239.8.
  EXPECT_EQ(rows(reports[0]), 240);
}

TEST_F(TestLabels, TakeTheOptionsOfTheJobFirst) {
  const std::vector<JobReport> reports =
      printOn(makeQueue({"PageSize=w142h85"}), {"--size", "100x150mm", "-o", "Resolution=300dpi"});
  ASSERT_EQ(reports.size(), 1U);
  // 150 mm at 300 dpi: 1771.7.
  EXPECT_EQ(rows(reports[0]), 1772);
}

TEST_F(TestLabels, AreAJobForEachStep) {
  const std::vector<JobReport> reports =
      printOn(makeQueue({"PrintSpeed=2"}), {"--steps", "Darkness=Dark,Light,Middle"});
  ASSERT_EQ(reports.size(), 3U);
  EXPECT_EQ(reports[0].sent, commands(1, 0, 2));
  EXPECT_EQ(reports[1].sent, commands(1, 0, 0));
  EXPECT_EQ(reports[2].sent, commands(1, 0, 1));
  // The value is written on each; the rows begin behind 22 bytes, which hold the page's number.
  ASSERT_TRUE(rows(reports[0]) > 0 && rows(reports[1]) > 0);
  EXPECT_NE(onlyFrame(reports[0]).substr(22), onlyFrame(reports[1]).substr(22));
}

}  // namespace kestra::cups_tests
