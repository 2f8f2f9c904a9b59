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
