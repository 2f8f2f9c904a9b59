// Tests the reading of raster streams: pages in their order, and every kind of garbage as the end
// of the stream.
#include "filter/raster_input.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/support/raster_stream.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

class RasterInputTest : public SpoolTest {
 protected:
  /// Writes a stream of pages of `width` x 2, the first pixel of each being its number.
  static void writeStream(const std::vector<unsigned>& widths) {
    std::vector<testing_support::StreamPage> pages;
    for (const unsigned width : widths) {
      pages.push_back({testing_support::makeHeader(width, 2, width), Bytes(width * 2, 9)});
      pages.back().pixels[0] = static_cast<std::uint8_t>(pages.size());
    }
    std::ofstream("pages.ras") << testing_support::writeStream(pages);
  }

  static void expectTwoPages(RasterInput& input) {
    cups_page_header2_t header{};
    ASSERT_TRUE(input.readHeader(&header));
    EXPECT_EQ(4U, header.cupsWidth);
    EXPECT_EQ(2U, header.cupsHeight);
    EXPECT_EQ(8U, header.cupsBitsPerPixel);
    Bytes pixels(8, 0);
    ASSERT_TRUE(input.readPixels({pixels.data(), 4, 2, 4, nullptr}));
    EXPECT_EQ((Bytes{1, 9, 9, 9, 9, 9, 9, 9}), pixels);
    ASSERT_TRUE(input.readHeader(&header));
    EXPECT_EQ(3U, header.cupsWidth);
    ASSERT_TRUE(input.readPixels({pixels.data(), 3, 2, 3, nullptr}));
    EXPECT_EQ((Bytes{2, 9, 9, 9, 9, 9, 9, 9}), pixels);
    EXPECT_FALSE(input.readHeader(&header));
  }

  /// Whether the file at "pages.ras" gives no page at all.
  static bool isWithoutPages() {
    RasterInput input;
    EXPECT_TRUE(input.openFile("pages.ras"));
    input.startStream();
    cups_page_header2_t header{};
    return !input.readHeader(&header);
  }
};

TEST_F(RasterInputTest, ReadsTheNamedFile) {
  writeStream({4, 3});
  RasterInput input;
  ASSERT_TRUE(input.openFile("pages.ras"));
  input.startStream();
  expectTwoPages(input);
}

TEST_F(RasterInputTest, ReadsStandardInputWithoutAName) {
  writeStream({4, 3});
  const int before = dup(0);
  const int file = open("pages.ras", O_RDONLY);
  ASSERT_LE(0, file);
  dup2(file, 0);
  close(file);
  {
    RasterInput input;
    input.startStream();
    expectTwoPages(input);
  }
  EXPECT_NE(-1, fcntl(0, F_GETFD));  // standard input is not its own to close
  if (before >= 0) {
    dup2(before, 0);
    close(before);
  }
}

TEST_F(RasterInputTest, TellsThatAFileCannotBeOpened) {
  RasterInput input;
  EXPECT_FALSE(input.openFile("missing.ras"));
}

TEST_F(RasterInputTest, TakesAnEmptyOrForeignFileForAStreamWithoutPages) {
  writeBytes("pages.ras", {});
  EXPECT_TRUE(isWithoutPages());
  writeBytes("pages.ras", Bytes(10000, 'x'));
  EXPECT_TRUE(isWithoutPages());
  writeBytes("pages.ras", {'R', 'a'});
  EXPECT_TRUE(isWithoutPages());
}

TEST_F(RasterInputTest, TakesAHeaderThatIsCutForTheEnd) {
  writeStream({4});
  std::filesystem::resize_file("pages.ras", 1000);
  EXPECT_TRUE(isWithoutPages());
}

TEST_F(RasterInputTest, TellsThatAPageHasNoPixels) {
  writeStream({4});
  std::filesystem::resize_file("pages.ras", std::filesystem::file_size("pages.ras") - 8);
  RasterInput input;
  ASSERT_TRUE(input.openFile("pages.ras"));
  input.startStream();
  cups_page_header2_t header{};
  ASSERT_TRUE(input.readHeader(&header));
  Bytes pixels(8, 0);
  EXPECT_FALSE(input.readPixels({pixels.data(), 4, 2, 4, nullptr}));
  EXPECT_FALSE(input.readHeader(&header));
}

TEST_F(RasterInputTest, ClosesItsFile) {
  writeStream({4});
  const int lowest = open("/dev/null", O_RDONLY);
  close(lowest);
  for (int round = 0; round < 3; ++round) {
    RasterInput opened;
    ASSERT_TRUE(opened.openFile("pages.ras"));
    RasterInput started;
    ASSERT_TRUE(started.openFile("pages.ras"));
    started.startStream();
  }
  const int again = open("/dev/null", O_RDONLY);
  close(again);
  EXPECT_EQ(lowest, again);
}

}  // namespace
}  // namespace kestra
