// Tests the way from a grey page to the finished image: tone, rotation, mirror, halftone, negative,
// and the copy of the result.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/plain/halftone.h"
#include "tests/support/grey_pages.h"
#include "tests/unit/bare_printer.h"
#include "tests/unit/capture.h"
#include "tests/unit/test_images.h"

namespace kestra {
namespace {

using testing_support::PageKind;

/// A printer, its result buffer (just as large as promised) and its log of one page.
class PageProcessing : public testing::Test {
 protected:
  int process(const Bytes& page, int bytesPerLine, int width, int height,
              DitherType type = DitherType::None) {
    out.assign(std::size_t{2} * static_cast<std::size_t>(bytesPerLine * height), 0);
    const Bytes before = page;
    Capture capture;
    const int result =
        printer.PageProcess(type, page.data(), bytesPerLine, width, height, out.data());
    log = capture.stopLines();
    EXPECT_EQ(before, page);  // the page itself is not changed
    return result;
  }

  Bytes finished() { return rowBytesOf(*printer.pimage_); }

  BarePrinter printer;
  Bytes out;
  Lines log;
};

TEST_F(PageProcessing, MakesTwoLevelsInTheImageAndBlackAndWhiteInTheBuffer) {
  // Threshold: 128 is 0, 129 is 1.
  EXPECT_EQ(8, process({0, 128, 129, 255, 255, 0, 200, 100}, 4, 4, 2));
  EXPECT_EQ((Bytes{0, 0, 1, 1, 1, 0, 1, 0}), finished());
  EXPECT_EQ((Bytes{0, 0, 255, 255, 255, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0}), out);
  EXPECT_EQ(8, printer.pimage_->GetBitsPerPixel());
  EXPECT_EQ(&printer.workingImage_, printer.pimage_);
  EXPECT_TRUE(sameColor(printer.pimage_->GetPaletteColor(1), 255, 255, 255, 0));
}

TEST_F(PageProcessing, LogsEveryOptionalStepInItsPlace) {
  printer.setBrightness(-3);
  printer.setContrast(7);
  printer.setRotate180Print(true);
  printer.setMirrorPrint(true);
  printer.setNegativePrint(true);
  process({0, 128, 129, 255, 9}, 5, 5, 1);
  EXPECT_EQ((Lines{"DEBUG:PageProcess: QM dithering is disabled",
                   "DEBUG:PageProcess: Successfully created PaletteImage from array with stride 5",
                   "DEBUG:PageProcess: Adjusted brightness to -15 and contrast to 14",
                   "DEBUG:PageProcess: Rotated the image 180 degrees",
                   "DEBUG:PageProcess: Mirrored the image",
                   "DEBUG:PageProcess: Applied default dithering and increased bit depth",
                   "DEBUG:PageProcess: negativePrint_ 1",
                   "DEBUG:PageProcess: Inverting the image for negative print",
                   "DEBUG:PageProcess: Filled the output buffer with processed pixels, length: 8"}),
            log);
}

TEST_F(PageProcessing, AdjustsNothingAtZeroBrightnessAndContrast) {
  process({0, 128, 129, 255}, 4, 4, 1);
  EXPECT_FALSE(containsPrefix(log, "DEBUG:PageProcess: Adjusted"));
  printer.setContrast(1);
  process({0, 128, 129, 255}, 4, 4, 1);
  EXPECT_TRUE(contains(log, "DEBUG:PageProcess: Adjusted brightness to 0 and contrast to 2"));
}

TEST_F(PageProcessing, ScalesBrightnessByFiveAndContrastByTwo) {
  printer.setBrightness(100);  // 500: every level 255
  process({0, 1, 128, 255}, 4, 4, 1);
  EXPECT_EQ((Bytes{1, 1, 1, 1}), finished());
  printer.setBrightness(-1);  // -5: 133 becomes 128
  process({133, 134, 129, 255}, 4, 4, 1);
  EXPECT_EQ((Bytes{0, 1, 0, 1}), finished());
  printer.setBrightness(0);
  printer.setContrast(-100);  // factor -1: 256 - i, so 127 becomes 129 and 128 stays
  process({127, 128, 129, 255}, 4, 4, 1);
  EXPECT_EQ((Bytes{1, 0, 0, 0}), finished());
}

TEST_F(PageProcessing, PassesItsArgumentAsTheMethodNumber) {
  // The argument counts, not the property, and the names are not the numbers' own names.
  const Bytes page = makeLevels(PageKind::kRandom, 33, 9);
  for (int method = 0; method <= 7; ++method) {
    process(page, 33, 33, 9, static_cast<DitherType>(method));
    EXPECT_EQ(plain::halftone(page, 33, 9, method), indicesOf(*printer.pimage_)) << method;
  }
}

TEST_F(PageProcessing, DecidesByThePropertyWhichMethodsRun) {
  printer.setUseQMDithering(true);
  for (int type = 0; type <= 7; ++type) {
    printer.setHalftoneType(static_cast<DitherType>(type));
    process({0, 128, 129, 255}, 4, 4, 1, static_cast<DitherType>(type));
    EXPECT_FALSE(printer.getUseQMDithering()) << type;
    EXPECT_EQ("DEBUG:PageProcess: QM dithering is disabled", log.at(0)) << type;
    printer.setUseQMDithering(true);
  }
}

TEST_F(PageProcessing, RotatesAndMirrors) {
  //  # . .      row order of ink:
  //  . . #
  const Bytes page = {255, 0, 0, 0, 0, 255};
  printer.setRotate180Print(true);
  process(page, 3, 3, 2);
  EXPECT_EQ((Bytes{1, 0, 0, 0, 0, 0, 1, 0}), finished());  // turned onto itself

  printer.setRotate180Print(false);
  printer.setMirrorPrint(true);
  process(page, 3, 3, 2);
  EXPECT_EQ((Bytes{0, 0, 1, 0, 1, 0, 0, 0}), finished());

  const Bytes corner = {255, 0, 0, 0, 0, 0};
  printer.setMirrorPrint(false);
  printer.setRotate180Print(true);
  process(corner, 3, 3, 2);
  EXPECT_EQ((Bytes{0, 0, 0, 0, 0, 0, 1, 0}), finished());

  printer.setMirrorPrint(true);  // both: upside down only
  process(corner, 3, 3, 2);
  EXPECT_EQ((Bytes{0, 0, 0, 0, 1, 0, 0, 0}), finished());
}

TEST_F(PageProcessing, HalftonesAfterToneRotationAndMirror) {
  const Bytes page = makeLevels(PageKind::kRandom, 9, 5);
  printer.setBrightness(4);
  printer.setRotate180Print(true);
  printer.setMirrorPrint(true);
  process(page, 9, 9, 5, DitherType::Ordered);
  // Rotation and mirror together turn the rows upside down; brightness 4 adds 20 levels.
  Bytes wanted;
  for (std::size_t y = 5; y-- > 0;) {
    for (std::size_t x = 0; x < 9; ++x) {
      const int level = page[y * 9 + x] + 20;
      wanted.push_back(static_cast<std::uint8_t>(level > 255 ? 255 : level));
    }
  }
  EXPECT_EQ(plain::halftone(wanted, 9, 5, 2), indicesOf(*printer.pimage_));
}

TEST_F(PageProcessing, InvertsTheImageAndTheBufferOnceMore) {
  // Indices 0 1 become 255 254; the buffer complements them again: 0 and 1.
  printer.setNegativePrint(true);
  EXPECT_EQ(4, process({0, 255, 0, 255}, 4, 4, 1));
  EXPECT_EQ((Bytes{255, 254, 255, 254}), finished());
  EXPECT_EQ((Bytes{0, 1, 0, 1, 0, 0, 0, 0}), out);
}

TEST_F(PageProcessing, InvertsThePaddingTooButCopiesNone) {
  printer.setNegativePrint(true);
  EXPECT_EQ(8, process({0, 255, 0, 255, 0}, 5, 5, 1));
  EXPECT_EQ((Bytes{255, 254, 255, 254, 255, 255, 255, 255}), finished());
  EXPECT_EQ((Bytes{0, 1, 0, 1, 0, 0, 0, 0, 0, 0}), out);
}

TEST_F(PageProcessing, LeavesTheGapsBetweenRowsOfTheBuffer) {
  // 5 pixels a row, rows of the result 8 apart: the 3 bytes between stay as they were, 0.
  EXPECT_EQ(16, process(Bytes(10, 255), 5, 5, 2));
  EXPECT_EQ((Bytes{255, 255, 255, 255, 255, 0, 0, 0, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0}),
            out);
  EXPECT_EQ((Bytes{1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 1, 1, 1, 0, 0, 0}), finished());
}

TEST_F(PageProcessing, KeepsPaddingZeroOnASecondPage) {
  process(Bytes(12, 255), 4, 4, 3);
  process({255, 255, 255}, 1, 1, 3);
  EXPECT_EQ((Bytes{1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}), finished());
}

TEST_F(PageProcessing, TakesRowsLongerThanThePageIsWide) {
  EXPECT_EQ(8, process({255, 0, 255, 9, 9, 9, 0, 255, 0, 9, 9, 9}, 6, 3, 2));
  EXPECT_EQ((Bytes{1, 0, 1, 0, 0, 1, 0, 0}), finished());
}

TEST_F(PageProcessing, MakesTheSameImageWithoutABuffer) {
  const Bytes page = makeLevels(PageKind::kRandom, 20, 9);
  for (int type = 0; type <= 9; ++type) {
    for (const int width : {20, 17, 3}) {  // lines may be longer than the page is wide
      printer.setHalftoneType(static_cast<DitherType>(type));
      const int length = process(page, 20, width, 9, static_cast<DitherType>(type));
      const Bytes wanted = finished();
      const Lines wantedLog = log;

      Capture capture;
      EXPECT_EQ(length, printer.PageProcess(static_cast<DitherType>(type), page.data(), 20, width,
                                            9, nullptr));
      EXPECT_EQ(wantedLog, capture.stopLines());
      EXPECT_EQ(wanted, finished()) << "type " << type << " width " << width;
    }
  }
}

TEST_F(PageProcessing, NeverWritesPastTheBufferOfANarrowPage) {
  // 1 pixel wide, 10 rows: 20 bytes of room, but the result's rows are 4 apart. Rows 0 to 4 fit.
  EXPECT_EQ(40, process(Bytes(10, 255), 1, 1, 10));
  Bytes wanted(20, 0);
  wanted[0] = wanted[4] = wanted[8] = wanted[12] = wanted[16] = 255;
  EXPECT_EQ(wanted, out);
  for (const int width : {1, 2, 3, 5}) {
    for (const int height : {1, 2, 3, 50}) {
      const Bytes page(static_cast<std::size_t>(width * height), 255);
      EXPECT_EQ((width + 3) / 4 * 4 * height, process(page, width, width, height));
    }
  }
}

TEST_F(PageProcessing, FailsWhereNoImageCanBeMadeAndKeepsTheFormerOne) {
  EXPECT_EQ(0, process({1, 2, 3, 4}, 4, 0, 1));
  EXPECT_EQ(nullptr, printer.pimage_);
  EXPECT_EQ((Lines{"DEBUG:PageProcess: QM dithering is disabled",
                   "CRIT:paletteimage.CreateFromArray with grey failed!"}),
            log);
  process({0, 128, 129, 255}, 4, 4, 1);
  EXPECT_EQ(0, process({1, 2, 3, 4}, 4, 0, 1));
  EXPECT_EQ(&printer.workingImage_, printer.pimage_);
}

}  // namespace
}  // namespace kestra
