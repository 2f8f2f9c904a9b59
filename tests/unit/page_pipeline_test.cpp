// Tests the way of a whole page: its log, its two debug images, and what reaches the model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/bare_printer.h"
#include "tests/unit/capture.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

class PagePipeline : public SpoolTest {
 protected:
  void print(const Bytes& page, unsigned long bytesPerLine, unsigned long height,
             unsigned long width) {
    Capture capture;
    printer.printImage(page.data(), bytesPerLine, height, width);
    log = maskAddresses(capture.stopLines());
  }

  void printBegun(PageRows rows) {
    const Capture quiet;
    printer.printPage(std::move(rows));
  }

  /// Names of debug images that start so.
  Names images(const std::string& start) const {
    Names found;
    for (const std::string& name : namesIn(kTmp)) {
      if (name.rfind(start, 0) == 0) found.push_back(name);
    }
    return found;
  }

  /// The pixels of the only debug image that starts so, which lie behind header and palette.
  Bytes pixelsOf(const std::string& start) const {
    const Names found = images(start);
    EXPECT_EQ(1U, found.size());
    const Bytes bytes = readBytes(kTmp + "/" + found.at(0));
    EXPECT_LE(1078U, bytes.size());
    return {bytes.begin() + 1078, bytes.end()};
  }

  BarePrinter printer;
  Lines log;
};

const Bytes kPage = {0, 255, 0, 255, 255, 0, 255, 0, 0, 0, 255, 255};  // 4 x 3
const Bytes kPrinted = {0, 1, 0, 1, 1, 0, 1, 0, 0, 0, 1, 1};
const Bytes kInkInTheMiddle = {0, 0, 0, 0, 255, 0, 0, 255, 0, 0};  // 2 x 5: rows 2 and 3

TEST_F(PagePipeline, HandsTheFinishedImageToTheModel) {
  print(kPage, 4, 3, 4);
  ASSERT_EQ(1U, printer.pages.size());
  EXPECT_EQ(4U, printer.pages[0].bytesPerLine);
  EXPECT_EQ(3U, printer.pages[0].height);
  EXPECT_EQ(4U, printer.pages[0].width);
  EXPECT_EQ(kPrinted, printer.pages[0].pixels);
}

TEST_F(PagePipeline, HandsOverTheImagesOwnRowLength) {
  // 5 pixels in rows of 6 bytes: the image's rows are 8 bytes apart.
  print(Bytes(12, 255), 6, 2, 5);
  ASSERT_EQ(1U, printer.pages.size());
  EXPECT_EQ(8U, printer.pages[0].bytesPerLine);
  EXPECT_EQ(5U, printer.pages[0].width);
  EXPECT_EQ((Bytes{1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 1, 1, 1, 0, 0, 0}), printer.pages[0].pixels);
}

TEST_F(PagePipeline, ProcessesAPageWhereItWasRead) {
  PageRows rows = printer.beginPage(4, 3, 4);
  const unsigned char* pixels = rows.pixels;
  ASSERT_NE(nullptr, pixels);
  std::copy(kPage.begin(), kPage.end(), rows.pixels);
  printBegun(std::move(rows));
  EXPECT_EQ(kPrinted, printer.pages.at(0).pixels);
  EXPECT_EQ(pixels, printer.workingImage_.GetBits(0));
}

TEST_F(PagePipeline, TakesRowsThatNoImageHas) {
  // Images have rows of whole 4 bytes, and no more of them than the pixels need: 5 pixels take 8.
  for (const std::uint32_t bytesPerLine : {5U, 6U, 12U}) {
    PageRows rows = printer.beginPage(bytesPerLine, 2, 5);
    ASSERT_NE(nullptr, rows.pixels);
    std::fill_n(rows.pixels, 5, 255);                     // the first row
    std::fill_n(rows.pixels + bytesPerLine + 4, 1, 255);  // the last pixel of the second
    printBegun(std::move(rows));
    EXPECT_EQ((Bytes{1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}), printer.pages.back().pixels)
        << bytesPerLine;
  }
}

TEST_F(PagePipeline, LendsBlankMemoryToEveryPage) {
  // Rows of 5 pixels: as an image has them, longer, and as short as they are.
  for (const std::uint32_t bytesPerLine : {8U, 12U, 5U, 12U, 8U, 8U}) {
    PageRows rows = printer.beginPage(bytesPerLine, 2, 5);
    ASSERT_NE(nullptr, rows.pixels);
    ASSERT_EQ(2U * bytesPerLine, rows.size());
    EXPECT_EQ(Bytes(rows.size(), 0), Bytes(rows.pixels, rows.pixels + rows.size()));
    std::fill_n(rows.pixels, rows.size(), 255);
    printBegun(std::move(rows));
  }
  EXPECT_EQ(6U, printer.pages.size());
}

TEST_F(PagePipeline, PrintsNothingWithoutRows) {
  printBegun({});
  EXPECT_TRUE(printer.pages.empty());
}

