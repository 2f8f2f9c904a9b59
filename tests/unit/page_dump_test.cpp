// Tests the storing of page frames: their names, their sequence, and how a page is lost.
#include "printer/page_dump.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/unit/capture.h"
#include "tests/unit/full_disk.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

class PageDump : public SpoolTest {
 protected:
  /// Stores one frame and gives what was logged.
  static std::string dump(unsigned short page, int job, const Bytes& frame) {
    Capture capture;
    DumpPageToFile(page, job, frame.data(), static_cast<long>(frame.size()));
    return capture.stop();
  }
};

TEST_F(PageDump, StoresAFrameAndTellsWhere) {
  const Bytes frame = {'S', 'I', 'Z', 0, 255};
  EXPECT_EQ("DEBUG:DumpPageToFile: dumped the page data to file:" + kData +
                "/page_0001_jobid_000042_0000.dat, size:5\n",
            dump(1, 42, frame));
  EXPECT_EQ(Names{"page_0001_jobid_000042_0000.dat"}, namesIn(kData));
  EXPECT_EQ(frame, readBytes(kData + "/page_0001_jobid_000042_0000.dat"));
}

TEST_F(PageDump, StoresAFrameFromTwoPlaces) {
  const Bytes header = {'S', 'I', 'Z'};
  const Bytes records = {1, 2, 3, 4};
  Capture capture;
  DumpPageToFile(1, 42, header.data(), 3, records.data(), 4);
  EXPECT_EQ("DEBUG:DumpPageToFile: dumped the page data to file:" + kData +
                "/page_0001_jobid_000042_0000.dat, size:7\n",
            capture.stop());
  EXPECT_EQ((Bytes{'S', 'I', 'Z', 1, 2, 3, 4}),
            readBytes(kData + "/page_0001_jobid_000042_0000.dat"));
}

TEST_F(PageDump, NumbersFramesOfTheSamePageAndJob) {
  dump(1, 42, {1});
  dump(1, 42, {2});
  dump(1, 42, {3});
  EXPECT_EQ((Names{"page_0001_jobid_000042_0000.dat", "page_0001_jobid_000042_0001.dat",
                   "page_0001_jobid_000042_0002.dat"}),
            namesIn(kData));
  EXPECT_EQ(Bytes{1}, readBytes(kData + "/page_0001_jobid_000042_0000.dat"));
  EXPECT_EQ(Bytes{3}, readBytes(kData + "/page_0001_jobid_000042_0002.dat"));
}

TEST_F(PageDump, FillsTheFirstGapOfTheSequence) {
  makeDataFolder();
  writeBytes(kData + "/page_0001_jobid_000042_0000.dat", {9});
  writeBytes(kData + "/page_0001_jobid_000042_0002.dat", {9});
  dump(1, 42, {5});
  EXPECT_EQ(Bytes{5}, readBytes(kData + "/page_0001_jobid_000042_0001.dat"));
  dump(1, 42, {6});
  EXPECT_EQ(Bytes{6}, readBytes(kData + "/page_0001_jobid_000042_0003.dat"));
  EXPECT_EQ(Bytes{9}, readBytes(kData + "/page_0001_jobid_000042_0002.dat"));
}

TEST_F(PageDump, KeepsOtherPagesAndJobsApart) {
  dump(1, 42, {1});
  dump(2, 42, {1});
  dump(1, 43, {1});
  EXPECT_EQ((Names{"page_0001_jobid_000042_0000.dat", "page_0001_jobid_000043_0000.dat",
                   "page_0002_jobid_000042_0000.dat"}),
            namesIn(kData));
}

TEST_F(PageDump, PrintsLongNumbersWhole) {
  dump(12345, 1234567, {1});
  dump(65535, 2147483647, {1});
  dump(0, 0, {1});
  EXPECT_EQ((Names{"page_0000_jobid_000000_0000.dat", "page_12345_jobid_1234567_0000.dat",
                   "page_65535_jobid_2147483647_0000.dat"}),
            namesIn(kData));
}

TEST_F(PageDump, CountsTheSignOfAJobNumberAmongItsDigits) {
  dump(1, -1, {1});
  dump(1, -2147483647 - 1, {1});
  EXPECT_EQ((Names{"page_0001_jobid_-00001_0000.dat", "page_0001_jobid_-2147483648_0000.dat"}),
            namesIn(kData));
}

TEST_F(PageDump, MakesItsFolderForItsOwnerAlone) {
  const mode_t before = umask(0);
  dump(1, 42, {1});
  umask(before);
  EXPECT_EQ(std::filesystem::perms(0700), std::filesystem::status(kData).permissions());
}

TEST_F(PageDump, StoresNothingOfNothing) {
  EXPECT_EQ("", dump(1, 42, {}));
  EXPECT_FALSE(std::filesystem::exists(kData));
}

TEST_F(PageDump, LosesThePageSilentlyWithoutTheSpool) {
  std::filesystem::remove_all("var");
  EXPECT_EQ("", dump(1, 42, {1}));
  EXPECT_FALSE(std::filesystem::exists("var"));
}

TEST_F(PageDump, LosesThePageSilentlyWhereItsFolderIsAFile) {
  writeBytes(kData, {'x'});
  EXPECT_EQ("", dump(1, 42, {1}));
  EXPECT_EQ(Bytes{'x'}, readBytes(kData));
}

TEST_F(PageDump, LosesThePageSilentlyBehindADanglingLink) {
  std::filesystem::create_symlink("nowhere", kData);
  EXPECT_EQ("", dump(1, 42, {1}));
  EXPECT_FALSE(std::filesystem::exists(kTmp + "/nowhere"));
}

TEST_F(PageDump, PutsNoPageWhereSomebodyElseCouldReadIt) {
  std::filesystem::create_directory("elsewhere");
  std::filesystem::create_directory_symlink("../../../../elsewhere", kData);
  EXPECT_EQ("", dump(1, 42, {1}));
  EXPECT_EQ(Names{}, namesIn("elsewhere"));
  std::filesystem::remove(kData);
  if (geteuid() != 0) return;  // only root can give a folder away
  makeDataFolder();
  ASSERT_EQ(0, chown(kData.c_str(), 12345, 12345));
  EXPECT_EQ("", dump(1, 42, {1}));
  EXPECT_EQ(Names{}, namesIn(kData));
}

TEST_F(PageDump, LeavesNoPartOfAFrameOnAFullDisk) {
  makeDataFolder();
  std::string log;
  {
    const FullDisk full(4096);
    log = dump(1, 42, Bytes(10000, 7));
  }
  EXPECT_EQ("ERROR:", log.substr(0, 6));
  EXPECT_EQ(std::string::npos, log.find("dumped"));
  EXPECT_EQ(Names{}, namesIn(kData));
  dump(1, 42, {1});  // the next page is fine again
  EXPECT_EQ(Names{"page_0001_jobid_000042_0000.dat"}, namesIn(kData));
}

}  // namespace
}  // namespace kestra
