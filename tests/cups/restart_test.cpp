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
    if (!IsSkipped() && server().problem().empty()) {
      server().restart(PrintServer::Temporary::kInSpool);
    }
  }
  JobReport printOne(const std::string& queue) {
    return server().print(queue, raster({rasterPage("text", 400, 100)}));
  }
};

TEST_F(Restart, EmptiesTheSpoolWhereItIsTheServersTemporaryPlace) {
  const std::string queue = makeQueue();
  const JobReport before = printOne(queue);
  ASSERT_EQ(before.frames.size(), 1U);
  EXPECT_NE(server().counter(queue + ".pgc"), "");

  server().restart(PrintServer::Temporary::kInSpool);
  EXPECT_EQ(server().frames(before.id).size(), 0U);
  EXPECT_EQ(server().counter(queue + ".pgc"), "");
  // The queue is still there, its pages are counted from 1 again.
  const JobReport after = printOne(queue);
  EXPECT_EQ(after.state, JobState::kCompleted);
  EXPECT_EQ(after.frames.count(frameName(1, after.id)), 1U);
}

TEST_F(Restart, KeepsFramesAndNumbersWhereTheTemporaryPlaceLiesElsewhere) {
  const std::string queue = makeQueue();
  // The server has just made the spool's folder for its filters; from here on it leaves it alone.
  server().restart(PrintServer::Temporary::kElsewhere);
  const JobReport before = printOne(queue);
  ASSERT_EQ(before.frames.size(), 1U);

  server().restart(PrintServer::Temporary::kElsewhere);
  EXPECT_EQ(server().frames(before.id), before.frames);
  EXPECT_EQ(server().counter(queue + ".pgc"), std::string("\x02\0", 2));
  const JobReport after = printOne(queue);
  EXPECT_EQ(after.state, JobState::kCompleted);
  EXPECT_EQ(after.frames.count(frameName(2, after.id)), 1U);
}

TEST_F(Restart, OfAServerThatMayNotWriteTheSpoolLosesPagesWithoutAWord) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make a folder that the filter may not write";
  const std::string queue = makeQueue();
  server().restart(PrintServer::Temporary::kElsewhere);
  // As the package leaves it before the server's first start.
  const std::string spool = server().spoolTmp();
  std::filesystem::remove_all(spool + "kcv6data");
  ASSERT_EQ(::chown(spool.c_str(), 0, 0), 0);
  ASSERT_EQ(::chmod(spool.c_str(), 0755), 0);
  const JobReport report = printOne(queue);
  EXPECT_EQ(report.state, JobState::kCompleted);
  EXPECT_EQ(report.frames.size(), 0U);
  // The printer still gets its command.
  EXPECT_EQ(report.sent, commands(1));
}

}  // namespace kestra::cups_tests
