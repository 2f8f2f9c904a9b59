// Tests the names of the halftone methods: they are the choice texts that a person picks.
#include "filter/base/halftone_type.h"

#include <gtest/gtest.h>

namespace kestra {
namespace {

struct NamedMethod {
  int value;
  const char* name;
};
constexpr NamedMethod kMethods[] = {
    {0, "None"},   {1, "FloydSteinberg"},    {2, "Ordered"}, {3, "Burkes"},
    {4, "Stucki"}, {5, "JarvisJudiceNinke"}, {6, "Sierra"},  {7, "StevensonArce"},
    {8, "Tattoo"}, {9, "Tattoo_V7"}};

TEST(HalftoneType, NamesAndValuesBelongTogetherInBothDirections) {
  for (const NamedMethod& method : kMethods) {
    EXPECT_STREQ(method.name, wrenHalftoneTypeToStr(static_cast<DitherType>(method.value)));
    EXPECT_EQ(method.value, static_cast<int>(wrenHalftoneTypeFromStr(method.name)));
  }
}

TEST(HalftoneType, NamesAreCaseSensitive) {
  EXPECT_EQ(DitherType::None, wrenHalftoneTypeFromStr("tattoo"));
  EXPECT_EQ(DitherType::None, wrenHalftoneTypeFromStr("TATTOO_V7"));
  EXPECT_EQ(DitherType::None, wrenHalftoneTypeFromStr("burkes"));
}

TEST(HalftoneType, UnknownNamesMeanNoHalftoning) {
  EXPECT_EQ(DitherType::None, wrenHalftoneTypeFromStr(""));
  EXPECT_EQ(DitherType::None, wrenHalftoneTypeFromStr("Tattoo_V"));
  EXPECT_EQ(DitherType::None, wrenHalftoneTypeFromStr("Tattoo_V77"));
  EXPECT_EQ(DitherType::None, wrenHalftoneTypeFromStr(" Tattoo"));
  EXPECT_EQ(DitherType::None, wrenHalftoneTypeFromStr("8"));
}

TEST(HalftoneType, ValuesFromTenOnAreCalledNone) {
  EXPECT_STREQ("None", wrenHalftoneTypeToStr(static_cast<DitherType>(10)));
  EXPECT_STREQ("None", wrenHalftoneTypeToStr(static_cast<DitherType>(11)));
  EXPECT_STREQ("None", wrenHalftoneTypeToStr(static_cast<DitherType>(2147483647)));
}

TEST(HalftoneType, NegativeValuesHaveANameToo) {
  EXPECT_STREQ("None", wrenHalftoneTypeToStr(static_cast<DitherType>(-1)));
}

}  // namespace
}  // namespace kestra