TEST_F(PagePipeline, AStencilOfRowsThatAreNoMultipleOfFourIsInMemoryOnce) {
  printer.setHalftoneType(DitherType::Tattoo);
  for (const std::uint32_t bytesPerLine : {5U, 8U}) {
    printBegun(printer.beginPage(bytesPerLine, 2, 5));
    EXPECT_FALSE(printer.workingImage_.IsValid()) << bytesPerLine;
  }
  EXPECT_EQ(2U, printer.pages.size());
}

TEST_F(PagePipeline, LendsMemoryForAPageOfNoPixels) {
  EXPECT_NE(nullptr, printer.beginPage(4, 2, 0).pixels);
  EXPECT_NE(nullptr, printer.beginPage(0, 2, 0).pixels);
  EXPECT_NE(nullptr, printer.beginPage(0, 0, 0).pixels);
}

TEST_F(PagePipeline, LeavesRowsOfTheCallersOwnAsTheyAre) {
  // Rows as long as an image's, so that only their owner tells them from rows that were lent.
  const Bytes page = kPage;
  print(page, 4, 3, 4);
  EXPECT_EQ(kPage, page);
  ASSERT_NE(nullptr, printer.workingImage_.GetBits(0));
  EXPECT_NE(page.data(), printer.workingImage_.GetBits(0));
}

TEST_F(PagePipeline, UsesTheHalftoneOfItsProperties) {
  // Level 16 prints in the ordered matrix's first cell only, which is what type 1 runs.
  printer.setHalftoneType(DitherType::FloydSteinberg);
  print(Bytes(8, 16), 4, 2, 4);
  EXPECT_EQ((Bytes{1, 0, 0, 0, 0, 0, 0, 0}), printer.pages.at(0).pixels);
}

TEST_F(PagePipeline, LogsItsSteps) {
  print(kPage, 4, 3, 4);
  const Lines wanted = {
      "DEBUG:printImage: Start processing image, input width: 4, height: 3, bytes per line: 4",
      "DEBUG:printImage: Memory allocated successfully, size: 12 bytes",
      "DEBUG:printImage: Saving original image, file path will be generated based on time",
      "DEBUG:printImage: Memory for processing result allocated successfully, size: 12 bytes",
      "DEBUG:PageProcess: QM dithering is disabled",
      "DEBUG:PageProcess: Successfully created PaletteImage from array with stride 4",
      "DEBUG:PageProcess: Applied default dithering and increased bit depth",
      "DEBUG:PageProcess: negativePrint_ 0",
      "DEBUG:PageProcess: Filled the output buffer with processed pixels, length: 12",
      "DEBUG:printImage: Processed image information - pointer address: ADDRESS, width: 4, "
      "height: 3, bytes per line: 4, number of top blank lines: 0, number of bottom blank lines: "
      "0, adjusted height: 3",
      "DEBUG:printImage: Saving processed image, file path will be generated based on time",
      "DEBUG:printImage: Starting to print the processed image",
      "DEBUG:printImage: Freed the allocated memory, address: ADDRESS",
      "DEBUG:printImage: Freed the memory for processing result, address: ADDRESS",
      "DEBUG:printImage: Image processing completed"};
  EXPECT_EQ(wanted, log);
}

/// The lines about blank edges, the adjusted one and the summary among them.
Lines edgeLines(const Lines& log) {
  Lines lines;
  for (const std::string& line : log) {
    if (line.find("lank") != std::string::npos || line.find("djusted") != std::string::npos) {
      lines.push_back(line);
    }
  }
  return lines;
}

const std::string kTop =
    "DEBUG:printImage: Removal of top blank edges detected, number of top blank lines: ";
const std::string kBottom =
    "DEBUG:printImage: Removal of bottom blank edges detected, number of bottom blank lines: ";
const std::string kAdjusted = "DEBUG:printImage: Adjusted image height to ";
const std::string kSummary =
    "DEBUG:printImage: Processed image information - pointer address: ADDRESS, ";

TEST_F(PagePipeline, MeasuresBothBlankEdgesBottomFirst) {
  // Lines of 2: blank, blank, ink, ink, blank. Front: line 1 blank, line 2 printed: 1. Back: 4.
  printer.setRemoveBlankEdges(2 | 8);
  print(kInkInTheMiddle, 2, 5, 2);
  EXPECT_EQ((Lines{kBottom + "4", kTop + "1", kAdjusted + "3, pointer offset by 2 bytes",
                   kSummary + "width: 2, height: 5, bytes per line: 2, number of top blank lines: "
                              "1, number of bottom blank lines: 4, adjusted height: 3"}),
            edgeLines(log));
  // The page is printed whole all the same.
  ASSERT_EQ(1U, printer.pages.size());
  EXPECT_EQ(5U, printer.pages[0].height);
}

