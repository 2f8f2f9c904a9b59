// Tests how a job's settings come together: the description's defaults, the job's options over
// them, and the queue's name from the environment.
#include "filter/base/job_settings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "tests/support/ppd_text.h"
#include "tests/unit/capture.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

using testing_support::PpdText;

/// A description of a label of 144 x 72 points on a head of 288 points, with every option.
PpdText labelPrinter() {
  PpdText ppd;
  ppd.setSizes("label", {{"label", 144, 72}}).allowCustomSizes(10, 1000);
  ppd.setOption("MediaMethod", "Thermal", {"Thermal", "Transfer"});
  ppd.setOption("GapsHeight", "3", {"0", "2", "3"});
  ppd.setOption("PostAction", "Cut", {"Cut", "Tear"});
  ppd.setOption("Occurrence", "Page", {"Page", "Job"});
  ppd.setOption("Origin", "Left", {"Left", "Center"});
  ppd.setOption("MirrorImage", "False", {"False", "True", "yes", "2", "256"});
  ppd.setOption("HalftoneType", "None", {"None", "Burkes", "Tattoo", "Tattoo_V7", "tattooed"});
  ppd.setOption("Darkness", "Middle", {"Light", "Middle", "Dark", "dim"});
  return ppd;
}

void usePpd(const PpdText& ppd) {
  std::ofstream("used.ppd") << ppd.text();
  setenv("PPD", "used.ppd", 1);
}

class JobSettings : public SpoolTest {
 protected:
  void SetUp() override {
    SpoolTest::SetUp();
    usePpd(labelPrinter());
    setenv("PRINTER", "labels", 1);
  }
  void TearDown() override {
    unsetenv("PPD");
    unsetenv("PRINTER");
    SpoolTest::TearDown();
  }

  /// Settings of a job with these options; the log goes to `log`.
  Settings parse(const char* options) {
    Settings settings;
    std::memset(settings.outputFile, 'x', sizeof settings.outputFile);  // must not survive
    settings.Occurrence[0] = 'x';
    settings.jobId[0] = 'x';
    Capture capture;
    parseSettings(&settings, options);
    log = capture.stopLines();
    return settings;
  }

  Lines log;
};

TEST_F(JobSettings, TakeTheDescriptionsDefaults) {
  const Settings settings = parse("");
  EXPECT_STREQ("label", settings.PageSize);
  EXPECT_STREQ("203dpi", settings.Resolution);
  EXPECT_STREQ("Thermal", settings.MediaMethod);
  EXPECT_STREQ("LabelGaps", settings.PaperType);
  EXPECT_EQ(3, settings.GapsHeight);
  EXPECT_STREQ("Left", settings.Origin);
  EXPECT_EQ(0, settings.MirrorImage);
  EXPECT_EQ(0, settings.NegativeImage);
  EXPECT_EQ(DitherType::None, settings.halftoneType);
  EXPECT_STREQ("4", settings.PrintSpeed);
  EXPECT_EQ(1, settings.Darkness);
  EXPECT_EQ(0, settings.Brightness);
  EXPECT_EQ(0, settings.VBarcodeOpt);
  EXPECT_STREQ("labels", settings.printerName);
}

TEST_F(JobSettings, LetTheJobsOptionsOverrideTheDefaults) {
  const Settings settings = parse(
      "Resolution=300dpi MediaMethod=Transfer PaperType=Continue GapsHeight=2 Origin=Center "
      "MirrorImage=True NegativeImage HalftoneType=Tattoo_V7 PrintSpeed=3 Darkness=Dark "
      "Brightness=-20 VBarcodeDensity=2 job-uuid=urn:uuid:0 nocollate");
  EXPECT_STREQ("300dpi", settings.Resolution);
  EXPECT_STREQ("Transfer", settings.MediaMethod);
  EXPECT_STREQ("Continue", settings.PaperType);
  EXPECT_EQ(2, settings.GapsHeight);
  EXPECT_STREQ("Center", settings.Origin);
  EXPECT_EQ(1, settings.MirrorImage);
  EXPECT_EQ(1, settings.NegativeImage);
  EXPECT_EQ(DitherType::Tattoo_V7, settings.halftoneType);
  EXPECT_STREQ("3", settings.PrintSpeed);
  EXPECT_EQ(2, settings.Darkness);
  EXPECT_EQ(-20, settings.Brightness);
  EXPECT_EQ(2, settings.VBarcodeOpt);
}

