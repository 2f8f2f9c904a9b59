// Tests what a job tells of its pages: which frame belongs to which page of the stream.
#include "filter/job.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "printer/kestra_printer.h"
#include "tests/support/ppd_text.h"
#include "tests/support/raster_stream.h"
#include "tests/unit/capture.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

constexpr unsigned kWidth = 16;
constexpr unsigned kHeight = 4;
constexpr std::size_t kPageBytes = 64;  // at a byte for a pixel
constexpr const char* kStream = "pages.ras";

using Told = std::vector<std::pair<int, std::string>>;

class JobTest : public SpoolTest {
 protected:
  void SetUp() override {
    SpoolTest::SetUp();
    PageNum = 1;
    testing_support::PpdText ppd;
    ppd.setSizes("Label", {{"Label", 16, 4}}).setMaxMediaWidth("16");
    std::ofstream("small.ppd") << ppd.text();
    setenv("PPD", "small.ppd", 1);
    unsetenv("PRINTER");
  }
  void TearDown() override {
    unsetenv("PPD");
    SpoolTest::TearDown();
  }

  /// Writes a stream of blank pages of these bits per pixel, 16 x 4 at a dot per point.
  static void writeStream(const std::vector<unsigned>& bitsOfPages) {
    std::vector<testing_support::StreamPage> pages;
    for (const unsigned bits : bitsOfPages) {
      auto header = testing_support::makeHeader(kWidth, kHeight, kWidth * bits / 8, 72);
      header.cupsBitsPerColor = header.cupsBitsPerPixel = bits;
      pages.push_back({header, Bytes(std::size_t{header.cupsBytesPerLine} * kHeight, 0)});
    }
    std::ofstream(kStream) << testing_support::writeStream(pages);
  }

  /// Prints the stream as job 7; `told` is called as the job goes on.
  static int print(const PageDone& told = {}) {
    std::array<std::string, 7> words = {"rastertokestra", "7", "user", "title", "1", "", kStream};
    std::array<char*, 8> argv = {};
    for (std::size_t i = 0; i < words.size(); ++i) argv[i] = words[i].data();
    const Capture commands(Capture::kStdout);
    const Capture log;
    return runJob(static_cast<int>(words.size()), argv.data(), told);
  }

  std::string frame(const std::string& number) const {
    return kData + "/page_" + number + "_jobid_000007_0000.dat";
  }
};

TEST_F(JobTest, TellsOfEachPageWhereItsFrameLies) {
  writeStream({8, 8});
  Told told;
  EXPECT_EQ(0, print([&](int page, const std::string& path) {
              EXPECT_TRUE(std::filesystem::exists(path)) << "told before the frame is there";
              told.emplace_back(page, path);
            }));
  EXPECT_EQ((Told{{1, frame("0001")}, {2, frame("0002")}}), told);
}

TEST_F(JobTest, TellsOfAPageWithoutPixelsThatItHasNoFrame) {
  writeStream({8, 8});
  std::filesystem::resize_file(kStream, std::filesystem::file_size(kStream) - kPageBytes);
  Told told;
  EXPECT_EQ(0, print([&](int page, const std::string& path) { told.emplace_back(page, path); }));
  EXPECT_EQ((Told{{1, frame("0001")}, {2, ""}}), told);
}

// Between pages 1 and 3 a file stands where the folder of the frames was. Page 2 keeps its number,
// although it is lost.
TEST_F(JobTest, TellsOfALostPageThatItHasNoFrame) {
  writeStream({8, 8, 8});
  Told told;
  EXPECT_EQ(0, print([&](int page, const std::string& path) {
              told.emplace_back(page, path);
              if (page == 1) {
                std::filesystem::rename(kData, "aside");
                writeBytes(kData, {'x'});
              } else if (page == 2) {
                std::filesystem::remove(kData);
                std::filesystem::rename("aside", kData);
              }
            }));
  EXPECT_EQ((Told{{1, frame("0001")}, {2, ""}, {3, frame("0003")}}), told);
}

TEST_F(JobTest, TellsNothingOfAPageThatEndsTheJob) {
  writeStream({8, 1, 8});
  Told told;
  EXPECT_EQ(1, print([&](int page, const std::string& path) { told.emplace_back(page, path); }));
  EXPECT_EQ((Told{{1, frame("0001")}}), told);
}

TEST_F(JobTest, PrintsTheSameWhereNobodyWantsToBeTold) {
  writeStream({8, 8});
  EXPECT_EQ(0, print());
  // The page counter of a queue without a name lies with the frames.
  EXPECT_EQ((Names{".pgc", "page_0001_jobid_000007_0000.dat", "page_0002_jobid_000007_0000.dat"}),
            namesIn(kData));
}

}  // namespace
}  // namespace kestra
