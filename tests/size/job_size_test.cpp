// The page size of a job in the printer description's words.
// Why: the print system takes no other words, and prints on the default size where it finds none.
#include "tools/size/job_size.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

namespace kestra {
namespace {

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};

class JobSizeTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(label_, nullptr);
    ASSERT_NE(stencil_, nullptr);
  }

  JobSize onLabels(const std::string& options, std::optional<PageMeasure> document = {}) {
    return sizeOfJob(label_.get(), options, document);
  }
  // The size that is put behind the options; empty where they stay as they are.
  std::string added(const JobSize& size, const std::string& options) {
    EXPECT_EQ(size.options.compare(0, options.size(), options), 0) << size.options;
    EXPECT_EQ(size.warning, "");
    return size.options.substr(options.size());
  }
  std::string label(const std::string& options, std::optional<PageMeasure> document = {}) {
    return added(onLabels(options, document), options);
  }
  std::string stencil(const std::string& options) {
    return added(sizeOfJob(stencil_.get(), options, {}), options);
  }

  std::unique_ptr<ppd_file_t, PpdCloser> label_{ppdOpenFile(KESTRA_PPD_DIR "/kestra4.ppd")};
  std::unique_ptr<ppd_file_t, PpdCloser> stencil_{ppdOpenFile(KESTRA_PPD_DIR "/kestraa4.ppd")};
};

TEST_F(JobSizeTest, StaysWhereTheDescriptionHasIt) {
  EXPECT_EQ(label("PageSize=w283h142"), "");
  EXPECT_EQ(label("PageSize=W283H142 Darkness=Dark"), "");
  EXPECT_EQ(label("PageSize=Custom.70.07x40mm"), "");
  EXPECT_EQ(label("media=100x50mm PageSize=w283h142"), "");
  EXPECT_EQ(label("media=Roll,w283h142"), "");
  EXPECT_EQ(stencil("PageSize=Tattoo_A5"), "");
  EXPECT_EQ(stencil("PageSize=A4"), "");
}

TEST_F(JobSizeTest, StaysTheDefaultWhereNothingIsAskedFor) {
  EXPECT_EQ(label(""), "");
  EXPECT_EQ(label("Darkness=Dark fit-to-page"), "");
}

TEST_F(JobSizeTest, IsFoundByTheNameThatAnotherComputerGivesIt) {
  EXPECT_EQ(label("media=100x50mm PageSize=100x50mm"), " PageSize=w283h142");
  EXPECT_EQ(label("PageSize=100x50mm"), " PageSize=w283h142");
  EXPECT_EQ(label("PageSize=4x4.Borderless"), " PageSize=w288h288");
  EXPECT_EQ(label("PageSize=50.11x30mm.Borderless"), " PageSize=w142h85");
  EXPECT_EQ(label("PageSize=60x40mm media=custom_60x40mm_60x40mm"), " PageSize=w170h113");
  EXPECT_EQ(label("PageRegion=100x150mm"), " PageSize=w283h425");
  EXPECT_EQ(stencil("PageSize=A6"), " PageSize=Tattoo_A6");
  EXPECT_EQ(stencil("PageSize=210x148mm"), " PageSize=Tattoo_A5");
}

// 50 mm labels are described as 50.11 mm wide, labels of 4 x 6 inches are 101.6 x 152.4 mm.
TEST_F(JobSizeTest, IsTheDescriptionsOwnWithinHalfAMillimetre) {
  EXPECT_EQ(label("PageSize=50x30mm"), " PageSize=w142h85");
  EXPECT_EQ(label("PageSize=102x152mm"), " PageSize=w288h432");
  EXPECT_EQ(label("PageSize=76x51mm"), " PageSize=w216h144");
  EXPECT_EQ(label("PageSize=99.4x50mm"), " PageSize=Custom.99.4x50mm");
}

TEST_F(JobSizeTest, IsACustomSizeToTheHundredthWhereNoOtherFits) {
  EXPECT_EQ(label("PageSize=73.25x33mm"), " PageSize=Custom.73.25x33mm");
  EXPECT_EQ(label("media=custom_73x33mm_73x33mm PageSize=73x33mm"), " PageSize=Custom.73x33mm");
}