TEST_F(JobSettings, NumberTheThreeDarknessNamesAndTakeZeroForOthers) {
  EXPECT_EQ(0, parse("Darkness=Light").Darkness);
  EXPECT_EQ(1, parse("Darkness=Middle").Darkness);
  EXPECT_EQ(2, parse("Darkness=Dark").Darkness);
  EXPECT_EQ(0, parse("Darkness=dim").Darkness);
}

TEST_F(JobSettings, CompareDarknessNamesWithTheirCase) {
  // The description itself spells its choice "DARK": a text that is none of the three names.
  usePpd(labelPrinter().setOption("Darkness", "DARK", {"DARK"}));
  EXPECT_EQ(0, parse("").Darkness);
  EXPECT_EQ(0, parse("Darkness=Dark").Darkness);
}

TEST_F(JobSettings, MakeBooleanChoicesZeroOrOne) {
  EXPECT_EQ(1, parse("MirrorImage=yes").MirrorImage);
  EXPECT_EQ(1, parse("MirrorImage=TRUE").MirrorImage);
  EXPECT_EQ(1, parse("MirrorImage=2").MirrorImage);
  EXPECT_EQ(0, parse("MirrorImage=256").MirrorImage);
  EXPECT_EQ(0, parse("noMirrorImage").MirrorImage);
}

TEST_F(JobSettings, UseTheDescriptionsSpellingOfAHalftoneName) {
  EXPECT_EQ(DitherType::Tattoo, parse("HalftoneType=tattoo").halftoneType);
  EXPECT_EQ(DitherType::Burkes, parse("halftonetype=BURKES").halftoneType);
  EXPECT_EQ(DitherType::None, parse("HalftoneType=tattooed").halftoneType);
}

TEST_F(JobSettings, ConvertPointsIntoMillimetres) {
  const Settings settings = parse("");
  EXPECT_EQ(101.6F, settings.MaxMediaWidth);       // 288 / 72 = 4 inches of 25.4 mm
  EXPECT_FLOAT_EQ(50.8032F, settings.pageWidth);   // 144 * 0.3528
  EXPECT_FLOAT_EQ(25.4016F, settings.pageHeight);  // 72 * 0.3528
}

TEST_F(JobSettings, TakeCustomPageSizes) {
  const Settings settings = parse("PageSize=Custom.200x100");
  EXPECT_FLOAT_EQ(70.56F, settings.pageWidth);   // 200 * 0.3528
  EXPECT_FLOAT_EQ(35.28F, settings.pageHeight);  // 100 * 0.3528
  EXPECT_STREQ("Custom", settings.PageSize);
}

TEST_F(JobSettings, ReplaceControlAndForeignBytesOfTheQueueName) {
  setenv("PRINTER",
         "a\tb\x01"
         "c\x7F"
         "d\xC3\xBC"
         "e-f.g",
         1);
  EXPECT_STREQ("a_b_c_d__e-f.g", parse("").printerName);
}

TEST_F(JobSettings, CutALongQueueName) {
  setenv("PRINTER", std::string(300, 'q').c_str(), 1);
  EXPECT_EQ(std::string(259, 'q'), parse("").printerName);
}

TEST_F(JobSettings, TakeAnEmptyQueueNameWhereNoneIsSet) {
  unsetenv("PRINTER");
  EXPECT_STREQ("", parse("").printerName);
}

TEST_F(JobSettings, CutChoiceTextsToTheirFields) {
  // 40 characters are what fits besides the end; libcups knows no longer choices.
  const std::string longest(40, 'p');
  usePpd(labelPrinter().setOption("PaperType", longest, {longest}));
  EXPECT_EQ(longest, parse("").PaperType);
}

