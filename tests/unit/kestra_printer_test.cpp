// Tests the printer model: the command before each page, the frame of each page, and the counter
// that numbers the frames.
#include "printer/kestra_printer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/unit/capture.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

class KestraPrinterTest : public SpoolTest {
 protected:
  void SetUp() override {
    SpoolTest::SetUp();
    PageNum = 1;
    bLabelInfo = {};
    *printer.getOutputStreams() = {out};
    printer.setSettings(&settings);
    header.HWResolution[0] = 203;
    header.HWResolution[1] = 300;
    printer.setPageHeader(&header);
    text(settings.PrintSpeed, "4");
    text(settings.PaperType, "LabelGaps");
    text(settings.printerName, "labels");
    text(settings.jobId, "42");
    settings.Darkness = 2;
    settings.pageWidth = 101.6F;
    settings.pageHeight = 50.8F;
    settings.GapsHeight = 3;
    settings.MaxMediaWidth = 12;  // dots by now
  }
  void TearDown() override {
    std::fclose(out);
    SpoolTest::TearDown();
  }

  template <std::size_t size>
  static void text(char (&field)[size], const char* value) {
    std::snprintf(field, size, "%s", value);
  }

  std::string marker() const { return kData + "/labels.pgc"; }
  Bytes frame(const std::string& name) const { return readBytes(kData + "/" + name); }
  /// What lies behind the 22 bytes of header of the first page's frame.
  Bytes records() const {
    const Bytes bytes = frame("page_0001_jobid_000042_0000.dat");
    EXPECT_LT(22U, bytes.size());
    return bytes.size() < 22 ? Bytes() : Bytes(bytes.begin() + 22, bytes.end());
  }

  /// Prints a page of 8-bit pixels and gives the log.
  Lines print(const Bytes& pixels, unsigned long height, unsigned long width) {
    Capture capture;
    printer.doPrintImage(pixels.data(), pixels.size() / height, height, width);
    return capture.stopLines();
  }

  /// The same through the whole pipeline: 12 pixels a row, and no log.
  void printImage(const Bytes& pixels) {
    const Capture quiet;
    printer.printImage(pixels.data(), 12, pixels.size() / 12, 12);
  }

  KestraPrinter printer;
  Settings settings;
  cups_page_header2_s header{};
  std::FILE* out = std::tmpfile();
};

TEST_F(KestraPrinterTest, SendsTheSettingOncePerPageAndNothingElse) {
  jobSetup(&printer, &settings);
  EXPECT_EQ(std::string("\x1B\x73\x01\x00\x00\x02\x02", 7), contentsOf(out));
  EXPECT_EQ((PrintSetting{0x1B, 0x73, 1, 0, 0, 2, 2}), bPrnSet);
  print(Bytes(24, 1), 2, 12);
  std::fseek(out, 0, SEEK_END);
  text(settings.PrintSpeed, "1");
  settings.Darkness = 0;
  jobSetup(&printer, &settings);
  jobEnd(&printer, &settings);
  EXPECT_EQ(std::string("\x1B\x73\x01\x00\x00\x02\x02\x1B\x73\x01\x00\x00\x01\x00", 14),
            contentsOf(out));
}

TEST_F(KestraPrinterTest, UsesUpThePageImageButNotACallersPixels) {
  Bytes pixels(24, 0);
  pixels[0] = pixels[13] = 255;  // row 0: 80 00, row 1: 40 00
  const Bytes before = pixels;
  print(pixels, 2, 12);
  EXPECT_EQ(before, pixels);
  const Capture quiet;
  printer.printFinished(pixels.data(), 12, 2, 12);
  EXPECT_EQ((Bytes{0x80, 0x00, 0x40, 0x00}), Bytes(pixels.begin(), pixels.begin() + 4));
  // The frames differ in their page numbers alone.
  Bytes first = frame("page_0001_jobid_000042_0000.dat");
  Bytes second = frame("page_0002_jobid_000042_0000.dat");
  ASSERT_EQ(first.size(), second.size());
  ASSERT_GT(first.size(), 12U);
  EXPECT_EQ(1U, first[12]);
  EXPECT_EQ(2U, second[12]);
  second[12] = first[12];
  EXPECT_EQ(first, second);
}

TEST_F(KestraPrinterTest, IsAlwaysContent) {
  EXPECT_TRUE(printer.SendPrintSetting());
  const Capture quiet;
  EXPECT_TRUE(printer.KCLSendPaperInfo());
}

