// Tests the text helpers: the base name shown in the usage text, and the copy that keeps the fixed
// fields of the settings record ended.
#include "filter/base/text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace kestra {
namespace {

TEST(PathBasename, IsWhatFollowsTheLastSeparatorOfEitherKind) {
  EXPECT_STREQ("c", wrenPathGetBasename("a/b\\c"));
  EXPECT_STREQ("c", wrenPathGetBasename("a\\b/c"));
  EXPECT_STREQ("filter", wrenPathGetBasename("/usr/lib/cups/filter"));
  EXPECT_STREQ("x.exe", wrenPathGetBasename("C:\\x.exe"));
}

TEST(PathBasename, IsTheWholeTextWithoutASeparator) {
  EXPECT_STREQ("abc", wrenPathGetBasename("abc"));
  EXPECT_STREQ("", wrenPathGetBasename(""));
}

TEST(PathBasename, IsEmptyAfterASeparatorAtTheEnd) {
  EXPECT_STREQ("", wrenPathGetBasename("a/b/"));
  EXPECT_STREQ("", wrenPathGetBasename("a/b\\"));
  EXPECT_STREQ("", wrenPathGetBasename("/"));
}

TEST(PathBasename, OfNoPathIsNone) { EXPECT_EQ(nullptr, wrenPathGetBasename(nullptr)); }

TEST(PathBasename, PointsIntoTheGivenText) {
  const char path[] = "ab/cd";
  EXPECT_EQ(path + 3, wrenPathGetBasename(path));
  EXPECT_EQ(path + 3, wrenPathGetBasename(path + 3));
}

/// What a field of five bytes between two guards holds after the copy.
std::string copied(const char* source) {
  struct {
    char before = '<', field[5] = {'#', '#', '#', '#', '#'}, after = '>';
  } guarded;
  EXPECT_EQ(guarded.field, wrenStrCpy(guarded.field, source, sizeof guarded.field));
  EXPECT_TRUE(guarded.before == '<' && guarded.after == '>');
  return std::string(guarded.field, sizeof guarded.field);
}

TEST(BoundedCopy, FillsTheRestOfAFieldWithZeroBytes) {
  EXPECT_EQ(std::string("ab\0\0\0", 5), copied("ab"));
}

TEST(BoundedCopy, DropsTheLastCharacterOfATextAsLongAsTheField) {
  EXPECT_EQ(std::string("abcd\0", 5), copied("abcde"));
}

TEST(BoundedCopy, KeepsATextOneShorterThanTheFieldWhole) {
  EXPECT_EQ(std::string("abcd\0", 5), copied("abcd"));
}

TEST(BoundedCopy, CutsALongText) {
  EXPECT_EQ(std::string("abcd\0", 5), copied("abcdefghijklmnop"));
}

TEST(BoundedCopy, LeavesAnEmptyTextInAFieldOfOneByte) {
  char field[2] = {'#', '>'};
  wrenStrCpy(field, "abc", 1);
  EXPECT_EQ('\0', field[0]);
  EXPECT_EQ('>', field[1]);
}

TEST(BoundedCopy, ReadsNoMoreThanTheFieldHolds) {
  // A source without an end, five bytes in all: reading a sixth would be outside of it.
  const char source[5] = {'a', 'b', 'c', 'd', 'e'};
  EXPECT_EQ(std::string("abcd\0", 5), copied(source));
}

}  // namespace
}  // namespace kestra