TEST_F(JobSettings, LeaveTheRestOfTheRecordEmpty) {
  const Settings settings = parse("");
  EXPECT_STREQ("", settings.PostAction);  // the description has such a choice; it is not read
  EXPECT_STREQ("", settings.Occurrence);
  for (const char byte : settings.outputFile) EXPECT_EQ('\0', byte);
  for (const char byte : settings.jobId) EXPECT_EQ('\0', byte);
}

void expectEmpty(const Settings& settings) {
  EXPECT_STREQ("", settings.PageSize);
  EXPECT_STREQ("", settings.PaperType);
  EXPECT_STREQ("", settings.PrintSpeed);
  EXPECT_EQ(0, settings.GapsHeight);
  EXPECT_EQ(0, settings.Darkness);
  EXPECT_EQ(DitherType::None, settings.halftoneType);
  EXPECT_EQ(0.0F, settings.pageWidth);
  EXPECT_EQ(0.0F, settings.pageHeight);
  EXPECT_EQ(0.0F, settings.MaxMediaWidth);
}

TEST_F(JobSettings, AreEmptyWithoutADescription) {
  unsetenv("PPD");
  expectEmpty(parse("Darkness=Dark MirrorImage=True"));
  setenv("PPD", "missing.ppd", 1);
  expectEmpty(parse("Darkness=Dark MirrorImage=True"));
}

TEST_F(JobSettings, AreEmptyWithAnUnreadableDescription) {
  writeBytes("garbage.ppd", {'n', 'o', '\n', 0, 255});
  setenv("PPD", "garbage.ppd", 1);
  expectEmpty(parse(""));
}

TEST_F(JobSettings, AreLoggedInTheirOrder) {
  // The single-precision values are 50.80319977, 25.40159988 and 101.59999847.
  parse("Darkness=Dark HalftoneType=Burkes NegativeImage VBarcodeDensity=2");
  const Lines wanted = {
      "DEBUG:PageSizeName: label",
      "DEBUG:Custom Size: (144.000000,72.000000,0.000000,0.000000,144.000000,72.000000)",
      "DEBUG:Set page size: width 50.803200 mm, height 25.401600 mm",
      "DEBUG:settings->Resolution:203dpi",
      "DEBUG:settings->MediaMethod:Thermal",
      "DEBUG:settings->PaperType:LabelGaps",
      "DEBUG:settings->GapsHeight:3",
      "DEBUG:settings->PostAction:",
      "DEBUG:settings->Occurrence:",
      "DEBUG:settings->Origin:Left",
      "DEBUG:settings->MirrorImage:0",
      "DEBUG:settings->NegativeImage:1",
      "DEBUG:settings->PrintSpeed:4",
      "DEBUG:settings->Darkness:2",
      "DEBUG:settings->halftoneType:3",
      "DEBUG:settings->PageSize:label",
      "DEBUG:settings->pageWidth:50.803200",
      "DEBUG:settings->pageHeight:25.401600",
      "DEBUG:settings->MaxMediaWidth:101.599998",
      "DEBUG:settings->VBarcodeOpt:0.000000"};  // carries no meaning
  EXPECT_EQ(wanted, log);
}

TEST_F(JobSettings, LogNoSizeThatTheDescriptionDoesNotKnow) {
  unsetenv("PPD");
  parse("");
  ASSERT_LE(2U, log.size());
  EXPECT_EQ("DEBUG:PageSizeName: ", log[0]);
  EXPECT_EQ("DEBUG:settings->Resolution:", log[1]);
}

TEST_F(JobSettings, ResetThePageSizeWhereTheDescriptionHasNone) {
  Settings settings;
  settings.pageWidth = 5;
  settings.pageHeight = 6;
  settings.Darkness = 2;
  {
    const Capture capture;
    getPageWidthPageHeight(nullptr, &settings);
  }
  EXPECT_EQ(0.0F, settings.pageWidth);
  EXPECT_EQ(0.0F, settings.pageHeight);
  EXPECT_EQ(2, settings.Darkness);
}

}  // namespace
}  // namespace kestra
