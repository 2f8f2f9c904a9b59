// Black-box tests of the warnings: each comes where a page will not print as meant, and only there.
//
// A warning that cries wolf is turned off in the head of the reader, so good pages are tested too.
#include <gtest/gtest.h>

#include "tests/tools/json_value.h"
#include "tests/tools/proof_run.h"
#include "tests/tools/raster_document.h"

namespace kestra {
namespace {

using blackbox::JobCase;
using testing_support::makeHeader;
using testing_support::uniform;

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Standard error of a proof that came out; the warning must be in the JSON as well.
std::string warningsOf(const JobCase& job) {
  const ProofDirectory directory;
  std::vector<std::string> words = writeDocument(directory, job);
  words.emplace_back("--json");
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 0) << result.errors;
  const auto json = parseJson(result.output);
  EXPECT_TRUE(json) << result.output;
  if (!json) return {};
  std::string listed;
  for (const JsonValue& warning : (*json)["documents"][0]["warnings"].items) {
    listed += "kestra-proof: warning: pages.ras: " + warning.string + "\n";
  }
  EXPECT_EQ(listed, result.errors);
  return result.errors;
}

JobCase pageOf(const std::string& picture, int halftone) {
  JobCase job;
  job.addPage(100, 40, picture);
  job.halftone(halftone);
  return job;
}

TEST(Warning, IsNotGivenForGoodPages) {
  for (const int halftone : {0, 1, 2, 8}) {
    EXPECT_EQ(warningsOf(pageOf("photo", halftone)), "") << halftone;
  }
  EXPECT_EQ(warningsOf(pageOf("blank", 0)), "") << "an empty page that stays empty";
  EXPECT_EQ(warningsOf(pageOf("solid", 0)), "") << "a solid page that was meant to be";
  JobCase negative = pageOf("photo", 8);
  negative.negative();
  EXPECT_EQ(warningsOf(negative), "") << "a true negative";
}

TEST(Warning, TellsOfGreysThatTheThresholdDrops) {
  JobCase job;
  job.pages = {{makeHeader(100, 40, 100), uniform(100, 40, 128)}};  // ink begins at 129
  const std::string warnings = warningsOf(job);
  EXPECT_TRUE(holds(warnings, "page 1 has something on it but comes out without any ink"))
      << warnings;
  EXPECT_TRUE(holds(warnings, "lighter than half black; choose Ordered")) << warnings;
  job.pages = {{makeHeader(100, 40, 100), uniform(100, 40, 129)}};
  job.pages[0].pixels[0] = 0;  // or the page would be solid
  EXPECT_EQ(warningsOf(job), "");
}

TEST(Warning, TellsOfBlackAndWhiteArtThatTheStencilDrops) {
  JobCase job = pageOf("bars", 9);
  ASSERT_EQ(countDots(plainPages(job).at(0)), 0U) << "the page is no example any more";
  const std::string warnings = warningsOf(job);
  EXPECT_TRUE(holds(warnings, "without any ink: pure black-and-white art")) << warnings;
  EXPECT_TRUE(holds(warnings, "choose HalftoneType=None, or Tattoo")) << warnings;
  EXPECT_EQ(warningsOf(pageOf("bars", 8)), "");
  EXPECT_EQ(warningsOf(pageOf("bars", 0)), "");
}

TEST(Warning, TellsOfANegativeThatIsSolid) {
  JobCase job = pageOf("text", 2);
  job.negative();
  const std::string warnings = warningsOf(job);
  EXPECT_TRUE(holds(warnings, "page 1 comes out solid black: NegativeImage prints everything"))
      << warnings;
  EXPECT_TRUE(holds(warnings, "choose Tattoo")) << warnings;
}

TEST(Warning, TellsOfABrightnessThatLeavesNothing) {
  JobCase light = pageOf("text", 0);
  light.brightness(-100);  // 5 levels a step: no pixel is left with ink
  EXPECT_TRUE(holds(warningsOf(light), "without any ink: Brightness=-100 takes the ink away"));
  JobCase dark = pageOf("text", 0);
  dark.brightness(100);
  EXPECT_TRUE(holds(warningsOf(dark), "solid black: Brightness=100 turns blank paper black"));
  JobCase slightly = pageOf("text", 0);
  slightly.brightness(20);
  EXPECT_EQ(warningsOf(slightly), "");
}

TEST(Warning, TellsOfStrayDotsOnAnEmptyPage) {
  const JobCase job = pageOf("blank", 8);
  const std::size_t dots = countDots(plainPages(job).at(0));
  ASSERT_GT(dots, 0U) << "the page is no example any more";
  EXPECT_TRUE(holds(warningsOf(job), "page 1 is empty but gets " + std::to_string(dots) +
                                         " stray dots from HalftoneType=Tattoo"));
}

TEST(Warning, TellsOfAWidthThatIsSkewed) {
  JobCase job;
  job.addPage(101, 40, "photo");
  job.halftone(2);
  EXPECT_TRUE(holds(warningsOf(job), "skewed, because its width of 101 dots is no multiple of 4"));
  JobCase empty;
  empty.addPage(101, 40, "blank");
  EXPECT_EQ(warningsOf(empty), "") << "nothing on it to be skewed";
}

TEST(Warning, TellsOfAPageThatIsWiderThanTheHead) {
  // 812 dots of head. 29 dots more still have margin 0, from 30 on the rows overlap.
  JobCase little;
  little.addPage(840, 40, "photo");
  little.halftone(2);
  const std::string slight = warningsOf(little);
  EXPECT_TRUE(holds(slight, "is 840 dots wide, the print head has 812: the right edge")) << slight;
  JobCase much;
  much.addPage(900, 40, "photo");
  much.halftone(2);
  const std::string overlap = warningsOf(much);
  EXPECT_TRUE(holds(overlap, "the print head has 812: rows overlap")) << overlap;
  JobCase full;
  full.addPage(812, 40, "photo");
  full.halftone(2);
  EXPECT_EQ(warningsOf(full), "");
}

TEST(Warning, NamesThePageAndInAComparisonTheHalftone) {
  const ProofDirectory directory;
  JobCase job;
  job.addPage(100, 40, "photo");
  job.addPage(100, 40, "blank");
  std::vector<std::string> words = writeDocument(directory, job);
  words.emplace_back("--compare");
  const ProofResult result = directory.run(words);
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(holds(result.errors, "page 2 with HalftoneType=Tattoo is empty but"))
      << result.errors;
  EXPECT_TRUE(holds(result.errors, "page 2 with HalftoneType=Tattoo_V7 is empty but"));
  EXPECT_FALSE(holds(result.errors, "page 1")) << result.errors;
  EXPECT_FALSE(holds(result.errors, "HalftoneType=None")) << result.errors;
}

}  // namespace
}  // namespace kestra
