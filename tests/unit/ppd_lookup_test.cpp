// Tests the look-ups in a printer description: every setting of a job comes through them, with a
// default for what the description does not know.
#include "filter/base/ppd_lookup.h"

#include <gtest/gtest.h>

#include "tests/unit/open_ppd.h"
#include "tests/unit/spool_test.h"

namespace kestra {
namespace {

class PpdLookup : public SpoolTest {};

PpdText darkness() {
  return PpdText().setOption("Darkness", "Middle", {"Light", "Middle", "Dark"});
}

TEST_F(PpdLookup, FindsNothingInANullDescription) {
  EXPECT_EQ(nullptr, wrenPpdGetChoice(nullptr, "Darkness"));
  EXPECT_STREQ("fallback", wrenPpdGetChoiceAsStrDefault(nullptr, "Darkness", "fallback"));
  EXPECT_EQ(-5, wrenPpdGetChoiceAsIntDefault(nullptr, "Darkness", -5));
  EXPECT_TRUE(wrenPpdGetChoiceAsBoolDefault(nullptr, "Darkness", true));
  EXPECT_FALSE(wrenPpdGetChoiceAsBoolDefault(nullptr, "Darkness", false));
  EXPECT_STREQ("fallback", wrenPpdGetAttrAsStrDefault(nullptr, "Name", nullptr, "fallback"));
  EXPECT_EQ(2.5, wrenPpdGetAttrAsFloatDefault(nullptr, "Name", nullptr, 2.5));
}

TEST_F(PpdLookup, TakesTheMarkedChoiceFirst) {
  const OpenPpd ppd(darkness());
  ppdMarkDefaults(ppd.get());
  ppdMarkOption(ppd.get(), "Darkness", "Dark");
  EXPECT_STREQ("Dark", wrenPpdGetChoice(ppd.get(), "Darkness")->choice);
  EXPECT_STREQ("Dark", wrenPpdGetChoiceAsStrDefault(ppd.get(), "Darkness", ""));
}

TEST_F(PpdLookup, TakesTheDefaultChoiceWhereNothingIsMarked) {
  const OpenPpd ppd(darkness());
  ASSERT_EQ(nullptr, ppdFindMarkedChoice(ppd.get(), "Darkness"));
  EXPECT_STREQ("Middle", wrenPpdGetChoiceAsStrDefault(ppd.get(), "Darkness", ""));
}

TEST_F(PpdLookup, GivesTheCallersDefaultForAnUnknownOption) {
  const OpenPpd ppd(darkness());
  EXPECT_EQ(nullptr, wrenPpdGetChoice(ppd.get(), "Lightness"));
  EXPECT_STREQ("", wrenPpdGetChoiceAsStrDefault(ppd.get(), "Lightness", ""));
  EXPECT_EQ(7, wrenPpdGetChoiceAsIntDefault(ppd.get(), "Lightness", 7));
}

TEST_F(PpdLookup, GivesTheCallersDefaultWhereTheDefaultChoiceDoesNotExist) {
  const OpenPpd ppd(PpdText().setOption("Darkness", "Black", {"Light", "Dark"}));
  EXPECT_EQ(nullptr, wrenPpdGetChoice(ppd.get(), "Darkness"));
  EXPECT_STREQ("x", wrenPpdGetChoiceAsStrDefault(ppd.get(), "Darkness", "x"));
}

TEST_F(PpdLookup, GivesTheCallersDefaultChoice) {
  const OpenPpd ppd(darkness());
  ppd_choice_t fallback{};
  EXPECT_EQ(&fallback, wrenPpdGetChoice(ppd.get(), "Lightness", &fallback));
  EXPECT_EQ(&fallback, wrenPpdGetChoice(nullptr, "Darkness", &fallback));
  EXPECT_STREQ("Middle", wrenPpdGetChoice(ppd.get(), "Darkness", &fallback)->choice);
}

TEST_F(PpdLookup, GivesTheDescriptionsOwnSpellingOfAChoice) {
  const OpenPpd ppd(darkness());
  ppdMarkOption(ppd.get(), "darkness", "dark");
  EXPECT_STREQ("Dark", wrenPpdGetChoiceAsStrDefault(ppd.get(), "Darkness", ""));
}

std::int32_t intOf(const std::string& choice) {
  const OpenPpd ppd(PpdText().setOption("GapsHeight", choice, {choice}));
  return wrenPpdGetChoiceAsIntDefault(ppd.get(), "GapsHeight", 99);
}

TEST_F(PpdLookup, ReadsIntegersFromTheStartOfAChoice) {
  EXPECT_EQ(3, intOf("3"));
  EXPECT_EQ(-20, intOf("-20"));
  EXPECT_EQ(12, intOf("12mm"));
  EXPECT_EQ(0, intOf("none"));  // a choice that is no number is 0, not the default
}

bool boolOf(const std::string& choice) {
  const OpenPpd ppd(PpdText().setOption("MirrorImage", choice, {choice}));
  const bool value = wrenPpdGetChoiceAsBoolDefault(ppd.get(), "MirrorImage", false);
  // A choice that was found decides alone: the default must make no difference.
  EXPECT_EQ(value, wrenPpdGetChoiceAsBoolDefault(ppd.get(), "MirrorImage", true));
  return value;
}

TEST_F(PpdLookup, ReadsTheWordsForTrueAndFalseInAnyCase) {
  for (const char* word : {"true", "True", "TRUE", "yes", "Yes", "YES", "yEs"}) {
    EXPECT_TRUE(boolOf(word)) << word;
  }
  for (const char* word : {"false", "False", "FALSE", "no", "No", "NO"}) {
    EXPECT_FALSE(boolOf(word)) << word;
  }
}

TEST_F(PpdLookup, ReadsOtherTruthValuesAsTheLow8BitsOfANumber) {
  for (const char* word : {"1", "2", "255", "-1", "257"}) EXPECT_TRUE(boolOf(word)) << word;
  for (const char* word : {"0", "256", "65536"}) EXPECT_FALSE(boolOf(word)) << word;
  // No number, and "on" is no word for true here.
  for (const char* word : {"maybe", "on"}) EXPECT_FALSE(boolOf(word)) << word;
}

TEST_F(PpdLookup, FindsAttributesWithAndWithoutASpecifier) {
  const OpenPpd ppd(PpdText(),
                    "*testAttr first/First: \"one\"\n*testAttr second/Second: \"two\"\n");
  EXPECT_STREQ("288", wrenPpdGetAttrAsStrDefault(ppd.get(), "MaxMediaWidth", nullptr, ""));
  EXPECT_STREQ("two", wrenPpdGetAttrAsStrDefault(ppd.get(), "testAttr", "second", ""));
  EXPECT_STREQ("one", wrenPpdGetAttrAsStrDefault(ppd.get(), "testAttr", nullptr, ""));
  EXPECT_STREQ("-", wrenPpdGetAttrAsStrDefault(ppd.get(), "testAttr", "third", "-"));
  EXPECT_STREQ("-", wrenPpdGetAttrAsStrDefault(ppd.get(), "noAttr", nullptr, "-"));
}

TEST_F(PpdLookup, GivesTheDefaultForAnAttributeWithoutAValue) {
  const OpenPpd ppd(PpdText(), "*testAttr: \"3.5\"\n");
  ppd_attr_t* attribute = ppdFindAttr(ppd.get(), "testAttr", nullptr);
  ASSERT_NE(nullptr, attribute);
  char* const value = attribute->value;
  attribute->value = nullptr;
  EXPECT_STREQ("-", wrenPpdGetAttrAsStrDefault(ppd.get(), "testAttr", nullptr, "-"));
  EXPECT_EQ(1.25, wrenPpdGetAttrAsFloatDefault(ppd.get(), "testAttr", nullptr, 1.25));
  attribute->value = value;  // the description frees it
  EXPECT_EQ(3.5, wrenPpdGetAttrAsFloatDefault(ppd.get(), "testAttr", nullptr, 1.25));
}

TEST_F(PpdLookup, ReadsAttributesAsDecimalNumbers) {
  const OpenPpd ppd(PpdText(), "*a: \"288\"\n*b: \"294.75\"\n*c: \"wide\"\n*d: \"-2\"\n");
  EXPECT_EQ(288.0, wrenPpdGetAttrAsFloatDefault(ppd.get(), "a", nullptr, 1.0));
  EXPECT_EQ(294.75, wrenPpdGetAttrAsFloatDefault(ppd.get(), "b", nullptr, 1.0));
  EXPECT_EQ(0.0, wrenPpdGetAttrAsFloatDefault(ppd.get(), "c", nullptr, 1.0));
  EXPECT_EQ(-2.0, wrenPpdGetAttrAsFloatDefault(ppd.get(), "d", nullptr, 1.0));
  EXPECT_EQ(1.0, wrenPpdGetAttrAsFloatDefault(ppd.get(), "e", nullptr, 1.0));
}

}  // namespace
}  // namespace kestra
