// What a restart of the print server does to frames and page numbers, and closed spool folders.
// Why: it decides when a delivery stage must have fetched its frames.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/cups/cups_case.h"

namespace kestra::cups_tests {

class Restart : public CupsCase {
 protected:
  void TearDown() override {
    if (!IsSkipped() && server().Problem().empty()) {
      server().Restart(PrintServer::Temporary::kInSpool);
    }
  }
  JobReport PrintOne(const std::string& queue) {
    return server().Print(queue, Raster({RasterPage("text", 400, 100)}));
  }
};

TEST_F(Restart, EmptiesTheSpoolWhereItIsTheServersTemporaryPlace) {
  const std::string queue = Queue();
  const JobReport before = PrintOne(queue);
  ASSERT_EQ(before.frames.size(), 1U);
  EXPECT_NE(server().Counter(queue + ".pgc"), "");

  server().Restart(PrintServer::Temporary::kInSpool);
  EXPECT_EQ(server().Frames(before.id).size(), 0U);
  EXPECT_EQ(server().Counter(queue + ".pgc"), "");
  // The queue is still there, its pages are counted from 1 again.
  const JobReport after = PrintOne(queue);
  EXPECT_EQ(after.state, JobState::kCompleted);
  EXPECT_EQ(after.frames.count(FrameName(1, after.id)), 1U);
}

TEST_F(Restart, KeepsFramesAndNumbersWhereTheTemporaryPlaceLiesElsewhere) {
  const std::string queue = Queue();
  // The server has just made the spool's folder for its filters; from here on it leaves it alone.
  server().Restart(PrintServer::Temporary::kElsewhere);
  const JobReport before = PrintOne(queue);
  ASSERT_EQ(before.frames.size(), 1U);

  server().Restart(PrintServer::Temporary::kElsewhere);
  EXPECT_EQ(server().Frames(before.id), before.frames);
  EXPECT_EQ(server().Counter(queue + ".pgc"), std::string("\x02\0", 2));
  const JobReport after = PrintOne(queue);
  EXPECT_EQ(after.state, JobState::kCompleted);
  EXPECT_EQ(after.frames.count(FrameName(2, after.id)), 1U);
}

TEST_F(Restart, OfAServerThatMayNotWriteTheSpoolLosesPagesWithoutAWord) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make a folder that the filter may not write";
  const std::string queue = Queue();
  server().Restart(PrintServer::Temporary::kElsewhere);
  // As the package leaves it before the server's first start.
  const std::string spool = server().SpoolTmp();
  std::filesystem::remove_all(spool + "kcv6data");
  ASSERT_EQ(::chown(spool.c_str(), 0, 0), 0);
  ASSERT_EQ(::chmod(spool.c_str(), 0755), 0);
  const JobReport report = PrintOne(queue);
  EXPECT_EQ(report.state, JobState::kCompleted);
  EXPECT_EQ(report.frames.size(), 0U);
  // The printer still gets its command.
  EXPECT_EQ(report.sent, Commands(1));
}

}  // namespace kestra::cups_tests
