// Tests the conversions of texts and floating-point numbers into integers: a value out of range
// must give the same bytes in the label block on every machine.
#include "filter/base/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace kestra {
namespace {

constexpr std::int32_t kMin32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(TruncateToInt32, GoesTowardZero) {
  EXPECT_EQ(-23, truncateToInt32(-23.98));
  EXPECT_EQ(23, truncateToInt32(23.98));
  EXPECT_EQ(0, truncateToInt32(-0.9));
  EXPECT_EQ(0, truncateToInt32(0.0));
}

TEST(TruncateToInt32, KeepsEveryValueOfTheRange) {
  EXPECT_EQ(2147483647, truncateToInt32(2147483647.0));
  EXPECT_EQ(2147483647, truncateToInt32(2147483647.9));
  EXPECT_EQ(kMin32, truncateToInt32(-2147483648.0));
  EXPECT_EQ(-2147483647, truncateToInt32(-2147483647.9));
}

TEST(TruncateToInt32, GivesTheSmallestNumberForWhatDoesNotFit) {
  for (const double value : {2147483648.0, -2147483649.0, 1e300, kInf, -kInf, kNan}) {
    EXPECT_EQ(kMin32, truncateToInt32(value)) << value;
  }
}

TEST(TruncateToInt64, CoversWhatFitsIn64Bits) {
  EXPECT_EQ(10000000000, truncateToInt64(10000000000.75));
  EXPECT_EQ(-812, truncateToInt64(-812.99));
  // 2^63 - 1024 is the largest double below 2^63.
  EXPECT_EQ(9223372036854774784, truncateToInt64(9223372036854774784.0));
  EXPECT_EQ(kMin64, truncateToInt64(-9223372036854775808.0));
}

TEST(TruncateToInt64, GivesTheSmallestNumberForWhatDoesNotFit) {
  EXPECT_EQ(kMin64, truncateToInt64(9223372036854775808.0));
  EXPECT_EQ(kMin64, truncateToInt64(-1e19));
  EXPECT_EQ(kMin64, truncateToInt64(kInf));
  EXPECT_EQ(kMin64, truncateToInt64(kNan));
}

TEST(TruncateToUint16, KeepsTheLow16BitsOfTheTruncatedNumber) {
  EXPECT_EQ(0xFFE9, truncateToUint16(-23.98));  // -23 = 0xFFFFFFE9
  EXPECT_EQ(812, truncateToUint16(812.99));
  EXPECT_EQ(65535, truncateToUint16(65535.5));
  EXPECT_EQ(0, truncateToUint16(65536.0));
  EXPECT_EQ(4464, truncateToUint16(70000.0));  // 70000 - 65536
}

TEST(TruncateToUint16, IsZeroForWhatFitsNoInt32) {
  // -2147483648 = 0x80000000, whose low 16 bits are 0.
  EXPECT_EQ(0, truncateToUint16(kNan));
  EXPECT_EQ(0, truncateToUint16(kInf));
  EXPECT_EQ(0, truncateToUint16(4294967297.0));
}

TEST(TruncateToUint8, KeepsTheLow8BitsOfTheTruncatedNumber) {
  EXPECT_EQ(255, truncateToUint8(255.99));
  EXPECT_EQ(0, truncateToUint8(256.0));
  EXPECT_EQ(255, truncateToUint8(-1.5));
  EXPECT_EQ(0, truncateToUint8(kNan));
  EXPECT_EQ(0, truncateToUint8(kInf));
}

TEST(ToFloat, RoundsToSinglePrecision) {
  // 101.6 lies between two floats 2^-17 apart; 13316915 * 2^-17 is the nearer one.
  EXPECT_EQ(13316915.0F / 131072.0F, toFloat(101.6));
  EXPECT_EQ(std::numeric_limits<float>::infinity(), toFloat(kInf));
}

TEST(ToFloat, GivesThePositiveNanForEveryNan) {
  EXPECT_TRUE(std::isnan(toFloat(kNan)));
  EXPECT_FALSE(std::signbit(toFloat(kNan)));
  EXPECT_FALSE(std::signbit(toFloat(-kNan)));
}

void expectNumbers(const std::vector<std::pair<const char*, std::int32_t>>& texts) {
  for (const auto& [text, number] : texts) EXPECT_EQ(number, textToInt32(text)) << text;
}

TEST(TextToInt32, ReadsASignAndDigitsAfterBlanks) {
  expectNumbers({{"42", 42}, {"+42", 42}, {"-42", -42}, {" \t\n\v\f\r7", 7}});
  expectNumbers({{"12mm", 12}, {"12.9", 12}, {"0009", 9}});
}

TEST(TextToInt32, IsZeroWithoutANumberAtTheStart) {
  for (const char* text : {"", "abc", "- 5", "+-5", "-", "0x10", "a5"}) {
    EXPECT_EQ(0, textToInt32(text)) << text;
  }
}

TEST(TextToInt32, CutsLargeNumbersTo32Bits) {
  expectNumbers({{"2147483647", 2147483647}, {"2147483648", kMin32}, {"4294967295", -1}});
  expectNumbers({{"4294967296", 0}, {"4294967297", 1}, {"-2147483649", 2147483647}});
}

TEST(TextToInt32, SaturatesAt64BitsBeforeItCuts) {
  // 2^63 - 1 = 0x7FFFFFFFFFFFFFFF, low half -1; -2^63 = 0x8000000000000000, low half 0.
  for (const char* text : {"9223372036854775807", "9223372036854775808", "9223372036854775810",
                           "99999999999999999999"}) {
    EXPECT_EQ(-1, textToInt32(text)) << text;
  }
  for (const char* text : {"-9223372036854775808", "-9223372036854775809", "-9223372036854775810",
                           "-99999999999999999999"}) {
    EXPECT_EQ(0, textToInt32(text)) << text;
  }
  EXPECT_EQ(1, textToInt32("-9223372036854775807"));
}

TEST(TextToInt32, StopsAtAZeroByteAndAtTheEndOfTheText) {
  EXPECT_EQ(12, textToInt32(std::string_view("12\00034", 5)));
  const char field[3] = {'1', '2', '3'};  // a full field, no end behind it
  EXPECT_EQ(123, textToInt32(std::string_view(field, 3)));
  EXPECT_EQ(12, textToInt32(std::string_view(field, 2)));
}

}  // namespace
}  // namespace kestra