TEST_F(KestraPrinterTest, NumbersPagesFromOneWithoutAMarker) {
  for (int page = 0; page < 3; ++page) {
    jobSetup(&printer, &settings);
    print(Bytes(24, 1), 2, 12);
  }
  EXPECT_EQ((Names{"page_0001_jobid_000042_0000.dat", "page_0002_jobid_000042_0000.dat",
                   "page_0003_jobid_000042_0000.dat"}),
            namesIn(kData));
  jobEnd(&printer, &settings);
  EXPECT_EQ((Bytes{4, 0}), readBytes(marker()));
}

TEST_F(KestraPrinterTest, GivesAllPagesOneNumberWithAMarker) {
  makeDataFolder();
  writeBytes(marker(), {7, 0});
  for (int page = 0; page < 3; ++page) {
    jobSetup(&printer, &settings);
    print(Bytes(24, 1), 2, 12);
  }
  EXPECT_EQ((Names{"labels.pgc", "page_0007_jobid_000042_0000.dat",
                   "page_0007_jobid_000042_0001.dat", "page_0007_jobid_000042_0002.dat"}),
            namesIn(kData));
  EXPECT_EQ(7, frame("page_0007_jobid_000042_0002.dat").at(12));
  jobEnd(&printer, &settings);
  EXPECT_EQ((Bytes{8, 0}), readBytes(marker()));
}

TEST_F(KestraPrinterTest, StartsAgainAtOneFrom9000AtJobEnd) {
  makeDataFolder();
  const struct {
    std::uint16_t counter;
    Bytes stored;
  } table[] = {{8999, {0x27, 0x23}}, {9000, {1, 0}}, {9001, {1, 0}},
               {65535, {1, 0}},      {0, {0, 0}},    {1, {1, 0}}};
  for (const auto& row : table) {
    PageNum = row.counter;
    jobEnd(&printer, &settings);
    EXPECT_EQ(row.stored, readBytes(marker())) << row.counter;
  }
}

TEST_F(KestraPrinterTest, EndsAJobWithoutAFolderSilently) {
  Capture capture;
  jobEnd(&printer, &settings);
  EXPECT_EQ("", capture.stop());
  EXPECT_FALSE(std::filesystem::exists(kData));
}

TEST_F(KestraPrinterTest, WrapsTheCounterInsideAJob) {
  PageNum = 65535;
  print(Bytes(24, 1), 2, 12);
  EXPECT_EQ(0, PageNum);
  EXPECT_EQ(Names{"page_65535_jobid_000042_0000.dat"}, namesIn(kData));
}

TEST_F(KestraPrinterTest, FillsTheLabelBlock) {
  // 4 inches as a float are 101.5999985 mm, at 203 dpi 811.99999 dots: 811 = 0x32B. 2 inches: 405 =
  // 0x195. The gap: 3 / 25.4 * 203 = 23.98. The vertical 300 dpi do not count.
  PageNum = 0x1234;
  Capture capture;
  printer.KCLSendPaperInfo();
  EXPECT_EQ(
      "DEBUG:KCLSendPaperInfo: settings->pageWidth:0.000000\n"
      "DEBUG:KCLSendPaperInfo: settings->pageHeight:0.000000\n",
      capture.stop());
  EXPECT_EQ((LabelInfo{'S', 'I', 'Z', 1, 0x2B, 3, 0x95, 1, 23, 0, 0, 0, 0x34, 0x12}), bLabelInfo);
}

TEST_F(KestraPrinterTest, PutsMediaAndNegativeGapsIntoTheLabelBlock) {
  const Capture quiet;
  text(settings.PaperType, "Continue");
  settings.GapsHeight = -3;
  printer.KCLSendPaperInfo();
  EXPECT_EQ(0, bLabelInfo[3]);
  EXPECT_EQ(0xE9, bLabelInfo[8]);
  EXPECT_EQ(0xFF, bLabelInfo[9]);
  text(settings.PaperType, "LabelMark");
  printer.KCLSendPaperInfo();
  EXPECT_EQ(2, bLabelInfo[3]);
  text(settings.PaperType, "continue");
  printer.KCLSendPaperInfo();
  EXPECT_EQ(1, bLabelInfo[3]);
}

