// Fixture, expectations and the program's entry.
// Why: every test then checks state, error lines, frames and sent bytes of its job alike.
#include "tests/cups/cups_case.h"

#include <unistd.h>

#include <cstdio>

#include "tests/cups/command.h"
#include "tests/cups/private_machine.h"
#include "tests/cups/server_files.h"

namespace kestra::cups_tests {

namespace ts = testing_support;

void CupsCase::SetUp() {
  if (!thisMachine().obstacle.empty()) {
    GTEST_SKIP() << "no private place for a print server here (" << thisMachine().obstacle
                 << "); run the tests as root, or allow users their own namespaces";
  }
  ASSERT_EQ(server().problem(), "");
}

std::string CupsCase::makeQueue(const std::vector<std::string>& defaults) {
  const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
  server().addQueue(name, "kestra4", defaults);
  return name;
}

std::string CupsCase::document(const std::string& name, const std::string& bytes) {
  const std::string path = server().document(name);
  writeFile(path, bytes);
  return path;
}

std::string CupsCase::raster(const std::vector<ts::StreamPage>& pages) {
  return document("pages.ras", ts::writeStream(pages, true));
}

JobReport CupsCase::printed(const std::string& queue, const std::string& file,
                            const std::vector<std::string>& words) {
  const JobReport report = server().print(queue, file, words);
  EXPECT_EQ(report.state, JobState::kCompleted)
      << file << " " << testing::PrintToString(words) << ": " << report.message;
  return report;
}

std::string commands(std::size_t pages, int speed, int darkness) {
  const char one[] = {0x1B, 0x73, 1, 0, 0, static_cast<char>(speed), static_cast<char>(darkness)};
  std::string all;
  for (std::size_t i = 0; i < pages; ++i) all.append(one, sizeof one);
  return all;
}

std::string frameName(int page, int job, int sequence) {
  char name[64];
  std::snprintf(name, sizeof name, "page_%04d_jobid_%06d_%04d.dat", page, job, sequence);
  return name;
}

void expectPrinted(const JobReport& report, const std::map<std::string, plain::Bytes>& frames,
                   const std::string& commands) {
  EXPECT_EQ(report.state, JobState::kCompleted) << report.reason << ": " << report.message;
  EXPECT_EQ(report.errors, std::vector<std::string>{});
  EXPECT_FALSE(frames.empty());
  EXPECT_EQ(report.frames.size(), frames.size());
  EXPECT_EQ(report.sent, commands);
  for (const auto& [name, bytes] : frames) {
    const auto found = report.frames.find(name);
    if (found == report.frames.end()) {
      ADD_FAILURE() << "no frame " << name;
      continue;
    }
    EXPECT_TRUE(found->second == std::string(bytes.begin(), bytes.end()))
        << name << " has other bytes";
  }
}

void expectPrinted(const JobReport& report, const plain::Outcome& outcome) {
  expectPrinted(report, outcome.frames, std::string(outcome.output.begin(), outcome.output.end()));
}

std::string onlyFrame(const JobReport& report) {
  EXPECT_EQ(report.frames.size(), 1U);
  return report.frames.size() == 1 ? report.frames.begin()->second : std::string(22, '\0');
}

std::vector<std::string> inOrder(const JobReport& report) {
  std::vector<std::string> frames;
  for (const auto& [name, bytes] : report.frames) frames.push_back(bytes);
  return frames;
}

Box bar(int k) { return {0, 812, 203 * k, 1015}; }

std::vector<int> bars(const JobReport& report) {
  std::vector<int> bars;
  for (const auto& frame : inOrder(report)) {
    const Box box = blackBox(frame, kLabelMargin);
    const int k = box.right / 203;
    bars.push_back(box == bar(k) ? k : 0);
  }
  return bars;
}

}  // namespace kestra::cups_tests

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();
  kestra::cups_tests::keepBuildFiles();
  return kestra::cups_tests::runInPrivateMachine([] { return RUN_ALL_TESTS(); });
}