TEST_F(PagePipeline, MeasuresOnlyTheEdgesAskedFor) {
  printer.setRemoveBlankEdges(2);
  print(kInkInTheMiddle, 2, 5, 2);
  EXPECT_EQ((Lines{kTop + "1",
                   kSummary + "width: 2, height: 5, bytes per line: 2, number of top blank lines: "
                              "1, number of bottom blank lines: 0, adjusted height: 5"}),
            edgeLines(log));
  printer.setRemoveBlankEdges(8);
  print(kInkInTheMiddle, 2, 5, 2);
  EXPECT_EQ((Lines{kBottom + "4", kAdjusted + "4, pointer offset by 0 bytes",
                   kSummary + "width: 2, height: 5, bytes per line: 2, number of top blank lines: "
                              "0, number of bottom blank lines: 4, adjusted height: 4"}),
            edgeLines(log));
}

TEST_F(PagePipeline, MeasuresNothingWithoutTheTwoBits) {
  printer.setRemoveBlankEdges(static_cast<unsigned char>(255 & ~(2 | 8)));
  print(kInkInTheMiddle, 2, 5, 2);
  EXPECT_EQ(1U, edgeLines(log).size());  // the summary alone
}

TEST_F(PagePipeline, AdjustsNothingOnABlankPageAndPrintsItWhole) {
  printer.setRemoveBlankEdges(2 | 8);
  print(Bytes(12, 0), 4, 3, 4);
  EXPECT_EQ((Lines{kBottom + "0", kTop + "3",
                   kSummary + "width: 4, height: 3, bytes per line: 4, number of top blank lines: "
                              "3, number of bottom blank lines: 0, adjusted height: 3"}),
            edgeLines(log));
  ASSERT_EQ(1U, printer.pages.size());
  EXPECT_EQ(Bytes(12, 0), printer.pages[0].pixels);
}

TEST_F(PagePipeline, LooksOneLinePastThePageWithoutReadingThere) {
  printer.setRemoveBlankEdges(2);
  print({255, 255, 255, 255}, 4, 1, 4);  // the only line is never examined
  EXPECT_TRUE(contains(log, kTop + "1"));
}

TEST_F(PagePipeline, LeavesOutThePixelsToSkipWhenItMeasures) {
  printer.setRemoveBlankEdges(8);
  printer.setSkipRightPixels(1);
  print({255, 0, 0, 0, 0, 255}, 2, 3, 2);
  EXPECT_TRUE(contains(log, kBottom + "1"));
}

TEST_F(PagePipeline, SavesThePageBeforeAndAfter) {
  print(kPage, 4, 3, 4);
  EXPECT_EQ(kPage, pixelsOf("origin_"));
  EXPECT_EQ(kPrinted, pixelsOf("dithered_"));
}

TEST_F(PagePipeline, SavesWidthTimesHeightBytesOfThePaddedImage) {
  // 5 x 2: the first 10 bytes of rows that are 8 apart.
  print(Bytes(10, 255), 5, 2, 5);
  EXPECT_EQ((Bytes{1, 1, 1, 1, 1, 0, 0, 0, 1, 1}), pixelsOf("dithered_"));
}

TEST_F(PagePipeline, KeepsTheTemplateOfTheProcessedImage) {
  print(kPage, 4, 3, 4);
  EXPECT_STREQ("var/spool/cups/tmp/dithered_%d-%d-%d_%d_%d_%d_%ld.bmp", printer.imagePathTemplate_);
}

TEST_F(PagePipeline, PrintsNothingWithoutAUsableImage) {
  print(Bytes(4, 255), 4, 1, 0);  // no width, no image
  EXPECT_TRUE(printer.pages.empty());
  EXPECT_TRUE(contains(log, "CRIT:paletteimage.CreateFromArray with grey failed!"));
  EXPECT_TRUE(contains(log, "ERROR:printImage: pimage is NULL, unable to print the image"));
  EXPECT_EQ(1U, images("origin_").size());
  EXPECT_TRUE(images("dithered_").empty());
  EXPECT_EQ("DEBUG:printImage: Image processing completed", log.back());
}

TEST_F(PagePipeline, PrintsNothingOfAnImageThatFailedAfterAGoodPage) {
  print(kPage, 4, 3, 4);
  print(Bytes(4, 255), 4, 1, 0);
  EXPECT_EQ(1U, printer.pages.size());
  EXPECT_TRUE(contains(log, "ERROR:printImage: pimage is NULL, unable to print the image"));
  EXPECT_EQ(1U, images("dithered_").size());
  print(kPage, 4, 3, 4);  // and the next page is fine again
  EXPECT_EQ(2U, printer.pages.size());
}

TEST_F(PagePipeline, GoesOnWithoutAFolderForDebugImages) {
  std::filesystem::remove_all("var");
  print(kPage, 4, 3, 4);
  EXPECT_EQ(1U, printer.pages.size());
  const std::string unable = "WrenPrinter::saveImage: unable to open the file " + kTmp;
  EXPECT_TRUE(containsPrefix(log, unable + "/origin_"));
  EXPECT_TRUE(containsPrefix(log, unable + "/dithered_"));
}

}  // namespace
}  // namespace kestra