TEST_F(KestraPrinterTest, CountsTheDotsOfEachRow) {
  // AC 70 has 4 + 3 dots, 53 80 has 4 + 1. Head 40, row 12: margin (14 + 7) / 8 = 2.
  settings.MaxMediaWidth = 40;
  const Bytes dots = {0xAC, 0x70, 0x53, 0x80};
  const _SIZEL size = {12, 2};
  EXPECT_EQ(12, printer.CalcBlackPoints(dots.data(), 4, size, nullptr, 0));
  Bytes records(12, 0);
  EXPECT_EQ(12, printer.CalcBlackPoints(dots.data(), 4, size, records.data(), 12));
  EXPECT_EQ((Bytes{7, 0, 0, 0, 0xAC, 0x70, 5, 0, 0, 0, 0x53, 0x80}), records);
}

TEST_F(KestraPrinterTest, WritesNoRecordsIntoABufferOfAnotherSize) {
  const Bytes dots = {0xAC, 0x70, 0x53, 0x80};
  Bytes records(20, 0xEE);
  EXPECT_EQ(8, printer.CalcBlackPoints(dots.data(), 4, {12, 2}, records.data(), 20));
  EXPECT_EQ(8, printer.CalcBlackPoints(dots.data(), 4, {12, 2}, records.data(), 7));
  EXPECT_EQ(8, printer.CalcBlackPoints(dots.data(), 4, {12, 2}, nullptr, 8));
  EXPECT_EQ(Bytes(20, 0xEE), records);
}

TEST_F(KestraPrinterTest, StoresAPageAsAFrame) {
  // The packed rows are AC 70 and 53 80; no margin on a head of 12.
  print({1, 0, 1, 0, 1, 1, 0, 0, 0, 1, 1, 1, 0, 1, 0, 1, 0, 0, 1, 1, 1, 0, 0, 0}, 2, 12);
  EXPECT_EQ((Bytes{'S',  'I',  'Z',  1,    0x2B, 3, 0x95, 1,   23, 0, 0, 0, 1, 0,  //
                   0x1D, 0x76, 0x30, 0,    4,    0, 2,    0,                       //
                   7,    0,    0xAC, 0x70, 5,    0, 0x53, 0x80}),
            frame("page_0001_jobid_000042_0000.dat"));
  EXPECT_EQ(2, PageNum);
}

TEST_F(KestraPrinterTest, PrintsAWidthThatIsNoMultipleOfFourSkewed) {
  // 5 pixels in rows of 8 bytes are read 5 bytes apart: row 1 starts inside the padding of row 0,
  // 0 0 0 1 1.
  settings.MaxMediaWidth = 5;
  print({1, 1, 1, 1, 1, 0, 0, 0, 1, 1, 1, 1, 1, 0, 0, 0}, 2, 5);
  EXPECT_EQ((Bytes{5, 0, 0xF8, 2, 0, 0x18}), records());
}

TEST_F(KestraPrinterTest, ShortensRecordsOfAPageThatIsTooWide) {
  // 48 dots on a head of 2: (-23 + 7) / 8 = -2, records of 6 bytes without a count.
  settings.MaxMediaWidth = 2;
  print(Bytes(96, 1), 2, 48);
  const Bytes bytes = frame("page_0001_jobid_000042_0000.dat");
  ASSERT_EQ(34U, bytes.size());
  EXPECT_EQ((Bytes{6, 0, 2, 0}), Bytes(bytes.begin() + 18, bytes.begin() + 22));
  EXPECT_EQ(Bytes(12, 0xFF), records());
}

TEST_F(KestraPrinterTest, StoresNoFrameWhereRecordsComeToNothing) {
  settings.MaxMediaWidth = 0;
  Bytes dots = {0xFF, 0xFF, 0xFF, 0xFF};
  Capture capture;
  printer.KCLSendImage(2, {1000, 2}, dots.data());  // 1 + 2 - 61 bytes a row
  printer.KCLSendImage(4, {80, 2}, dots.data());    // 2 + 2 - 4
  EXPECT_EQ("", capture.stop());
  EXPECT_FALSE(std::filesystem::exists(kData));
  EXPECT_EQ(1, PageNum);
}

TEST_F(KestraPrinterTest, StoresNoFrameWhoseMarginsWouldTakeHalfAGigabyte) {
  // 2^31 dots of head for a page of 8: (2^30 - 4 + 7) / 8 = 2^27 bytes of margin in single
  // precision; 4 rows of 2^27 + 3 bytes are 12 more than 2^29.
  settings.MaxMediaWidth = 2147483648.0F;
  Bytes dots = {1, 2, 3, 4};
  Capture capture;
  printer.KCLSendImage(4, {8, 4}, dots.data());
  EXPECT_EQ("", capture.stop());
  EXPECT_FALSE(std::filesystem::exists(kData));
  EXPECT_EQ(1, PageNum);
}

