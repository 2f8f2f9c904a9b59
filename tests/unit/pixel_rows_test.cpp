// Tests how pixels leave an image, and their packing into dots: any byte but 0 is a dot, the
// leftmost pixel the highest bit. Printer properties reach these functions through the members
// tried here.
#include "printer/pixel_rows.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/plain/frame.h"
#include "tests/support/grey_pages.h"
#include "tests/unit/bare_printer.h"
#include "tests/unit/capture.h"
#include "tests/unit/test_images.h"

namespace kestra {
namespace {

using testing_support::PageKind;

/// Packs and gives back just the bytes that count.
Bytes packed(BarePrinter& printer, int bytesPerLine, int height, Bytes page) {
  const Capture quiet;
  const unsigned size = printer.GrayToMono(bytesPerLine, height, page.data());
  EXPECT_LE(size, page.size());
  page.resize(size);
  return page;
}

TEST(GrayToMono, PacksTwelvePixelsIntoTwoBytes) {
  // 1010 1100 | 0111 -> AC 70, and the other way round 5 3 | 8 -> 53 80
  BarePrinter printer;
  EXPECT_EQ((Bytes{0xAC, 0x70, 0x53, 0x80}),
            packed(printer, 12, 2, {1, 0, 1, 0, 1, 1, 0, 0, 0, 1, 1, 1,  //
                                    0, 1, 0, 1, 0, 0, 1, 1, 1, 0, 0, 0}));
}

TEST(GrayToMono, MakesADotOfEveryByteButZero) {
  BarePrinter printer;
  EXPECT_EQ((Bytes{0x7F}), packed(printer, 8, 1, {0, 1, 2, 127, 128, 129, 254, 255}));
}

TEST(GrayToMono, PutsRowsDirectlyBehindEachOther) {
  BarePrinter printer;
  EXPECT_EQ((Bytes{0x80, 0x00, 0x80}), packed(printer, 1, 3, {9, 0, 9}));
  EXPECT_EQ((Bytes{0xFF, 0x80, 0x00, 0x00, 0xFF, 0x80}),
            packed(printer, 9, 3, {1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0,
                                   0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1}));
}

TEST(GrayToMono, LeavesOutThePixelsToSkipAtTheRight) {
  BarePrinter printer;
  printer.setSkipRightPixels(4);
  // 12 - 4 = 8 pixels a row, but rows stay 12 bytes apart.
  EXPECT_EQ((Bytes{0xAC, 0x53}), packed(printer, 12, 2, {1, 0, 1, 0, 1, 1, 0, 0, 0, 1, 1, 1,  //
                                                         0, 1, 0, 1, 0, 0, 1, 1, 1, 0, 0, 0}));
  printer.setSkipRightPixels(11);
  EXPECT_EQ((Bytes{0x80, 0x00}), packed(printer, 12, 2, {1, 0, 1, 0, 1, 1, 0, 0, 0, 1, 1, 1,  //
                                                         0, 1, 0, 1, 0, 0, 1, 1, 1, 0, 0, 0}));
}

TEST(GrayToMono, SkipsNothingWhereARowIsNoLongerThanTheSkip) {
  BarePrinter printer;
  for (const unsigned long skip : {8UL, 9UL, 0xFFFFFFFFUL, 0x100000001UL, ~0UL}) {
    printer.setSkipRightPixels(skip);
    EXPECT_EQ((Bytes{0xFF}), packed(printer, 8, 1, {1, 1, 1, 1, 1, 1, 1, 1})) << skip;
  }
}

TEST(GrayToMono, MakesNothingOfNoRowsOrNoPixels) {
  BarePrinter printer;
  const Capture quiet;
  std::uint8_t byte = 7;
  EXPECT_EQ(0U, printer.GrayToMono(8, 0, &byte));
  EXPECT_EQ(0U, printer.GrayToMono(0, 5, &byte));
  EXPECT_EQ(7, byte);
}

TEST(GrayToMono, GivesRowsOfNegativeLengthTheByteThatIsNotFull) {
  // No pixel is read; -12, -1 and -7 are no multiples of 8, so that each of 3 rows stores its byte.
  BarePrinter printer;
  const Capture quiet;
  constexpr int kSmallest = std::numeric_limits<int>::min();
  for (const int length : {-12, -1, -7, -2147483647}) {
    Bytes page(5, 9);
    EXPECT_EQ(3U, printer.GrayToMono(length, 3, page.data())) << length;
    EXPECT_EQ((Bytes{0, 0, 0, 9, 9}), page) << length;
    EXPECT_EQ(0U, printer.GrayToMono(length, -3, page.data()));
  }
  for (const int length : {-8, -16, kSmallest}) {
    Bytes page(5, 9);
    EXPECT_EQ(0U, printer.GrayToMono(length, 3, page.data())) << length;
    EXPECT_EQ(Bytes(5, 9), page) << length;
  }
}

TEST(GrayToMono, LogsWhatItPacks) {
  BarePrinter printer;
  printer.setSkipRightPixels(3);
  Bytes page(24, 0);
  Capture capture;
  printer.GrayToMono(12, 2, page.data());
  EXPECT_EQ("DEBUG:GrayToMono, bpl(12), h(2), skipPixels(3), wb(9)\n", capture.stop());
}

TEST(GrayToMono, TakesEveryWidth) {
  BarePrinter printer;
  for (const int width : {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33, 101, 836}) {
    const Bytes page = makeLevels(PageKind::kExtremes, static_cast<std::size_t>(width), 5);
    EXPECT_EQ(plain::packSkewed(plain::rowsFromBytes(page, width, 5, width), width),
              packed(printer, width, 5, page))
        << width;
  }
}

TEST(CopyPixels, CopiesIndicesIntoLongerRows) {
  BarePrinter printer;
  GreyImage image({1, 2, 3, 4, 5, 6}, 3, 2);
  Bytes out(10, 99);
  printer.copyPixels(image, out.data(), 3, 2, 5);
  EXPECT_EQ((Bytes{1, 2, 3, 99, 99, 4, 5, 6, 99, 99}), out);
}

TEST(CopyPixels, ReadsOutsideTheImageAsItsFirstByte) {
  BarePrinter printer;
  GreyImage image({7, 2}, 2, 1);
  Bytes out(6, 99);
  printer.copyPixels(image, out.data(), 3, 2, 3);
  EXPECT_EQ((Bytes{7, 2, 7, 7, 7, 7}), out);
}

TEST(CopyProcessedPixels, WritesOneAs255) {
  BarePrinter printer;
  GreyImage image({0, 1, 2, 254, 255, 128}, 3, 2);
  Bytes out(8, 99);
  printer.copyProcessedPixels(&image, out.data(), 3, 2, 4);
  EXPECT_EQ((Bytes{0, 255, 2, 99, 254, 255, 128, 99}), out);
}

TEST(CopyProcessedPixels, ComplementsAfterwardsForNegativePrint) {
  BarePrinter printer;
  printer.setNegativePrint(true);
  GreyImage image({0, 1, 2, 254, 255, 128}, 3, 2);
  Bytes out(6, 99);
  printer.copyProcessedPixels(&image, out.data(), 3, 2, 3);
  EXPECT_EQ((Bytes{255, 0, 253, 1, 0, 127}), out);
}

TEST(CopyProcessedPixels, StopsAtTheEndOfTheBuffer) {
  GreyImage image({1, 1, 1, 1, 1, 1}, 3, 2);
  for (std::size_t size = 0; size <= 7; ++size) {
    Bytes out(size, 99);
    copyFinishedPixels(image, false, out.data(), 3, 2, 4, size);
    Bytes wanted = {255, 255, 255, 99, 255, 255, 255};
    wanted.resize(size);
    EXPECT_EQ(wanted, out) << size;
  }
}

}  // namespace
}  // namespace kestra
