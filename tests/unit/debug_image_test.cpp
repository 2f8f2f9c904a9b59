// Tests the debug image files: names that never repeat, and pixels in the order that each depth
// writes them.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "printer/debug_bitmap.h"
#include "tests/unit/bare_printer.h"
#include "tests/unit/capture.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

class DebugImage : public SpoolTest {
 protected:
  void SetUp() override {
    SpoolTest::SetUp();
    setTemplate("page_%d-%d-%d_%d_%d_%d_%ld.bmp");
  }

  void setTemplate(const char* text) {
    std::snprintf(printer.imagePathTemplate_, sizeof printer.imagePathTemplate_, "%s", text);
  }

  std::vector<std::string> images() const {
    std::vector<std::string> names;
    for (const std::string& name : namesIn(".")) {
      if (name.compare(0, 5, "page_") == 0) names.push_back(name);
    }
    return names;
  }

  /// Saves one image and gives its bytes.
  Bytes saved(const Bytes& page, unsigned long bytesPerLine, unsigned long height,
              unsigned long width, unsigned short depth) {
    printer.saveImage(page.data(), bytesPerLine, height, width, depth);
    const std::vector<std::string> names = images();
    EXPECT_EQ(1U, names.size());
    const Bytes bytes = readBytes(names.at(0));
    std::filesystem::remove(names[0]);
    return bytes;
  }

  BarePrinter printer;
};

/// Header of the same size and depth, then the pixels.
Bytes file(std::uint32_t width, std::uint32_t height, unsigned depth, const Bytes& pixels) {
  Bytes bytes = debugBitmapHeader(width, height, depth);
  bytes.insert(bytes.end(), pixels.begin(), pixels.end());
  return bytes;
}

TEST_F(DebugImage, Of8BitsHoldsUnpaddedRowsTopFirst) {
  Bytes page;
  for (std::uint8_t i = 0; i < 30; ++i) page.push_back(i);
  // The header announces 12 bytes a row; 10 a row follow.
  EXPECT_EQ(file(10, 3, 8, page), saved(page, 10, 3, 10, 8));
}

TEST_F(DebugImage, Of8BitsTakesItsBytesInOnePieceWhateverTheRowLength) {
  // 3 x 2 pixels in rows of 4 bytes: the first 6 bytes.
  EXPECT_EQ(file(3, 2, 8, {1, 2, 3, 4, 5, 6}), saved({1, 2, 3, 4, 5, 6, 7, 8}, 4, 2, 3, 8));
}

TEST_F(DebugImage, Of1BitHoldsItsRowsBottomUp) {
  // Row 0: first pixel printed; row 1: last pixel printed; row 2: none.
  const Bytes page = {9, 0, 0, 0, 0, 0, 0, 0, 0, 0,  //
                      0, 0, 0, 0, 0, 0, 0, 0, 0, 9,  //
                      0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(file(10, 3, 1,
                 {0xFF, 0xFF, 0, 0,  //
                  0xFF, 0xBF, 0, 0,  //
                  0x7F, 0xFF, 0, 0}),
            saved(page, 10, 3, 10, 1));
}

TEST_F(DebugImage, Of1BitPacksWholeInputLines) {
  // Rows of 12 bytes, 10 pixels wide: all 12 bytes are packed, into rows of 4 bytes.
  const Bytes page = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1,  //
                      1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0};
  EXPECT_EQ(file(10, 2, 1, {0x00, 0x3F, 0, 0, 0xFF, 0xCF, 0, 0}), saved(page, 12, 2, 10, 1));
}

TEST_F(DebugImage, Of1BitStaysInsideItsRowsForVeryLongLines) {
  // 1 pixel wide, lines of 100 bytes: 4 bytes a row are announced and written.
  EXPECT_EQ(file(1, 2, 1, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}),
            saved(Bytes(200, 0), 100, 2, 1, 1));
}

TEST_F(DebugImage, OfNoColumnsIsItsHeader) {
  for (const std::uint16_t depth : {std::uint16_t{8}, std::uint16_t{1}, std::uint16_t{4}}) {
    EXPECT_EQ(file(0, 3, depth, {}), saved({7, 7, 7}, 1, 3, 0, depth)) << depth;
  }
}

