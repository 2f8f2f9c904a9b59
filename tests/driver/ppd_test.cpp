// Tests of the compiled printer descriptions.
//
// A size that is not a multiple of 4 dots wide prints skewed, and one that is wider than the head
// overlaps its own rows; neither would be noticed before paper is spent.
#include <cups/ppd.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

struct CloseIt {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using Ppd = std::unique_ptr<ppd_file_t, CloseIt>;

Ppd openPpd(const std::string& name) {
  Ppd ppd(ppdOpenFile((std::string(KESTRA_PPD_DIR "/") + name).c_str()));
  if (ppd) ppdMarkDefaults(ppd.get());
  return ppd;
}

std::vector<std::string> choicesOf(ppd_file_t* ppd, const char* keyword) {
  std::vector<std::string> names;
  const ppd_option_t* option = ppdFindOption(ppd, keyword);
  if (option == nullptr) return names;
  for (int i = 0; i < option->num_choices; ++i) names.emplace_back(option->choices[i].choice);
  return names;
}

std::string defaultOf(ppd_file_t* ppd, const char* keyword) {
  const ppd_option_t* option = ppdFindOption(ppd, keyword);
  return option == nullptr ? "(no such option)" : option->defchoice;
}

double headWidthPoints(ppd_file_t* ppd) {
  const ppd_attr_t* attribute = ppdFindAttr(ppd, "MaxMediaWidth", nullptr);
  return attribute == nullptr || attribute->value == nullptr ? 0 : std::atof(attribute->value);
}

// The dots that the renderer makes of a printable width in points.
int dots(double points, int dpi) {
  return static_cast<int>(std::floor(points * dpi / 72 + 0.4999));
}

class EveryModel : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    ppd_ = openPpd(GetParam());
    ASSERT_NE(ppd_, nullptr) << GetParam();
  }
  Ppd ppd_;
};

TEST_P(EveryModel, GivesEverySizeAMultipleOfFourDotsThatFitsTheHead) {
  const double head = headWidthPoints(ppd_.get());
  int checked = 0;
  for (const int dpi : {203, 300}) {
    for (int i = 0; i < ppd_->num_sizes; ++i) {
      const ppd_size_t& size = ppd_->sizes[i];
      if (std::string(size.name) == "Custom") continue;
      const double printable = static_cast<double>(size.right) - static_cast<double>(size.left);
      const int width = dots(printable, dpi);
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

TEST_P(EveryModel, OffersBothResolutions) {
  EXPECT_EQ(choicesOf(ppd_.get(), "Resolution"), (std::vector<std::string>{"203dpi", "300dpi"}));
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
  ASSERT_EQ(ppd_->num_filters, 1);
  EXPECT_STREQ(ppd_->filters[0], "application/vnd.cups-raster 0 rastertokestra");
  EXPECT_EQ(ppd_->manual_copies, 1);
  const ppd_attr_t* centre = ppdFindAttr(ppd_.get(), "DefaultCenterOfPixel", nullptr);
  ASSERT_NE(centre, nullptr);
  EXPECT_STREQ(centre->value, "True");
}

TEST_P(EveryModel, StatesTheHeadWidthOnce) {
  int found = 0;
  for (const ppd_attr_t* attribute = ppdFindAttr(ppd_.get(), "MaxMediaWidth", nullptr);
       attribute != nullptr; attribute = ppdFindNextAttr(ppd_.get(), "MaxMediaWidth", nullptr)) {
    ++found;
  }
  EXPECT_EQ(found, 1);
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

TEST_P(EveryModel, OffersTheTenHalftonesInTheirOrder) {
  EXPECT_EQ(choicesOf(ppd_.get(), "HalftoneType"),
            (std::vector<std::string>{"None", "FloydSteinberg", "Ordered", "Burkes", "Stucki",
                                      "JarvisJudiceNinke", "Sierra", "StevensonArce", "Tattoo",
                                      "Tattoo_V7"}));
}

TEST_P(EveryModel, OffersTheValuesThatTheFilterKnows) {
  using Names = std::vector<std::string>;
  EXPECT_EQ(choicesOf(ppd_.get(), "PaperType"), (Names{"LabelGaps", "LabelMark", "Continue"}));
  EXPECT_EQ(choicesOf(ppd_.get(), "Darkness"), (Names{"Light", "Middle", "Dark"}));
  EXPECT_EQ(choicesOf(ppd_.get(), "VBarcodeDensity"), (Names{"0", "1", "2"}));
  for (const char* keyword : {"MirrorImage", "NegativeImage"}) {
    EXPECT_EQ(choicesOf(ppd_.get(), keyword), (Names{"False", "True"})) << keyword;
    EXPECT_EQ(defaultOf(ppd_.get(), keyword), "False") << keyword;
  }
  EXPECT_FALSE(choicesOf(ppd_.get(), "MediaMethod").empty());
  EXPECT_FALSE(choicesOf(ppd_.get(), "Origin").empty());
}

TEST_P(EveryModel, OffersWholeNumbersWhereTheFilterReadsNumbers) {
  struct Range {
    const char* keyword;
    int low;
    int high;
  };
  for (const Range& range :
       {Range{"GapsHeight", 0, 100}, Range{"PrintSpeed", 1, 15}, Range{"Brightness", -100, 100}}) {
    const std::vector<std::string> names = choicesOf(ppd_.get(), range.keyword);
    EXPECT_GE(names.size(), 2U) << range.keyword;
    for (const std::string& name : names) {
      EXPECT_EQ(std::to_string(std::atoi(name.c_str())), name) << range.keyword;
      EXPECT_GE(std::atoi(name.c_str()), range.low) << range.keyword;
      EXPECT_LE(std::atoi(name.c_str()), range.high) << range.keyword;
    }
  }
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

INSTANTIATE_TEST_SUITE_P(Ppd, EveryModel, testing::Values("kestra4.ppd", "kestraa4.ppd"),
                         [](const auto& model) {
                           const std::string name = model.param;
                           return name.substr(0, name.find('.'));
                         });

TEST(LabelPpd, PrintsLabelsWithGapsAndNoHalftone) {
  const Ppd ppd = openPpd("kestra4.ppd");
  ASSERT_NE(ppd, nullptr);
  EXPECT_EQ(defaultOf(ppd.get(), "PaperType"), "LabelGaps");
  EXPECT_EQ(defaultOf(ppd.get(), "HalftoneType"), "None");
  EXPECT_EQ(defaultOf(ppd.get(), "Resolution"), "203dpi");
  EXPECT_GE(headWidthPoints(ppd.get()), 104 / 25.4 * 72);  // 104 mm
}

TEST(StencilPpd, PrintsTattooHalftonesOnAWideRoll) {
  const Ppd ppd = openPpd("kestraa4.ppd");
  ASSERT_NE(ppd, nullptr);
  EXPECT_EQ(defaultOf(ppd.get(), "PaperType"), "Continue");
  EXPECT_EQ(defaultOf(ppd.get(), "HalftoneType"), "Tattoo");
  EXPECT_GE(headWidthPoints(ppd.get()), 216 / 25.4 * 72);  // 216 mm, so Letter fits
  std::set<std::string> names;
  for (int i = 0; i < ppd->num_sizes; ++i) names.insert(ppd->sizes[i].name);
  for (const char* name : {"A4", "Letter", "Tattoo_A5", "Tattoo_A6"}) {
    EXPECT_EQ(names.count(name), 1U) << name;
  }
}

}  // namespace
