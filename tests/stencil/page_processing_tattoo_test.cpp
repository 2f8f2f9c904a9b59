// Tests of a page's processing with the stencil halftones and the frame: which way a page takes, in
// what order its steps act, what is left in image and result buffer.
// Why: both halftones share the result buffer with their input, and negative print acts twice.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/plain_stencil/chain.h"
#include "tests/plain_stencil/processing.h"
#include "tests/stencil/framed_printer.h"
#include "tests/stencil/pictures.h"
#include "tests/unit/capture.h"

namespace kestra {
namespace {

using plain_stencil::Choices;
using plain_stencil::Processed;

// Lines of `bytesPerLine` bytes that hold the page's rows and, behind them, bytes 170.
std::vector<std::uint8_t> linesOf(const plain::Rows& rows, int bytesPerLine) {
  plain::Rows lines = rows;
  for (auto& line : lines) line.resize(static_cast<std::size_t>(bytesPerLine), 170);
  return plain::flatten(lines);
}

void setUp(FramedPrinter& printer, const Choices& choices) {
  if (choices.hasHeader) {
    printer.setPageName(choices.pageName);
  } else {
    printer.setPageHeader(nullptr);
  }
  printer.setDotsPerInch(choices.dpi);
  printer.setHalftoneType(static_cast<DitherType>(choices.halftone));
  printer.setBrightness(choices.brightness);
  printer.setContrast(choices.contrast);
  printer.setRotate180Print(choices.rotate);
  printer.setMirrorPrint(choices.mirror);
  printer.setNegativePrint(choices.negative);
  printer.setAntiWrinkle(choices.antiWrinkle);
}

Processed processOn(FramedPrinter& printer, const Choices& choices, const plain::Rows& rows,
                    int bytesPerLine) {
  setUp(printer, choices);
  const std::vector<std::uint8_t> data = linesOf(rows, bytesPerLine);
  Processed result;
  result.buffer.assign(2 * data.size(), 0);
  Capture capture;
  result.length = printer.PageProcess(static_cast<DitherType>(choices.halftone), data.data(),
                                      bytesPerLine, static_cast<int>(rows[0].size()),
                                      static_cast<int>(rows.size()), result.buffer.data());
  result.log = capture.stop();
  EXPECT_EQ(data, linesOf(rows, bytesPerLine)) << "the page itself was changed";
  if (printer.pimage_ != nullptr && printer.pimage_->IsValid()) {
    result.image = pictureOf(*printer.pimage_);
  }
  return result;
}

Processed process(const Choices& choices, const plain::Rows& rows, int bytesPerLine) {
  FramedPrinter printer;
  return processOn(printer, choices, rows, bytesPerLine);
}

Processed process(const Choices& choices, const plain::Rows& rows) {
  return process(choices, rows, static_cast<int>(rows[0].size()));
}

std::string describe(const Choices& c) {
  return "halftone " + std::to_string(c.halftone) + ", brightness " + std::to_string(c.brightness) +
         ", contrast " + std::to_string(c.contrast) + (c.rotate ? ", turned" : "") +
         (c.mirror ? ", mirrored" : "") + (c.negative ? ", negative" : "") + ", frame " +
         std::to_string(c.antiWrinkle) + " on " + c.pageName;
}

void expectAsPlainOn(FramedPrinter& printer, const Choices& choices, const plain::Rows& rows,
                     int bytesPerLine) {
  const int width = static_cast<int>(rows[0].size());
  const int height = static_cast<int>(rows.size());
  const Processed actual = processOn(printer, choices, rows, bytesPerLine);
  const Processed expected =
      plain_stencil::process(choices, linesOf(rows, bytesPerLine), bytesPerLine, width, height);
  const std::string what = describe(choices) + ", " + std::to_string(width) + " x " +
                           std::to_string(height) + ", lines of " + std::to_string(bytesPerLine);
  ASSERT_EQ(actual.log, expected.log) << what;
  ASSERT_EQ(actual.length, expected.length) << what;
  ASSERT_EQ(actual.image.width, expected.image.width) << what;
  ASSERT_TRUE(actual.image.rows == expected.image.rows) << what;
  ASSERT_TRUE(actual.buffer == expected.buffer) << what;
}

void expectAsPlain(const Choices& choices, const plain::Rows& rows, int bytesPerLine) {
  FramedPrinter printer;
  expectAsPlainOn(printer, choices, rows, bytesPerLine);
}

Choices halftone(int number) {
  Choices choices;
  choices.halftone = number;
  return choices;
}

// With a frame whose canvas is 24 x 23 dots, bars of 2 dots at the sides and none above and below:
// 100 mm are 5 * 100 * 100 / 254 = 196, 20 dots; 10 mm 19, 2 dots; 1 mm 1, 0 dots; 118 mm 232, 23.
Choices framed(int number) {
  Choices choices = halftone(number);
  choices.antiWrinkle = 10;
  choices.pageName = "Tattoo_A6";
  choices.dpi = 5;
  return choices;
}

// Every combination of the choices that change a page's pixels, for one halftone.
std::vector<Choices> allCombinations(int halftoneNumber) {
  std::vector<Choices> all;
  for (const int brightness : {0, -7, 12}) {
    for (const int contrast : {0, 20, -60}) {
      for (int bits = 0; bits < 8; ++bits) {
        for (const char* frame : {"", "None", "Tattoo_A6"}) {
          Choices choices = framed(halftoneNumber);
          choices.brightness = brightness;
          choices.contrast = contrast;
          choices.rotate = (bits & 1) != 0;
          choices.mirror = (bits & 2) != 0;
          choices.negative = (bits & 4) != 0;
          if (frame[0] == '\0') choices.antiWrinkle = 0;
          choices.pageName = frame;
          all.push_back(choices);
        }
      }
    }
  }
  return all;
}

}  // namespace

TEST(PageProcessingTattoo, HalftoneTypes8And9TakeTheStencilWayWhateverWasStored) {
  for (const bool stored : {false, true}) {
    for (int number = 0; number <= 9; ++number) {
      FramedPrinter printer;
      printer.setUseQMDithering(stored);
      const Processed result = processOn(printer, halftone(number), photoPage(12, 9), 12);
      const bool stencil = number >= 8;
      EXPECT_EQ(printer.getUseQMDithering(), stencil) << number;
      EXPECT_EQ(printer.pimage_, stencil ? &printer.secondImage_ : &printer.workingImage_);
      EXPECT_EQ(result.log.find("QM dithering is enabled") != std::string::npos, stencil);
      EXPECT_EQ(result.length, 12 * 9);
    }
  }
}

TEST(PageProcessingTattoo, TheMemberDecidesTheWayAndTheArgumentOnlyTheClassicMethod) {
  const plain::Rows page = photoPage(16, 9);
  const std::vector<std::uint8_t> data = plain::flatten(page);
  std::vector<std::uint8_t> buffer(2 * data.size(), 0);
  const Capture capture;
  FramedPrinter stencil;
  setUp(stencil, halftone(8));
  stencil.PageProcess(DitherType::Ordered, data.data(), 16, 16, 9, buffer.data());
  ASSERT_NE(stencil.pimage_, nullptr);
  EXPECT_TRUE(pictureOf(*stencil.pimage_).rows == plain_stencil::tattoo(page));
  FramedPrinter classic;
  setUp(classic, halftone(3));
  classic.PageProcess(DitherType::Tattoo, data.data(), 16, 16, 9, buffer.data());
  EXPECT_EQ(classic.pimage_, &classic.workingImage_);
  EXPECT_TRUE(pictureOf(*classic.pimage_).rows ==
              plain_stencil::process(halftone(99), data, 16, 16, 9).image.rows);
}

TEST(PageProcessingTattoo, LogTellsTheStepsInTheirOrder) {
  Choices choices = halftone(9);
  choices.brightness = 3;
  choices.contrast = -4;
  choices.rotate = choices.mirror = choices.negative = true;
  EXPECT_EQ(process(choices, photoPage(10, 6), 11).log,
            "DEBUG:PageProcess: QM dithering is enabled\n"
            "DEBUG:PageProcess: Successfully created PaletteImage from array with stride 11\n"
            "DEBUG:PageProcess: Adjusted brightness to 15 and contrast to -8\n"
            "DEBUG:PageProcess: Rotated the image 180 degrees\n"
            "DEBUG:PageProcess: Mirrored the image\n"
            "DEBUG:PageProcess: Copied pixels to the output buffer for QM dithering, with stride "
            "11, EffWidth 12\n"
            "DEBUG:PageProcess: Applied QM dithering with stride 12, width 10\n"
            "DEBUG:PageProcess: Successfully created a new PaletteImage from QM dithered data\n"
            "DEBUG:PageProcess: negativePrint_ 1\n"
            "DEBUG:PageProcess: Inverting the image for negative print\n"
            "DEBUG:PageProcess: Filled the output buffer with processed pixels, length: 72\n");
}

TEST(PageProcessingTattoo, ToneIsLeftAloneWhereBrightnessAndContrastAre0) {
  EXPECT_EQ(process(halftone(8), photoPage(8, 8)).log.find("Adjusted"), std::string::npos);
  Choices choices = halftone(8);
  choices.brightness = 100;
  // 500 sends every level to 255, and a page of 255 stays.
  const Processed result = process(choices, photoPage(8, 8));
  EXPECT_NE(result.log.find("Adjusted brightness to 500 and contrast to 0"), std::string::npos);
  EXPECT_TRUE(result.image.rows == uniformPage(8, 8, 255));
}

TEST(PageProcessingTattoo, LinesLongerThanThePageComeOutSkewed) {
  // Two rows of 255 in lines of 5 bytes for 4 pixels: the chain reads 255 255 255 255, 0 255 255
  // 255.
  const Processed result = process(halftone(8), uniformPage(4, 2, 255), 5);
  const plain::Rows skewed = {{255, 255, 255, 255}, {0, 255, 255, 255}};
  EXPECT_TRUE(result.image.rows == plain_stencil::tattoo(skewed));
  EXPECT_TRUE(result.image.rows != plain_stencil::tattoo(uniformPage(4, 2, 255)));
}

TEST(PageProcessingTattoo, RowPaddingIs0AndNegativePrintMakesItInk) {
  // A page of 255 stays 255; 5 pixels lie in rows of 8 bytes.
  Choices choices = halftone(8);
  EXPECT_TRUE(process(choices, uniformPage(5, 2, 255)).image.rows ==
              plain::Rows(2, {255, 255, 255, 255, 255, 0, 0, 0}));
  choices.negative = true;
  EXPECT_TRUE(process(choices, uniformPage(5, 2, 255)).image.rows ==
              plain::Rows(2, {0, 0, 0, 0, 0, 255, 255, 255}));
}

TEST(PageProcessingTattoo, NegativePrintActsASecondTimeInTheBuffer) {
  // 255 -> 0 in the image, 0 -> 255 in the buffer.
  Choices choices = halftone(9);
  choices.negative = true;
  const Processed result = process(choices, uniformPage(8, 4, 255));
  EXPECT_TRUE(result.image.rows == uniformPage(8, 4, 0));
  EXPECT_EQ(std::vector<std::uint8_t>(result.buffer.begin(), result.buffer.begin() + 32),
            std::vector<std::uint8_t>(32, 255));
}

TEST(PageProcessingTattoo, FrameBarsStayFullInkInNegativePrint) {
  // The page is complemented before the frame is drawn; in the buffer the bars are complemented
  // too.
  Choices choices = framed(8);
  choices.negative = true;
  const Processed result = process(choices, uniformPage(24, 23, 255));
  ASSERT_EQ(result.image.width, 24);
  std::vector<int> wanted(24, 0);
  wanted[0] = wanted[1] = wanted[22] = wanted[23] = 255;
  for (const auto& row : result.image.rows) EXPECT_EQ(row, wanted);
  EXPECT_EQ(result.buffer[0], 0);
  EXPECT_EQ(result.buffer[2], 255);
}

TEST(PageProcessingTattoo, AFrameLargerThanTheBufferIsCutThere) {
  // 4 x 3 pixels on a canvas of 24 x 23: 552 bytes, of which the buffer holds 24.
  const Processed result = process(framed(8), photoPage(4, 3));
  EXPECT_EQ(result.image.width, 24);
  EXPECT_EQ(result.image.rows.size(), 23U);
  // The announced length counts the page's own rows, in the canvas's row length.
  EXPECT_EQ(result.length, 3 * 24);
  EXPECT_EQ(result.buffer, std::vector<std::uint8_t>(24, 255));
}

TEST(PageProcessingTattoo, VeryNarrowPagesNeverLeaveTheBuffer) {
  // 1 x 9 pixels: rows 4 apart need 36 bytes, the buffer has 18.
  for (const int number : {8, 9}) expectAsPlain(halftone(number), photoPage(1, 9), 1);
}

TEST(PageProcessingTattoo, AFailedPageLeavesTheFormerImageInPlace) {
  FramedPrinter printer;
  const plain::Rows page = photoPage(12, 9);
  const Processed good = processOn(printer, halftone(8), page, 12);
  std::vector<std::uint8_t> buffer(64, 0);
  Capture capture;
  const int length = printer.PageProcess(DitherType::Tattoo, buffer.data(), 4, 0, 4, buffer.data());
  EXPECT_EQ(capture.stop(),
            "DEBUG:PageProcess: QM dithering is enabled\n"
            "CRIT:paletteimage.CreateFromArray with grey failed!\n");
  EXPECT_EQ(length, 0);
  ASSERT_EQ(printer.pimage_, &printer.secondImage_);
  EXPECT_TRUE(pictureOf(*printer.pimage_).rows == good.image.rows);
}

TEST(PageProcessingTattoo, PagesOfDifferentKindsFollowEachOtherWithoutTraces) {
  // One printer object for all pages: sizes and ways change, images are used again.
  FramedPrinter printer;
  for (int round = 0; round < 3; ++round) {
    for (const auto& [width, height] : {std::pair{17, 9}, std::pair{5, 20}, std::pair{24, 23}}) {
      for (int number = 9; number >= 0; --number) {
        Choices choices = framed(number);
        choices.negative = number % 3 == 0;
        if (number % 2 != 0) choices.antiWrinkle = 0;
        const plain::Rows page = noisePage(width, height, static_cast<unsigned>(round));
        expectAsPlainOn(printer, choices, page, width + 1);
      }
    }
  }
}

TEST(PageProcessingTattoo, EveryCombinationOfChoicesEqualsThePlainVersion) {
  for (const int number : {8, 9}) {
    for (const Choices& choices : allCombinations(number)) {
      expectAsPlain(choices, photoPage(17, 15), 17);
      expectAsPlain(choices, textPage(24, 31), 24);
    }
  }
}

TEST(PageProcessingTattoo, ClassicHalftonesWithEveryCombinationEqualThePlainVersion) {
  for (int number = 0; number <= 7; ++number) {
    for (const Choices& choices : allCombinations(number)) {
      expectAsPlain(choices, photoPage(17, 15), 18);
    }
  }
}

TEST(PageProcessingTattoo, EverySizeAndLineLengthEqualsThePlainVersion) {
  for (const auto& [width, height] : allSizes()) {
    for (const int more : {0, 1, 2, 3, 7, 100}) {
      for (const int number : {8, 9}) {
        Choices choices = halftone(number);
        choices.negative = more % 2 != 0;
        expectAsPlain(choices, noisePage(width, height, 5), width + more);
        if (more < 3) expectAsPlain(choices, lineArtPage(width, height), width + more);
      }
    }
  }
}

TEST(PageProcessingTattoo, UniformPagesWithPaddingEqualThePlainVersion) {
  for (int level = 0; level < 256; level += 5) {
    for (const int number : {8, 9}) {
      expectAsPlain(halftone(number), uniformPage(13, 7, level), 13);
      expectAsPlain(halftone(number), uniformPage(13, 7, level), 14);
    }
  }
}

}  // namespace kestra
