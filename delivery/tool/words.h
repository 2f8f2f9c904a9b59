// Turns what programs know into what a person reads, and strangers' texts into harmless ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kestra::delivery {

/// A text that moves no cursor and hides nothing: bytes that are no UTF-8, control characters and
/// those that turn the direction of writing become '?'. Cut behind `most` characters, with "...".
[[nodiscard]] std::string harmless(const std::string& text, std::size_t most = 80);

/// A harmless text, uncut, in JSON's quotes.
[[nodiscard]] std::string jsonText(const std::string& text);

/// "1 label", "3 labels".
[[nodiscard]] std::string counted(std::size_t count, const std::string& thing);

/// "label 3", "labels 3 and 4", "labels 3 to 7, 9 and 12"; the numbers rise.
[[nodiscard]] std::string labelWords(const std::vector<std::size_t>& numbers);

/// "just now", "5 minutes ago", "2 days ago".
[[nodiscard]] std::string agoWords(long long seconds);

/// "812 bytes", "124 KB", "3 MB"; rounded to the nearest.
[[nodiscard]] std::string sizeWords(std::uint64_t bytes);

/// Local date and time, "2026-11-22 04:05:06".
[[nodiscard]] std::string dateWords(long long seconds);

/// A line for the print system as a person reads it; empty where a person need not see it.
/// @param isVerbose  every line is to be seen
[[nodiscard]] std::string spokenLine(const std::string& line, bool isVerbose);

}  // namespace kestra::delivery
