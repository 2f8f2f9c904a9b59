// What names of page sizes measure.
// Why: each system that prints has its own spelling, and a wrong reading is a wrong label.
#include "tools/size/page_measure.h"

#include <gtest/gtest.h>

namespace kestra {
namespace {

// "width x height" in hundredths of a millimetre, or "none".
std::string measured(const std::string& name) {
  const auto measure = measureOfName(name);
  if (!measure) return "none";
  return std::to_string(measure->width) + " x " + std::to_string(measure->height);
}

TEST(MeasureOfName, ReadsMillimetresAndInches) {
  EXPECT_EQ(measured("100x50mm"), "10000 x 5000");
  EXPECT_EQ(measured("10x5cm"), "10000 x 5000");
  EXPECT_EQ(measured("50.11x30mm"), "5011 x 3000");
  EXPECT_EQ(measured("4x6in"), "10160 x 15240");
  EXPECT_EQ(measured("4x6"), "10160 x 15240");      // inches, as other systems write them
  EXPECT_EQ(measured("1.25x2.25"), "3175 x 5715");  // 1.25 x 25.4 = 31.75
}

TEST(MeasureOfName, ReadsSizesWithoutMargins) {
  EXPECT_EQ(measured("4x4.Borderless"), "10160 x 10160");
  EXPECT_EQ(measured("50.11x30mm.Borderless"), "5011 x 3000");
  EXPECT_EQ(measured("A4.Borderless"), "21000 x 29700");
}

TEST(MeasureOfName, ReadsTheNamesOfInternetPrinting) {
  EXPECT_EQ(measured("custom_60x40mm_60x40mm"), "6000 x 4000");
  EXPECT_EQ(measured("custom_70.07x40mm_70.07x40mm"), "7007 x 4000");
  EXPECT_EQ(measured("om_small-photo_100x150mm"), "10000 x 15000");
  EXPECT_EQ(measured("na_index-4x6_4x6in"), "10160 x 15240");
  EXPECT_EQ(measured("iso_a6_105x148mm"), "10500 x 14800");
}

TEST(MeasureOfName, ReadsCustomSizesAndStandardPapers) {
  EXPECT_EQ(measured("Custom.70.07x40mm"), "7007 x 4000");
  EXPECT_EQ(measured("Custom.144x72"), "5080 x 2540");  // points: 2 x 1 inch
  EXPECT_EQ(measured("A4"), "21000 x 29700");
  EXPECT_EQ(measured("iso-a4"), "21000 x 29700");
}

TEST(MeasureOfName, FindsNoneInOtherWords) {
  for (const char* name :
       {"", "foo", "w283h142", "Tattoo_A5", "Custom.WIDTHxHEIGHT", "100x", "x"}) {
    EXPECT_EQ(measured(name), "none") << name;
  }
}

TEST(PageMeasure, IsWrittenWithTheDecimalsThatCount) {
  EXPECT_EQ(customSize({7007, 4000}), "Custom.70.07x40mm");
  EXPECT_EQ(customSize({10160, 15240}), "Custom.101.6x152.4mm");
  EXPECT_EQ(customSize({10000, 5}), "Custom.100x0.05mm");
  EXPECT_EQ(measureWords({21000, 29700}), "210 x 297 mm");
  EXPECT_EQ(measureWords({5011, 3010}), "50.11 x 30.1 mm");
}

TEST(PageMeasure, IsNearAnotherWhereBothSidesAre) {
  EXPECT_TRUE(isNear({10000, 5000}, {10050, 4950}, 50));
  EXPECT_FALSE(isNear({10000, 5000}, {10051, 5000}, 50));
  EXPECT_FALSE(isNear({10000, 5000}, {10000, 4949}, 50));
}

}  // namespace
}  // namespace kestra
