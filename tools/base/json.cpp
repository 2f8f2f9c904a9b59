// Escapes texts and keeps track of commas.
//
// The text goes out piece by piece, so a document of a thousand pages is never held whole.
#include "tools/base/json.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace kestra {
namespace {

constexpr const char* kReplacement = "\xEF\xBF\xBD";

// Bytes of the well-formed UTF-8 character at `at`, or 0.
std::size_t characterBytes(const std::string& text, std::size_t at) {
  const auto byte = [&](std::size_t i) -> unsigned {
    return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U;
  };
  const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first <= 0xDF) return follows(1) ? 2 : 0;
  if (first >= 0xE0 && first <= 0xEF) {
    // Neither longer than needed nor half of a pair.
    const bool good = !(first == 0xE0 && byte(1) < 0xA0) && !(first == 0xED && byte(1) > 0x9F);
    return good && follows(1) && follows(2) ? 3 : 0;
  }
  if (first >= 0xF0 && first <= 0xF4) {
    const bool good = !(first == 0xF0 && byte(1) < 0x90) && !(first == 0xF4 && byte(1) > 0x8F);
    return good && follows(1) && follows(2) && follows(3) ? 4 : 0;
  }
  return 0;
}

std::string escape(char c) {
  switch (c) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\t':
      return "\\t";
    default:
      break;
  }
  const auto code = static_cast<unsigned char>(c);
  if (code >= 0x20 && code != 0x7F) return {c};
  std::array<char, 8> text = {};
  std::snprintf(text.data(), text.size(), "\\u%04x", unsigned{code});
  return text.data();
}

}  // namespace

std::string jsonString(const std::string& text) {
  std::string result = "\"";
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t bytes = characterBytes(text, at);
    if (bytes == 1) {
      result += escape(text[at]);
    } else {
      result += bytes == 0 ? kReplacement : text.substr(at, bytes);
    }
    at += bytes == 0 ? 1 : bytes;
  }
  return result + "\"";
}

void JsonText::separate() {
  if (named_) {
    named_ = false;
    return;
  }
  if (!first_) text_ += ',';
  if (depth_ > 0) breakLine();
  first_ = false;
}

void JsonText::breakLine() {
  if (form_ == JsonForm::kIndented) text_ += "\n" + std::string(depth_ * 2, ' ');
}

JsonText& JsonText::raw(const std::string& value) {
  separate();
  text_ += value;
  return *this;
}

JsonText& JsonText::name(const char* name) {
  separate();
  text_ += jsonString(name) + (form_ == JsonForm::kIndented ? ": " : ":");
  named_ = true;
  return *this;
}

JsonText& JsonText::open(char bracket) {
  separate();
  text_ += bracket;
  ++depth_;
  first_ = true;
  return *this;
}

JsonText& JsonText::close(char bracket) {
  --depth_;
  if (!first_) breakLine();
  text_ += bracket;
  first_ = false;
  return *this;
}

JsonText& JsonText::strings(const std::vector<std::string>& values) {
  array();
  for (const std::string& value : values) string(value);
  return endArray();
}

JsonText& JsonText::fraction(double value, int digits) {
  if (!std::isfinite(value)) return null();
  std::array<char, 64> text = {};
  std::snprintf(text.data(), text.size(), "%.*f", digits, value);
  return raw(text.data());
}

std::string JsonText::take() {
  std::string text;
  text.swap(text_);
  return text;
}

}  // namespace kestra
