// Makes words of strangers fit for a log line.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace kestra::delivery {

/// The text with a blank for every control character: nothing in it can begin a line of its own.
[[nodiscard]] inline std::string printable(std::string_view text) {
  std::string result(text);
  std::replace_if(
      result.begin(), result.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
  return result;
}

}  // namespace kestra::delivery
