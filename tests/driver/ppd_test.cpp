// Tests of the compiled printer descriptions.
//
// A size that is not a multiple of 4 dots wide prints skewed, and one that is wider than the head
// overlaps its own rows; neither would be noticed before paper is spent.
#include <cups/ppd.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/driver/model.h"

namespace kestra::driver {
namespace {

class EveryModel : public ModelCase {};

TEST_P(EveryModel, GivesEverySizeAMultipleOfFourDotsThatFitsTheHead) {
  const double head = headWidthPoints(ppd_.get());
  int checked = 0;
  for (const int dpi : {203, 300}) {
    for (int i = 0; i < ppd_->num_sizes; ++i) {
      const ppd_size_t& size = ppd_->sizes[i];
      if (std::string(size.name) == "Custom") continue;
      const double printable = static_cast<double>(size.right) - static_cast<double>(size.left);
      const int width = dotsOf(printable, dpi);
      EXPECT_EQ(width % 4, 0) << size.name << " at " << dpi << " dpi is " << width << " dots wide";
      EXPECT_LE(width, head * dpi / 72) << size.name << " at " << dpi << " dpi";
      EXPECT_LE(size.width, static_cast<float>(head)) << size.name;
      EXPECT_FLOAT_EQ(size.bottom, 0) << size.name;
      EXPECT_FLOAT_EQ(size.top, size.length) << size.name;
      ++checked;
    }
  }
  EXPECT_GE(checked, 8);
}

// A queue with such an address would else get the commands alone, and no dots.
TEST_P(EveryModel, HasFramesSentToPlainAddresses) {
  for (const char* scheme : {"usb", "socket"}) {
    const ppd_attr_t* monitor = ppdFindAttr(ppd_.get(), "cupsPortMonitor", scheme);
    ASSERT_NE(monitor, nullptr) << scheme;
    EXPECT_STREQ(monitor->value, "kestra");
  }
  EXPECT_EQ(ppdFindAttr(ppd_.get(), "cupsPortMonitor", "kestra"), nullptr);
}

// Eight bits of black per dot, 255 for ink: anything else prints negative or not at all.
TEST_P(EveryModel, AsksForEightBitsOfBlack) {
  const ppd_option_t* option = ppdFindOption(ppd_.get(), "Resolution");
  ASSERT_NE(option, nullptr);
  for (int i = 0; i < option->num_choices; ++i) {
    ASSERT_NE(option->choices[i].code, nullptr);
    const std::string code = option->choices[i].code;
    EXPECT_NE(code.find("/cupsBitsPerColor 8"), std::string::npos) << code;
    EXPECT_NE(code.find("/cupsColorSpace 3"), std::string::npos) << code;
  }
  EXPECT_EQ(ppd_->color_device, 0);
}

TEST_P(EveryModel, NamesTheFilterAndRepeatsPagesBeforeIt) {
  ASSERT_GE(ppd_->num_filters, 1);
  EXPECT_STREQ(ppd_->filters[0], "application/vnd.cups-raster 0 rastertokestra");
  EXPECT_EQ(ppd_->manual_copies, 1);
  const ppd_attr_t* centre = ppdFindAttr(ppd_.get(), "DefaultCenterOfPixel", nullptr);
  ASSERT_NE(centre, nullptr);
  EXPECT_STREQ(centre->value, "True");
}

// Pages of any width come out straight behind it; it stands before the filter whatever the
// document.
TEST_P(EveryModel, HasItsPagesFittedBeforeTheFilter) {
  const ppd_attr_t* stage = ppdFindAttr(ppd_.get(), "cupsPreFilter", nullptr);
  ASSERT_NE(stage, nullptr);
  EXPECT_STREQ(stage->value, "application/vnd.cups-raster 0 kestrafit");
  EXPECT_EQ(ppdFindNextAttr(ppd_.get(), "cupsPreFilter", nullptr), nullptr);
}

// Whatever another computer or a phone sends; pictures cost what the print system's own way costs.
TEST_P(EveryModel, LetsSizesBeFoundByOtherNamesInEveryKindOfDocument) {
  std::set<std::string> others(ppd_->filters + 1, ppd_->filters + ppd_->num_filters);
  std::set<std::string> wanted = {"application/pdf 0 kestrasize", "text/plain 0 kestrasize",
                                  "image/pwg-raster 0 kestrasize", "image/urf 0 kestrasize"};
  for (const char* picture :
       {"gif", "jpeg", "png", "tiff", "x-bitmap", "x-photocd", "x-portable-anymap",
        "x-portable-bitmap", "x-portable-graymap", "x-portable-pixmap", "x-sgi-rgb", "x-sun-raster",
        "x-xbitmap", "x-xpixmap"}) {
    wanted.insert("image/" + std::string(picture) + " 100 kestrasize");
  }
  EXPECT_EQ(others, wanted);
}

// A printer that knows no such questions would hold up the first byte of each job for seconds.
TEST_P(EveryModel, HasNobodyAskForSuppliesOverTheNetwork) {
  const ppd_attr_t* supplies = ppdFindAttr(ppd_.get(), "cupsSNMPSupplies", nullptr);
  ASSERT_NE(supplies, nullptr);
  EXPECT_STREQ(supplies->value, "False");
}

// To half a millimetre, one point and a half.
TEST_P(EveryModel, SaysInWordsWhatALabelMeasures) {
  int checked = 0;
  const ppd_option_t* option = ppdFindOption(ppd_.get(), "PageSize");
  ASSERT_NE(option, nullptr);
  for (int i = 0; i < option->num_choices; ++i) {
    const ppd_choice_t& choice = option->choices[i];
    int width = 0;
    int height = 0;
    if (std::sscanf(choice.text, "Label %d x %d mm", &width, &height) != 2) continue;
    const ppd_size_t* size = ppdPageSize(ppd_.get(), choice.choice);
    ASSERT_NE(size, nullptr) << choice.choice;
    EXPECT_NEAR(size->width, width / 25.4 * 72, 1.5) << choice.choice;
    EXPECT_NEAR(size->length, height / 25.4 * 72, 1.5) << choice.choice;
    ++checked;
  }
  EXPECT_EQ(checked, std::string(GetParam()) == "kestra4.ppd" ? 52 : 0);
}

// libcups may keep one of two lines only, so the text itself is read.
TEST_P(EveryModel, WritesTheHeadWidthOnce) {
  std::ifstream in(pathOf(GetParam()));
  int lines = 0;
  for (std::string line; std::getline(in, line);) lines += line.rfind("*MaxMediaWidth", 0) == 0;
  EXPECT_EQ(lines, 1);
}

TEST_P(EveryModel, LimitsCustomSizesToTheHead) {
  EXPECT_NE(ppd_->variable_sizes, 0);
  EXPECT_GT(ppd_->custom_min[0], 0);
  EXPECT_GT(ppd_->custom_min[1], 0);
  EXPECT_LE(ppd_->custom_max[0], static_cast<float>(headWidthPoints(ppd_.get())));
  // A page has at most 65535 rows; at 300 dpi that is 218 inches.
  EXPECT_LE(ppd_->custom_max[1] * 300 / 72, 65535);
  for (const float margin : ppd_->custom_margins) EXPECT_FLOAT_EQ(margin, 0);
}

// A step that is lost prints as the default without a word, and the filter knows no other names.
TEST_P(EveryModel, OffersTheseChoicesInThisOrder) {
  const std::map<std::string, std::vector<std::string>> wanted = {
      {"Resolution", {"203dpi", "300dpi"}},
      {"PaperType", {"LabelGaps", "LabelMark", "Continue"}},
      {"GapsHeight", {"0", "1", "2", "3", "4", "5", "6", "8", "10"}},
      {"PrintSpeed", {"2", "3", "4", "5", "6"}},
      {"Darkness", {"Light", "Middle", "Dark"}},
      {"HalftoneType",
       {"None", "FloydSteinberg", "Ordered", "Burkes", "Stucki", "JarvisJudiceNinke", "Sierra",
        "StevensonArce", "Tattoo", "Tattoo_V7"}},
      {"Brightness", {"-100", "-75", "-50", "-40", "-30", "-25", "-20", "-15", "-10", "-5", "0",
                      "5",    "10",  "15",  "20",  "25",  "30",  "40",  "50",  "75",  "100"}},
      {"MirrorImage", {"False", "True"}},
      {"NegativeImage", {"False", "True"}},
      {"VBarcodeDensity", {"0", "1", "2"}}};
  for (const auto& [keyword, names] : wanted) {
    EXPECT_EQ(choicesOf(ppd_.get(), keyword.c_str()), names) << keyword;
  }
  EXPECT_EQ(defaultOf(ppd_.get(), "MirrorImage"), "False");
  EXPECT_EQ(defaultOf(ppd_.get(), "NegativeImage"), "False");
  EXPECT_FALSE(choicesOf(ppd_.get(), "MediaMethod").empty());
  EXPECT_FALSE(choicesOf(ppd_.get(), "Origin").empty());
}

TEST_P(EveryModel, ShowsThePaperTypeFirst) {
  // The first group that is not the general one with page size and resolution.
  const ppd_group_t* first = nullptr;
  for (int i = 0; i < ppd_->num_groups && first == nullptr; ++i) {
    if (std::string(ppd_->groups[i].name) != "General") first = &ppd_->groups[i];
  }
  ASSERT_NE(first, nullptr);
  ASSERT_GT(first->num_options, 0);
  EXPECT_STREQ(first->options[0].keyword, "PaperType");
}

INSTANTIATE_TEST_SUITE_P(Ppd, EveryModel, testing::ValuesIn(kModels),
                         [](const auto& model) { return shortName(model.param); });

struct Paper {
  const char* name;
  double width;   // mm
  double length;  // mm
};

// Exactly these sizes; a width may differ by the fraction of a millimetre that brings the page to a
// multiple of 4 dots.
void expectSizes(ppd_file_t* ppd, const std::vector<Paper>& papers) {
  std::vector<std::string> wanted;
  for (const Paper& paper : papers) {
    wanted.emplace_back(paper.name);
    const ppd_size_t* size = ppdPageSize(ppd, paper.name);
    ASSERT_NE(size, nullptr) << paper.name;
    EXPECT_NEAR(static_cast<double>(size->width) / 72 * 25.4, paper.width, 0.12) << paper.name;
    EXPECT_NEAR(static_cast<double>(size->length) / 72 * 25.4, paper.length, 0.01) << paper.name;
  }
  wanted.emplace_back("Custom");
  EXPECT_EQ(choicesOf(ppd, "PageSize"), wanted);
}

TEST(LabelPpd, PrintsLabelsWithGapsAndNoHalftone) {
  const Ppd ppd = openModel("kestra4.ppd");
  ASSERT_NE(ppd, nullptr);
  EXPECT_EQ(defaultOf(ppd.get(), "PaperType"), "LabelGaps");
  EXPECT_EQ(defaultOf(ppd.get(), "HalftoneType"), "None");
  EXPECT_EQ(defaultOf(ppd.get(), "Resolution"), "203dpi");
  // 832 dots at 203 dpi: 832 / 203 * 72 = 295.094 points, a little over 104 mm.
  EXPECT_EQ(static_cast<int>(headWidthPoints(ppd.get()) / 72 * 203), 832);
  EXPECT_GE(headWidthPoints(ppd.get()), 104 / 25.4 * 72);
  expectSizes(ppd.get(),
              {{"w57h85", 20, 30},        {"w72h108", 25.4, 38.1},    {"w72h144", 25.4, 50.8},
               {"w82h176", 29, 62},       {"w85h57", 30, 20},         {"w85h113", 30, 40},
               {"w85h142", 30, 50},       {"w90h162", 31.75, 57.15},  {"w108h72", 38.1, 25.4},
               {"w113h57", 40, 20},       {"w113h85", 40, 30},        {"w113h164", 40, 58},
               {"w113h170", 40, 60},      {"w142h85", 50, 30},        {"w142h142", 50, 50},
               {"w142h198", 50, 70},      {"w142h227", 50, 80},       {"w142h283", 50, 100},
               {"w144h72", 50.8, 25.4},   {"w144h216", 50.8, 76.2},   {"w144h288", 50.8, 101.6},
               {"w162h90", 57.15, 31.75}, {"w164h113", 58, 40},       {"w170h85", 60, 30},
               {"w170h113", 60, 40},      {"w170h170", 60, 60},       {"w170h227", 60, 80},
               {"w176h82", 62, 29},       {"w176h283", 62, 100},      {"w198h85", 70, 30},
               {"w198h142", 70, 50},      {"w198h283", 70, 100},      {"w216h72", 76.2, 25.4},
               {"w216h144", 76.2, 50.8},  {"w216h288", 76.2, 101.6},  {"w227h113", 80, 40},
               {"w227h142", 80, 50},      {"w227h170", 80, 60},       {"w227h283", 80, 100},
               {"w283h85", 100, 30},      {"w283h142", 100, 50},      {"w283h176", 100, 62},
               {"w283h198", 100, 70},     {"w283h227", 100, 80},      {"w283h283", 100, 100},
               {"w283h425", 100, 150},    {"w283h567", 100, 200},     {"w288h144", 101.6, 50.8},
               {"w288h216", 101.6, 76.2}, {"w288h288", 101.6, 101.6}, {"w288h432", 101.6, 152.4},
               {"w288h576", 101.6, 203.2}});
}

TEST(StencilPpd, PrintsTattooHalftonesOnAWideRoll) {
  const Ppd ppd = openModel("kestraa4.ppd");
  ASSERT_NE(ppd, nullptr);
  EXPECT_EQ(defaultOf(ppd.get(), "PaperType"), "Continue");
  EXPECT_EQ(defaultOf(ppd.get(), "HalftoneType"), "Tattoo");
  // 1728 dots at 203 dpi: 1728 / 203 * 72 = 612.887 points, over 216 mm, so Letter fits.
  EXPECT_EQ(static_cast<int>(headWidthPoints(ppd.get()) / 72 * 203), 1728);
  EXPECT_GE(headWidthPoints(ppd.get()), 216 / 25.4 * 72);
  expectSizes(ppd.get(), {{"A4", 210, 297},
                          {"Letter", 215.9, 279.4},
                          {"Legal", 215.9, 355.6},
                          {"A5", 148, 210},
                          {"A6Rotated", 148, 105},
                          {"Tattoo_A5", 210, 148},
                          {"Tattoo_A6", 105, 148}});
}

}  // namespace
}  // namespace kestra::driver
