// Tests the names of the halftone methods: they are the choice texts that a person picks.
#include "filter/base/halftone_type.h"

#include <gtest/gtest.h>

namespace kestra {
namespace {

constexpr const char* kNames[] = {"None",   "FloydSteinberg",    "Ordered", "Burkes",
                                  "Stucki", "JarvisJudiceNinke", "Sierra",  "StevensonArce",
                                  "Tattoo", "Tattoo_V7"};

TEST(HalftoneType, NamesAndValuesBelongTogetherInBothDirections) {
  for (int value = 0; value < 10; ++value) {
    EXPECT_STREQ(kNames[value], wrenHalftoneTypeToStr(static_cast<DitherType>(value)));
    EXPECT_EQ(value, static_cast<int>(wrenHalftoneTypeFromStr(kNames[value])));
  }
}

TEST(HalftoneType, NamesAreCaseSensitive) {
  for (const char* name : {"tattoo", "TATTOO_V7", "burkes"}) {
    EXPECT_EQ(DitherType::None, wrenHalftoneTypeFromStr(name)) << name;
  }
}

TEST(HalftoneType, UnknownNamesMeanNoHalftoning) {
  for (const char* name : {"", "Tattoo_V", "Tattoo_V77", " Tattoo", "8"}) {
    EXPECT_EQ(DitherType::None, wrenHalftoneTypeFromStr(name)) << name;
  }
}

TEST(HalftoneType, ValuesFromTenOnAreCalledNone) {
  for (const int value : {10, 11, 2147483647}) {
    EXPECT_STREQ("None", wrenHalftoneTypeToStr(static_cast<DitherType>(value))) << value;
  }
}

TEST(HalftoneType, NegativeValuesHaveANameToo) {
  EXPECT_STREQ("None", wrenHalftoneTypeToStr(static_cast<DitherType>(-1)));
}

}  // namespace
}  // namespace kestra
