// Proves that a result is either a value or a reason.
#include "filter/base/result.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace kestra {
namespace {

Result<std::string> sizeNamed(bool isKnown) {
  if (!isKnown) return Problem{"there is no such size"};
  return std::string();
}

Result<void> printed(bool isPaperThere) {
  if (!isPaperThere) return Problem{"the paper is out"};
  return {};
}

TEST(Result, IsAValueAlsoWhereTheValueIsEmpty) {
  const auto size = sizeNamed(true);
  ASSERT_TRUE(size);
  EXPECT_EQ("", *size);
  EXPECT_TRUE(size->empty());
  EXPECT_EQ("", size.problem());
}

TEST(Result, SaysWhyThereIsNoValue) {
  const auto size = sizeNamed(false);
  EXPECT_FALSE(size);
  EXPECT_EQ("there is no such size", size.problem());
}

TEST(Result, HandsAValueOverThatCannotBeCopied) {
  Result<std::unique_ptr<int>> result = std::make_unique<int>(7);
  ASSERT_TRUE(result);
  const std::unique_ptr<int> taken = std::move(*result);
  EXPECT_EQ(7, *taken);
}

TEST(Result, OfAFunctionWithoutAValueIsDoneOrSaysWhyNot) {
  EXPECT_TRUE(printed(true));
  EXPECT_EQ("", printed(true).problem());
  EXPECT_FALSE(printed(false));
  EXPECT_EQ("the paper is out", printed(false).problem());
}

}  // namespace
}  // namespace kestra
