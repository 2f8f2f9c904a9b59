// Tests the advice of each warning: facts of a page in, a sentence with the right way out.
// Why: a warning that names the wrong setting costs more paper than none.
#include <gtest/gtest.h>

#include "tools/proof/warnings.h"

namespace kestra::proof {
namespace {

// A page of 100 x 10 pixels, half of them full ink.
PageFacts halfBlack() {
  PageFacts facts;
  facts.content.readable = true;
  facts.content.width = 100;
  facts.content.height = 10;
  facts.content.inkedPixels = 500;
  facts.content.greySum = 500 * 255;
  facts.content.onlyBlackAndWhite = true;
  facts.halftone = "None";
  facts.blackDots = 500;
  facts.headDots = 832;
  return facts;
}

// The only warning about the dots, or nothing.
std::string only(const PageFacts& facts) {
  const std::vector<std::string> warnings = dotWarnings(facts);
  EXPECT_LE(warnings.size(), 1U);
  return warnings.empty() ? "" : warnings[0];
}

bool advises(const PageFacts& facts, const std::string& start, const std::string& advice) {
  const std::string words = only(facts);
  const bool good = words.rfind(start, 0) == 0 && words.find(advice) != std::string::npos;
  EXPECT_TRUE(good) << words;
  return good;
}

TEST(WarningWords, SayNothingOfAPageThatPrintsAsItIs) {
  EXPECT_EQ(only(halfBlack()), "");
  EXPECT_TRUE(sizeWarnings(halfBlack()).empty());
}

TEST(WarningWords, SayNothingOfAPageThatCannotBeRead) {
  PageFacts facts = halfBlack();
  facts.content.readable = false;
  facts.blackDots = 0;
  EXPECT_EQ(only(facts), "");
}

TEST(WarningWords, NameTheSettingThatTookTheInk) {
  PageFacts facts = halfBlack();
  facts.blackDots = 0;
  const std::string start = "has something on it but comes out without any ink";
  EXPECT_TRUE(advises(facts, start, "choose Ordered"));
  facts.halftone = "Ordered";
  EXPECT_TRUE(advises(facts, start, "Brightness above 0"));
  facts.brightness = -50;
  EXPECT_TRUE(advises(facts, start, "Brightness=-50"));
  facts.negative = true;  // with a classic halftone the likelier reason
  EXPECT_TRUE(advises(facts, start, "without NegativeImage"));
  facts.halftone = "Tattoo";
  EXPECT_TRUE(advises(facts, start, "Brightness=-50"));
  facts.brightness = 0;
  facts.halftone = "Tattoo_V7";
  EXPECT_TRUE(advises(facts, start, "choose HalftoneType=None, or Tattoo"));
  facts.content.onlyBlackAndWhite = false;
  EXPECT_TRUE(advises(facts, start, "choose HalftoneType=Tattoo, or Ordered"));
}

TEST(WarningWords, SayNothingOfASolidPageWhoseNegativeIsBlank) {
  PageFacts facts = halfBlack();
  facts.content.inkedPixels = 1000;
  facts.content.greySum = 1000 * 255;
  facts.blackDots = 0;
  facts.negative = true;
  EXPECT_EQ(only(facts), "");
}

TEST(WarningWords, NameTheSettingThatMadeAPageSolid) {
  PageFacts facts = halfBlack();
  facts.blackDots = 1000;
  const std::string start = "comes out solid black";
  EXPECT_TRUE(advises(facts, start, "Brightness below 0"));
  facts.negative = true;
  EXPECT_TRUE(
      advises(facts, start, "NegativeImage prints everything solid with HalftoneType=None"));
  facts.halftone = "Tattoo_V7";
  EXPECT_TRUE(advises(facts, start, "choose HalftoneType=Tattoo"));
  facts.halftone = "Tattoo";
  EXPECT_TRUE(advises(facts, start, "Brightness below 0"));
  facts.brightness = 30;
  EXPECT_TRUE(advises(facts, start, "Brightness=30"));
}

TEST(WarningWords, TakeASkewedPageForSolidWhenAlmostAllOfItIs) {
  PageFacts facts = halfBlack();
  facts.content.width = 101;  // of 1010 pixels
  facts.blackDots = 1005;     // 99.5 per cent are 1004.95
  EXPECT_EQ(only(facts).rfind("comes out solid black", 0), 0U);
  facts.blackDots = 1004;
  EXPECT_EQ(only(facts), "");
}

TEST(WarningWords, TellStrayDotsOfAnEmptyPage) {
  PageFacts facts = halfBlack();
  facts.content.inkedPixels = 0;
  facts.content.greySum = 0;
  facts.halftone = "Tattoo";
  facts.blackDots = 7;
  EXPECT_TRUE(
      advises(facts, "is empty but gets 7 stray dots from HalftoneType=Tattoo", "page-ranges"));
  facts.brightness = 30;
  EXPECT_TRUE(advises(facts, "is empty but gets 7 dots", "Brightness=30"));
  facts.negative = true;  // then dots are what was asked for
  EXPECT_EQ(only(facts), "");
}

TEST(WarningWords, TellAHazeOnBlankPaper) {
  PageFacts facts = halfBlack();  // 500 of 1000 pixels are blank
  facts.halftone = "Tattoo";
  facts.brightness = 5;
  facts.blackDots = 501;
  EXPECT_TRUE(advises(facts, "gets a haze of at least 1 dots on blank paper: Brightness=5",
                      "choose 0 or less"));
  facts.brightness = 0;
  EXPECT_EQ(only(facts), "") << "nothing that a choice could take away";
  // As many dots as places with ink: a photograph has lost some there and got others on the paper.
  facts.brightness = 30;
  facts.blackDots = 500;
  EXPECT_TRUE(
      advises(facts, "may get a haze of dots on blank paper: Brightness=30", "choose 0 or less"));
  facts.content.inkedPixels = 950;  // a twentieth is blank, and not more
  EXPECT_EQ(only(facts), "");
  facts.content.inkedPixels = 500;
  facts.halftone = "None";
  EXPECT_TRUE(advises(facts, "may get a haze", "choose 25 or less"));
  facts.brightness = 25;
  EXPECT_EQ(only(facts), "") << "the threshold leaves blank paper as it is";
  facts.brightness = 30;
  facts.blackDots = 900;
  EXPECT_TRUE(advises(facts, "gets a haze of at least 400 dots", "choose 25 or less"));
  facts.negative = true;
  EXPECT_EQ(only(facts), "");
}

// The only warning about the size, or nothing.
std::string onlySize(const PageFacts& facts) {
  const std::vector<std::string> warnings = sizeWarnings(facts);
  EXPECT_LE(warnings.size(), 1U);
  return warnings.empty() ? "" : warnings[0];
}

TEST(WarningWords, TellAScaledPage) {
  PageFacts facts = halfBlack();  // half a dot of 100 is 0.5 per cent
  facts.scale = 0.9951;
  EXPECT_EQ(onlySize(facts), "");
  facts.scale = 0.994;
  EXPECT_EQ(onlySize(facts),
            "is printed at 99.4 % of its size, because it is larger than the label; -o "
            "print-scaling=none prints the middle of it 1:1, with -o position=top-left its upper "
            "left corner; --crop finds a label on it");
  facts.scale = 2.54;
  facts.scaledBy = "print-scaling=fill";
  EXPECT_EQ(onlySize(facts),
            "is printed at 254 % of its size, as print-scaling=fill asks; -o print-scaling=none in "
            "its place prints it 1:1");
  facts.scale = 0.5;
  facts.scaledBy = "number-up";
  EXPECT_EQ(onlySize(facts), "is printed at 50 % of its size, as number-up asks");
}

TEST(WarningWords, TellASkewedPictureFromASkewedPage) {
  PageFacts facts = halfBlack();
  facts.content.width = 102;
  ASSERT_EQ(sizeWarnings(facts).size(), 1U);
  EXPECT_NE(sizeWarnings(facts)[0].find("custom size in steps of 4 dots"), std::string::npos);
  facts.type = DocumentType::kImage;
  EXPECT_NE(sizeWarnings(facts)[0].find("convert the picture to PDF"), std::string::npos);
  facts.content.inkedPixels = 0;  // nothing there to be skewed
  EXPECT_TRUE(sizeWarnings(facts).empty());
}

TEST(WarningWords, TellWhatIsLostBesideTheHead) {
  PageFacts facts = halfBlack();
  facts.content.width = 840;
  ASSERT_EQ(sizeWarnings(facts).size(), 1U);
  EXPECT_NE(sizeWarnings(facts)[0].find("has 832: the right edge is lost"), std::string::npos);
  facts.overlapping = true;
  EXPECT_NE(sizeWarnings(facts)[0].find("rows overlap"), std::string::npos);
  facts.headDots = 0;
  EXPECT_NE(sizeWarnings(facts)[0].find("has fewer"), std::string::npos);
}

}  // namespace
}  // namespace kestra::proof
