// Tests what a job leaves behind about its page headers: log lines in their order, and a side file
// of the last page.
#include "filter/header_log.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/unit/capture.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

class HeaderLog : public SpoolTest {
 protected:
  static std::string sideFile() { return testing_support::readFile("tmp/xxxxx.log"); }
};

TEST_F(HeaderLog, ShowsEveryFieldInItsOrder) {
  cups_page_header2_t header{};
  header.NumCopies = 3;
  header.HWResolution[0] = 203;
  header.HWResolution[1] = 300;
  header.cupsWidth = 812;
  header.cupsHeight = 1218;
  header.cupsMediaType = 5;
  header.cupsBitsPerColor = 8;
  header.cupsBitsPerPixel = 16;
  header.cupsBytesPerLine = 816;
  header.cupsColorOrder = CUPS_ORDER_BANDED;  // 1
  header.cupsColorSpace = CUPS_CSPACE_K;      // 3
  header.cupsCompression = 21;
  header.cupsRowCount = 22;
  header.cupsRowFeed = 23;
  header.cupsRowStep = 24;
  Capture capture;
  logPageHeader(7, header);
  EXPECT_EQ(
      "DEBUG:PAGE: 7 3\n\n"
      "DEBUG:header.HWResolution[0]:203\n\n"
      "DEBUG:header.HWResolution[1]:300\n"
      "DEBUG:header.cupsWidth:812\n"
      "DEBUG:header.cupsHeight:1218\n"
      "DEBUG:header.cupsMediaType:5\n"
      "DEBUG:header.cupsBitsPerColor:8\n"
      "DEBUG:header.cupsBitsPerPixel:16\n"
      "DEBUG:header.cupsBytesPerLine:816\n"
      "DEBUG:header.cupsColorOrder:1\n"
      "DEBUG:header.cupsColorSpace:3\n"
      "DEBUG:header.cupsCompression:21\n"
      "DEBUG:header.cupsRowCount:22\n"
      "DEBUG:header.cupsRowFeed:23\n"
      "DEBUG:header.cupsRowStep:24\n",
      capture.stop());
}

TEST_F(HeaderLog, PrintsLargeFieldsAsSignedNumbers) {
  cups_page_header2_t header{};
  header.NumCopies = 0xFFFFFFFFU;
  header.cupsWidth = 0x80000000U;
  Capture capture;
  logPageHeader(1, header);
  const std::string log = capture.stop();
  EXPECT_NE(std::string::npos, log.find("DEBUG:PAGE: 1 -1\n"));
  EXPECT_NE(std::string::npos, log.find("DEBUG:header.cupsWidth:-2147483648\n"));
}

TEST_F(HeaderLog, KeepsTheLastPageInTheSideFile) {
  cups_page_header2_t header{};
  header.cupsWidth = 812;
  header.cupsHeight = 1218;
  header.cupsBytesPerLine = 816;
  header.cupsBitsPerPixel = 8;
  writeSideFile(header);
  EXPECT_EQ("cupsWidth:812, cupsHeight:1218, cupsBytesPerLine:816, cupsBitsPerPixel:8\n",
            sideFile());
  header.cupsWidth = 4;
  header.cupsHeight = 2;
  header.cupsBytesPerLine = 4;
  writeSideFile(header);
  EXPECT_EQ("cupsWidth:4, cupsHeight:2, cupsBytesPerLine:4, cupsBitsPerPixel:8\n", sideFile());
}

TEST_F(HeaderLog, IgnoresASideFileThatCannotBeOpened) {
  const cups_page_header2_t header{};
  std::filesystem::remove_all("tmp");
  Capture capture;
  writeSideFile(header);
  EXPECT_EQ("", capture.stop());
  EXPECT_FALSE(std::filesystem::exists("tmp"));
}

TEST_F(HeaderLog, WritesThroughNoLink) {
  writeBytes("target", {'k', 'e', 'e', 'p'});
  std::filesystem::create_symlink("../target", "tmp/xxxxx.log");
  const cups_page_header2_t header{};
  writeSideFile(header);
  EXPECT_EQ((Bytes{'k', 'e', 'e', 'p'}), readBytes("target"));
}

}  // namespace
}  // namespace kestra