TEST_F(KestraPrinterTest, CountsAPageWhoseFrameIsLost) {
  std::filesystem::remove_all("var");
  print(Bytes(24, 1), 2, 12);
  EXPECT_EQ(2, PageNum);
}

TEST_F(KestraPrinterTest, TakesTheJobNumberFromAtMostTwentyBytes) {
  const struct {
    const char* id;
    const char* name;
  } table[] = {{"99999999999999999999", "page_0001_jobid_-00001_0000.dat"},
               {"00000000000000000009", "page_0001_jobid_000009_0000.dat"},
               {"abc", "page_0001_jobid_000000_0000.dat"},
               {"2147483648", "page_0001_jobid_-2147483648_0000.dat"},
               {"-7", "page_0001_jobid_-00007_0000.dat"},
               {"1234567", "page_0001_jobid_1234567_0000.dat"}};
  for (const auto& row : table) {
    // No terminator where the id fills its field; digits of what lies behind must not count.
    std::memset(settings.jobId, 0, sizeof settings.jobId);
    std::memcpy(settings.jobId, row.id, std::min(std::strlen(row.id), sizeof settings.jobId));
    text(settings.printerName, "123");
    PageNum = 1;
    print(Bytes(24, 1), 2, 12);
    EXPECT_EQ(Names{row.name}, namesIn(kData)) << row.id;
    std::filesystem::remove_all(kData);
  }
}

/// A page of 336 x 9: row 2 is ink from 0 to 320, the rest paper.
Bytes barPage() {
  Bytes page(336 * 9, 0);
  std::fill(page.begin() + 2 * 336, page.begin() + 2 * 336 + 321, std::uint8_t{255});
  return page;
}

TEST_F(KestraPrinterTest, RunsTheBarcodeRulesOfItsOption) {
  const struct {
    int option;
    int dots;
    const char* applied;
  } table[] = {{0, 321, ""},
               {1, 160, "DEBUG:OptimazeBarcode1 is applied!"},
               {2, 160, "DEBUG:OptimazeBarcode2 is applied!"},
               {3, 321, ""},
               {-1, 321, ""}};
  settings.MaxMediaWidth = 336;
  for (const auto& row : table) {
    // 41 dashes of 4 pixels from 0 to 320; the last one covers pixel 320 and paper: 321 - 161.
    PageNum = 1;
    printer.setVBarcodeOpt(row.option);
    const Lines log = print(barPage(), 9, 336);
    EXPECT_EQ(row.applied[0] != '\0', contains(log, row.applied)) << row.option;
    EXPECT_EQ(row.applied[0] != '\0', containsPrefix(log, "DEBUG:Optimaze")) << row.option;
    const Bytes bytes = records();
    ASSERT_EQ(9U * 44, bytes.size());  // 42 bytes and the count
    EXPECT_EQ(row.dots, bytes[2 * 44] + 256 * bytes[2 * 44 + 1]) << row.option;
    std::filesystem::remove_all(kData);
  }
}

TEST_F(KestraPrinterTest, PrintsAWholePageThroughThePipeline) {
  // Threshold of a page of 12 x 2; 200 is ink, 100 paper.
  const Bytes page = {200, 100, 200, 100, 200, 200, 100, 100, 100, 200, 200, 200,  //
                      100, 200, 100, 200, 100, 100, 200, 200, 200, 100, 100, 100};
  jobSetup(&printer, &settings);
  printImage(page);
  jobEnd(&printer, &settings);
  EXPECT_EQ((Bytes{7, 0, 0xAC, 0x70, 5, 0, 0x53, 0x80}), records());
  EXPECT_EQ((Bytes{2, 0}), readBytes(marker()));
}

TEST_F(KestraPrinterTest, PrintsANegativePageSolid) {
  // Negative makes 255 and 254 of 0 and 1: every byte becomes a dot.
  printer.setNegativePrint(true);
  const Bytes page = {0, 255, 0, 255, 0, 255, 0, 255, 0, 255, 0, 255};
  printImage(page);
  EXPECT_EQ((Bytes{12, 0, 0xFF, 0xF0}), records());
}

}  // namespace
}  // namespace kestra
