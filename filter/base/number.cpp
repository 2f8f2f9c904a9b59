// Reads decimal numbers out of option texts and job ids with one rule for values that do not fit.
#include "filter/base/number.h"

#include <cstddef>

namespace kestra {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

}  // namespace

std::int32_t textToInt32(std::string_view text) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

  std::size_t i = 0;
  while (i < text.size() && isBlank(text[i])) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';

  // Counted downward, because the negative range reaches one further.
  std::int64_t value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    const std::int64_t digit = text[i] - '0';
    value = value < (kMin + digit) / 10 ? kMin : value * 10 - digit;
  }
  if (!negative) value = value == kMin ? kMax : -value;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(value & 0xFFFFFFFF));
}

}  // namespace kestra
