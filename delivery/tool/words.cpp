// Titles and queues are named by whoever prints: none of their bytes reaches a terminal unseen.
#include "delivery/tool/words.h"

#include <array>
#include <ctime>
#include <utility>

namespace kestra::delivery {
namespace {

// Length of the UTF-8 character at the start of a text and its number; length 0 where it is none.
struct Character {
  std::size_t bytes = 0;
  std::uint32_t number = 0;
};

Character characterAt(const std::string& text, std::size_t at) {
  const auto first = static_cast<unsigned char>(text[at]);
  if (first < 0x80) return {1, first};
  struct Form {
    unsigned mask, mark;
    std::size_t bytes;
    std::uint32_t smallest;
  };
  for (const Form& form :
       {Form{0xE0, 0xC0, 2, 0x80}, Form{0xF0, 0xE0, 3, 0x800}, Form{0xF8, 0xF0, 4, 0x10000}}) {
    if ((first & form.mask) != form.mark) continue;
    if (at + form.bytes > text.size()) return {};
    std::uint32_t number = first & ~form.mask & 0xFFU;
    for (std::size_t i = 1; i < form.bytes; ++i) {
      const auto next = static_cast<unsigned char>(text[at + i]);
      if ((next & 0xC0U) != 0x80U) return {};
      number = number << 6 | (next & 0x3FU);
    }
    const bool isSurrogate = number >= 0xD800 && number <= 0xDFFF;
    if (number < form.smallest || number > 0x10FFFF || isSurrogate) return {};
    return {form.bytes, number};
  }
  return {};
}

bool isHarmless(std::uint32_t c) {
  const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0);
  const bool turnsOrHides = (c >= 0x200B && c <= 0x200F) || (c >= 0x2028 && c <= 0x202E) ||
                            (c >= 0x2060 && c <= 0x206F) || c == 0x61C || c == 0xFEFF ||
                            (c >= 0xFFF9 && c <= 0xFFFB) || c >= 0xE0000;
  return !isControl && !turnsOrHides;
}

}  // namespace

std::string harmless(const std::string& text, std::size_t most) {
  std::string result;
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size(); ++count) {
    if (count == most) return result + "...";
    const Character one = characterAt(text, at);
    const std::size_t bytes = one.bytes == 0 ? 1 : one.bytes;
    const bool isShown = one.bytes > 0 && isHarmless(one.number);
    result += isShown ? text.substr(at, bytes) : "?";
    at += bytes;
  }
  return result;
}

std::string jsonText(const std::string& text) {
  std::string result = "\"";
  for (const char c : harmless(text, text.size())) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + "\"";
}

std::string counted(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string labelWords(const std::vector<std::size_t>& numbers) {
  std::vector<std::string> runs;
  for (std::size_t i = 0; i < numbers.size();) {
    std::size_t last = i;
    while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) ++last;
    // Two in a row read better one by one.
    if (last == i + 1) last = i;
    runs.push_back(std::to_string(numbers[i]) +
                   (last > i ? " to " + std::to_string(numbers[last]) : ""));
    i = last + 1;
  }
  std::string words = numbers.size() == 1 ? "label " : "labels ";
  for (std::size_t i = 0; i < runs.size(); ++i) {
    if (i > 0) words += i + 1 == runs.size() ? " and " : ", ";
    words += runs[i];
  }
  return words;
}

std::string agoWords(long long seconds) {
  constexpr long long kMinute = 60, kHour = 60 * kMinute, kDay = 24 * kHour;
  // A clock may have been set back meanwhile.
  if (seconds < kMinute) return "just now";
  const auto ago = [seconds](long long unit, const char* name) {
    return counted(static_cast<std::size_t>(seconds / unit), name) + " ago";
  };
  if (seconds < kHour) return ago(kMinute, "minute");
  return seconds < kDay ? ago(kHour, "hour") : ago(kDay, "day");
}

std::string sizeWords(std::uint64_t bytes) {
  constexpr std::uint64_t kKilo = 1024, kMega = kKilo * kKilo;
  if (bytes < kKilo) return counted(bytes, "byte");
  if (bytes < kMega - kKilo / 2) return std::to_string((bytes + kKilo / 2) / kKilo) + " KB";
  return std::to_string(bytes / kMega + (bytes % kMega >= kMega / 2 ? 1 : 0)) + " MB";
}

std::string dateWords(long long seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  std::tm local = {};
  std::array<char, 64> text = {};
  if (localtime_r(&time, &local) == nullptr ||
      std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local) == 0) {
    return "at an unknown time";
  }
  return text.data();
}

std::string spokenLine(const std::string& line, bool isVerbose) {
  static const std::array<std::pair<const char*, const char*>, 4> kSpoken = {
      {{"INFO: ", ""}, {"NOTICE: ", ""}, {"WARNING: ", "Warning: "}, {"ERROR: ", "Error: "}}};
  const std::string shown = harmless(line, 2000);
  for (const auto& [prefix, words] : kSpoken) {
    if (shown.rfind(prefix, 0) == 0) return words + shown.substr(std::string(prefix).size());
  }
  return isVerbose ? shown : "";
}

}  // namespace kestra::delivery
