// What a program of the print system writes to its log: lines to be passed on, and the bytes that
// it says it has written to the printer.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace kestra::delivery {

/// The line as it may be passed on: without control characters, at most 2,000 bytes, and as DEBUG
/// where it does not begin with a word of the print system. Nothing for empty lines, and for PAGE:
/// labels are counted by us alone.
[[nodiscard]] std::optional<std::string> relayed(std::string_view line);

/// The number in "DEBUG: Wrote N bytes of print data...".
[[nodiscard]] std::optional<std::uint64_t> bytesWritten(std::string_view line);

/// Cuts a stream into lines; of one that never ends the rest is passed over.
class LineCutter {
 public:
  void add(std::string_view text, const std::function<void(const std::string&)>& onLine);

 private:
  std::string line_;
};

}  // namespace kestra::delivery
