// Which choices of the printer description and of the job reach the print, and how.
// Why: names, numbers and truth values have rules of their own that a user never sees written.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

TEST(Settings, TakesThePpdDefaultsWithoutOptions) {
  const ts::Result result = expectAsPlain(onePage(16, 3, "noise"));
  EXPECT_TRUE(says(result, "DEBUG:Set page size: width 50.803200 mm, height 25.401600 mm\n"));
  EXPECT_TRUE(says(result, "DEBUG:settings->MaxMediaWidth:101.599998\n"));
}

TEST(Settings, LetsJobOptionsOverrideThePpd) {
  JobCase job = onePage(16, 3, "noise");
  job.options =
      "PageSize=Wide Resolution=300dpi MediaMethod=ThermalTransfer PaperType=LabelMark "
      "GapsHeight=3 Origin=TopRight PrintSpeed=3 Darkness=Dark HalftoneType=Ordered "
      "unknown=value noOther document-name-supplied=t.pdf date-time-at-creation=";
  plain::Settings& s = job.settings;
  s.pageSize = "Wide";
  job.setPoints(288, 144, 0, 0, 288, 144);
  s.resolution = "300dpi";
  s.mediaMethod = "ThermalTransfer";
  s.paperType = "LabelMark";
  s.gapsHeight = 3;
  s.origin = "TopRight";
  s.printSpeed = "3";
  s.darkness = 2;
  s.halftone = 2;
  expectAsPlain(job);
}

TEST(Settings, UsesThePpdSpellingOfAChoice) {
  JobCase job = onePage(16, 3, "noise");
  job.options = "darkness=dark HALFTONETYPE=burkes";
  job.settings.darkness = 2;
  job.settings.halftone = 3;
  expectAsPlain(job);
}

TEST(Settings, IgnoresChoicesThatThePpdDoesNotHave) {
  JobCase job = onePage(16, 3, "noise");
  job.options = "Darkness=nonsense HalftoneType=None2 GapsHeight=77";
  expectAsPlain(job);
}

TEST(Settings, KnowsThreeDarknessNamesAndTakesOthersForZero) {
  const std::vector<std::pair<std::string, int>> names = {
      {"Light", 0}, {"Middle", 1}, {"Dark", 2}, {"Darkest", 0}, {"dark2", 0}};
  for (const auto& [name, value] : names) {
    SCOPED_TRACE(name);
    JobCase job = onePage(16, 3, "noise");
    job.choose("Darkness", name);
    job.settings.darkness = value;
    EXPECT_EQ(expectAsPlain(job).output, hex("1B 73 01 00 00 02 0" + std::to_string(value)));
  }
  JobCase lower = onePage(16, 3, "noise");
  lower.ppd.setOption("Darkness", "dark", {"dark", "light"});  // case-sensitive
  lower.settings.darkness = 0;
  expectAsPlain(lower);
}

TEST(Settings, ReadsTruthValuesAsWordsOrAsTheLowByteOfANumber) {
  // 2 is true; 256 has a low byte of 0; 255 is -1, true; "maybe" is no number, 0.
  const std::vector<std::pair<std::string, int>> words = {
      {"yes", 1}, {"TRUE", 1}, {"True", 1}, {"YES", 1},  {"no", 0},    {"False", 0},
      {"256", 0}, {"2", 1},    {"255", 1},  {"512x", 0}, {"maybe", 0}, {"1", 1}};
  for (const auto& [word, value] : words) {
    SCOPED_TRACE(word);
    JobCase job = onePage(16, 3, "noise");
    job.ppd.setOption("MirrorImage", word, {word, "other"});
    job.settings.mirrorImage = value;
    expectAsPlain(job);
    JobCase negative = onePage(16, 3, "noise");
    negative.ppd.setOption("NegativeImage", word, {word, "other"});
    negative.settings.negativeImage = value;
    expectAsPlain(negative);
  }
}

