// Where a text or a floating-point number from outside becomes an integer: a page size or a
// setting out of range must give the same bytes on every machine, whatever its processor does.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>

namespace kestra {

// A resolution of 0 divides by zero and a huge PPD value overflows single precision: both are
// infinities, defined by the floating-point standard that every supported processor follows.
static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559,
              "page lengths rely on IEEE 754 arithmetic");

inline constexpr double kMillimetresPerInch = 25.4;
inline constexpr float kPointsPerInch = 72.0F;

/// Truncates toward zero (-23.98 dots are -23). NaN and values outside the 32-bit range give
/// -2147483648.
inline std::int32_t truncateToInt32(double value) {
  // Both bounds are exact doubles; the comparison is false for NaN.
  if (!(value > -2147483649.0 && value < 2147483648.0)) {
    return std::numeric_limits<std::int32_t>::min();
  }
  return static_cast<std::int32_t>(value);
}

/// The same for the one 64-bit length, the print width: NaN and values outside the 64-bit range
/// give the smallest 64-bit number.
inline std::int64_t truncateToInt64(double value) {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (!(value >= -kTwoTo63 && value < kTwoTo63)) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

/// Truncates as `truncateToInt32`, then keeps the low 16 bits: -23.98 gives 0xFFE9.
inline std::uint16_t truncateToUint16(double value) {
  return static_cast<std::uint16_t>(truncateToInt32(value) & 0xFFFF);
}

/// Truncates as `truncateToInt32`, then keeps the low 8 bits.
inline std::uint8_t truncateToUint8(double value) {
  return static_cast<std::uint8_t>(truncateToInt32(value) & 0xFF);
}

/// Rounds to single precision; every NaN becomes the positive quiet one, so that a log line shows
/// "nan" on every processor.
inline float toFloat(double value) {
  return std::isnan(value) ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(value);
}

/// Decimal integer at the start of a text: leading blanks, a sign, digits; 0 where there are none.
/// The digits saturate at 64 bits and the result is then cut to 32: "2147483648" gives -2147483648,
/// twenty digits give -1.
/// @param text  up to its first zero byte, or its end
std::int32_t textToInt32(std::string_view text);

}  // namespace kestra