// 73 x 33 mm are 206.93 x 93.54 points.
TEST_F(JobSizeTest, IsExactWhereThePrintSystemCutItToWholePoints) {
  EXPECT_EQ(label("media=Custom.73x33mm PageSize=Custom.206x93"), " PageSize=Custom.73x33mm");
  EXPECT_EQ(label("media=custom_73x33mm_73x33mm PageSize=Custom.206x93"),
            " PageSize=Custom.73x33mm");
}

TEST_F(JobSizeTest, IsTheOneAskedForWhereThePrintSystemTookANeighbour) {
  EXPECT_EQ(label("media=4x4in PageSize=w283h283"), " PageSize=w288h288");
  EXPECT_EQ(label("media=custom_103x50mm_103x50mm PageSize=w288h144"), " PageSize=Custom.103x50mm");
}

TEST_F(JobSizeTest, IsPageSizeWhereMediaSaysSomethingElseAltogether) {
  EXPECT_EQ(label("media=A4 PageSize=w283h142"), "");
  EXPECT_EQ(label("media=A4 PageSize=100x50mm"), " PageSize=w283h142");
}

TEST_F(JobSizeTest, IsFoundAmongTraysAndKindsOfPaper) {
  EXPECT_EQ(label("media=Roll,80x60mm,labels"), " PageSize=w227h170");
}

// 799 x 400 dots at 203 dpi are 99.97 x 50.05 mm.
TEST_F(JobSizeTest, IsThatOfADocumentMadeOfDotsWhereNoneIsAskedFor) {
  EXPECT_EQ(label("Darkness=Dark", PageMeasure{9997, 5005}), " PageSize=w283h142");
  EXPECT_EQ(label("", PageMeasure{7300, 3300}), "PageSize=Custom.73x33mm");
  EXPECT_EQ(label("PageSize=w170h113", PageMeasure{9997, 5005}), "");
  EXPECT_EQ(label("media=60x40mm", PageMeasure{9997, 5005}), " PageSize=w170h113");
}

// What a driverless queue sends: the measure, with or without a word for margins, or both of them.
TEST_F(JobSizeTest, IsFoundForEverySizeOfBothDescriptions) {
  int checked = 0;
  for (ppd_file_t* ppd : {label_.get(), stencil_.get()}) {
    for (int i = 0; i < ppd->num_sizes; ++i) {
      const ppd_size_t& size = ppd->sizes[i];
      const std::string name = size.name;
      if (name == "Custom") continue;
      char text[64];
      const auto mm = [](float points) { return static_cast<double>(points) / 72 * 25.4; };
      std::snprintf(text, sizeof text, "%.2fx%.2fmm", mm(size.width), mm(size.length));
      const std::string measure = text;
      for (const std::string& options :
           {"PageSize=" + measure, "PageSize=" + measure + ".Borderless",
            "PageSize=custom_" + measure + "_" + measure, "media=custom_" + measure + "_" + measure,
            "media=" + measure + " PageSize=" + measure}) {
        EXPECT_EQ(added(sizeOfJob(ppd, options, {}), options), " PageSize=" + name);
        ++checked;
      }
    }
  }
  EXPECT_EQ(checked, (52 + 7) * 5);
}

TEST_F(JobSizeTest, IsTheDefaultWithAWarningWhereThePrinterHasNone) {
  const std::string instead = "it prints on w288h432 (Label 102 x 152 mm (4 x 6 inch)).";
  const std::string start = "The printer does not have the page size ";
  const auto expect = [&](const std::string& options, const std::string& named) {
    const JobSize size = onLabels(options);
    EXPECT_EQ(size.options, options);
    EXPECT_EQ(size.warning, start + named + "; " + instead);
  };
  expect("PageSize=foo", "\"foo\"");
  expect("media=foo", "\"foo\"");
  expect("PageSize=w99h99", "\"w99h99\"");
  expect("media=A4", "\"A4, 210 x 297 mm\"");
  expect("PageSize=Custom.foo", "\"Custom.foo\"");
  // Beyond the head's 104.1 mm, and below 10 mm of height.
  expect("PageSize=110x50mm", "\"110x50mm, 110 x 50 mm\"");
  expect("PageSize=50x9mm", "\"50x9mm, 50 x 9 mm\"");
  const JobSize large = onLabels("", PageMeasure{21000, 29700});
  EXPECT_EQ(large.options, "");
  EXPECT_EQ(large.warning, start + "\"210 x 297 mm\"; " + instead);
}

}  // namespace
}  // namespace kestra