TEST(Settings, TakesBooleanOptionsWithoutValue) {
  JobCase job = onePage(16, 3, "noise");
  job.options = "MirrorImage noNegativeImage";
  job.settings.mirrorImage = 1;
  expectAsPlain(job);
}

TEST(Settings, ReadsNegativeAndUnreadableNumbers) {
  JobCase job = onePage(16, 3, "noise");
  job.ppd.setOption("GapsHeight", "about5", {"about5", "3mm"});
  job.settings.gapsHeight = 0;
  expectAsPlain(job);
  job.options = "GapsHeight=3mm Brightness=-20";
  job.settings.gapsHeight = 3;
  job.settings.brightness = -20;
  expectAsPlain(job);
}

TEST(Settings, UsesEmptyTextsAndZerosForOptionsThatThePpdDoesNotHave) {
  JobCase job = onePage(16, 3, "noise");
  for (const char* keyword : {"Resolution", "MediaMethod", "PaperType", "GapsHeight", "Origin",
                              "MirrorImage", "NegativeImage", "HalftoneType", "PrintSpeed",
                              "Darkness", "Brightness", "VBarcodeDensity"}) {
    job.ppd.removeOption(keyword);
  }
  plain::Settings& s = job.settings;
  s.resolution = s.mediaMethod = s.paperType = s.origin = s.printSpeed = "";
  s.gapsHeight = s.darkness = 0;
  EXPECT_EQ(expectAsPlain(job).output, hex("1B 73 01 00 00 00 00"));
}

TEST(Settings, TakesNoHalftoneForAnUnknownName) {
  for (const char* name : {"tattoo", "floydsteinberg", "Tattoo_V8", "JarvisJudiceNinkes"}) {
    JobCase job = onePage(16, 3, "noise");
    job.ppd.setOption("HalftoneType", name, {name});
    job.settings.halftone = 0;
    expectAsPlain(job);
  }
}

TEST(Settings, ReadsTheMarginsOfThePageSize) {
  JobCase job = onePage(16, 3, "noise");
  job.ppd.setSizes("Label", {{"Label", 142.05, 85.04, 0.46, 1, 141.59, 84}});
  job.setPoints(142.05, 85.04, 0.46, 1, 141.59, 84);
  expectAsPlain(job);
}

TEST(Settings, TakesTheSizeOfACustomPage) {
  JobCase job = onePage(16, 3, "noise");
  job.ppd.allowCustomSizes(20, 600);
  job.options = "PageSize=Custom.204.5x113.25";
  job.settings.pageSize = "Custom";
  job.setPoints(204.5, 113.25, 0, 0, 204.5, 113.25);
  expectAsPlain(job);
}

TEST(Settings, RefusesThePaperWhenTheSizeIsUnknown) {
  JobCase job = onePage(16, 3, "noise");
  job.ppd.removeOption("PageSize").setSizes("Nowhere", {{"Label", 144, 72}});
  // The default names no size: the choice is not found and its name stays empty.
  job.settings.pageSize = "";
  job.settings.pageSizeKnown = false;
  EXPECT_EQ(expectAsPlain(job).status, 1);
}

TEST(Settings, CutsLongChoiceTextsAtFortyCharacters) {
  // A choice text in the PPD can have 40 characters; they all arrive.
  const std::string name(40, 'x');
  JobCase job = onePage(16, 3, "noise");
  job.ppd.setOption("Origin", name, {name});
  job.settings.origin = name;
  expectAsPlain(job);
}

TEST(Settings, ReadsTheMediaWidthAsANumberWithFraction) {
  for (const auto& [text, points] :
       std::vector<std::pair<std::string, double>>{{"288.5", 288.5}, {"611.9", 611.9}, {"0", 0}}) {
    SCOPED_TRACE(text);
    JobCase job = onePage(16, 3, "noise");
    job.ppd.setMaxMediaWidth(text);
    job.settings.maxMediaPoints = points;
    expectAsPlain(job);
  }
}

}  // namespace kestra::blackbox