TEST_F(DebugImage, OfOtherDepthsHasTheRowsOf1BitWithoutAPalette) {
  const Bytes page = {9, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(file(10, 1, 4, {0x7F, 0xFF, 0, 0}), saved(page, 10, 1, 10, 4));
  EXPECT_EQ(file(10, 1, 24, {0x7F, 0xFF, 0, 0}), saved(page, 10, 1, 10, 24));
}

/// The seven numbers of a debug image's name, as they are when no zero leads.
struct Numbers {
  std::tm time{};
  long counter = -1;
};

Numbers numbersOf(const std::string& name) {
  Numbers n;
  std::tm& t = n.time;
  EXPECT_EQ(7, std::sscanf(name.c_str(), "page_%d-%d-%d_%d_%d_%d_%ld.bmp", &t.tm_year, &t.tm_mon,
                           &t.tm_mday, &t.tm_hour, &t.tm_min, &t.tm_sec, &n.counter));
  char again[100];
  std::snprintf(again, sizeof again, "page_%d-%d-%d_%d_%d_%d_%ld.bmp", t.tm_year, t.tm_mon,
                t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, n.counter);
  EXPECT_EQ(again, name);  // no leading zeros, nothing behind
  t.tm_year -= 1900;
  t.tm_mon -= 1;
  t.tm_isdst = -1;
  return n;
}

TEST_F(DebugImage, IsNamedAfterTheLocalTime) {
  const std::time_t before = std::time(nullptr);
  printer.saveImage(Bytes{1}.data(), 1, 1, 1, 8);
  const std::time_t after = std::time(nullptr);
  std::tm time = numbersOf(images().at(0)).time;
  const std::time_t named = std::mktime(&time);
  EXPECT_LE(before, named);
  EXPECT_GE(after, named);
}

TEST_F(DebugImage, CountsEveryImageOfTheProcess) {
  printer.saveImage(Bytes{1}.data(), 1, 1, 1, 8);
  const std::string first = images().at(0);
  BarePrinter other;  // the counter is not the printer's own
  std::memcpy(other.imagePathTemplate_, printer.imagePathTemplate_,
              sizeof other.imagePathTemplate_);
  other.saveImage(Bytes{1}.data(), 1, 1, 1, 8);
  ASSERT_EQ(2U, images().size());
  long sum = 0;
  for (const std::string& name : images()) sum += numbersOf(name).counter;
  EXPECT_EQ(2 * numbersOf(first).counter + 1, sum);  // n and n + 1
}

TEST_F(DebugImage, CountsImagesThatCannotBeOpenedToo) {
  printer.saveImage(Bytes{1}.data(), 1, 1, 1, 8);
  const std::string first = images().at(0);
  std::filesystem::remove(first);
  setTemplate("missing/page_%d-%d-%d_%d_%d_%d_%ld.bmp");
  {
    const Capture quiet;
    printer.saveImage(Bytes{1}.data(), 1, 1, 1, 8);
  }
  setTemplate("page_%d-%d-%d_%d_%d_%d_%ld.bmp");
  printer.saveImage(Bytes{1}.data(), 1, 1, 1, 8);
  EXPECT_EQ(numbersOf(first).counter + 2, numbersOf(images().at(0)).counter);
}

TEST_F(DebugImage, TellsTheNameThatCannotBeOpened) {
  setTemplate("missing/page.bmp");
  Capture capture;
  printer.saveImage(Bytes{1}.data(), 1, 1, 1, 8);
  EXPECT_EQ("WrenPrinter::saveImage: unable to open the file missing/page.bmp\n", capture.stop());
}

TEST_F(DebugImage, IsReadableByItsOwnerAlone) {
  printer.saveImage(Bytes{1}.data(), 1, 1, 1, 8);
  EXPECT_EQ(std::filesystem::perms(0600), std::filesystem::status(images().at(0)).permissions());
}

}  // namespace
}  // namespace kestra
