// A JSON reader by the letter of the grammar: one function per kind of value.
//
// Characters below 0x20 in strings, commas before brackets, bytes that are no UTF-8 and anything
// behind the value are errors.
#include "tests/tools/json_value.h"

#include <cstdlib>

namespace kestra {
namespace {

class Reader {
 public:
  explicit Reader(const std::string& text) : text_(text) {}

  std::optional<JsonValue> whole() {
    JsonValue value;
    if (!read(value)) return std::nullopt;
    blanks();
    if (at_ != text_.size()) return std::nullopt;
    return value;
  }

 private:
  using Kind = JsonValue::Kind;

  char now() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  void blanks() {
    while (now() == ' ' || now() == '\n' || now() == '\t' || now() == '\r') ++at_;
  }
  bool sign(char wanted) {
    blanks();
    if (now() != wanted || at_ >= text_.size()) return false;
    ++at_;
    return true;
  }
  bool word(const char* wanted) {
    const std::string expected = wanted;
    if (text_.compare(at_, expected.size(), expected) != 0) return false;
    at_ += expected.size();
    return true;
  }

  bool read(JsonValue& value) {
    blanks();
    switch (now()) {
      case '{':
        return readObject(value);
      case '[':
        return readArray(value);
      case '"':
        value.kind = Kind::kString;
        return readString(value.string);
      case 't':
        value.kind = Kind::kBoolean;
        value.boolean = true;
        return word("true");
      case 'f':
        value.kind = Kind::kBoolean;
        return word("false");
      case 'n':
        return word("null");
      default:
        return readNumber(value);
    }
  }

  bool readObject(JsonValue& value) {
    value.kind = Kind::kObject;
    ++at_;
    if (sign('}')) return true;
    do {
      std::pair<std::string, JsonValue> member;
      blanks();
      if (now() != '"' || !readString(member.first) || !sign(':') || !read(member.second)) {
        return false;
      }
      value.members.push_back(member);
    } while (sign(','));
    return sign('}');
  }

  bool readArray(JsonValue& value) {
    value.kind = Kind::kArray;
    ++at_;
    if (sign(']')) return true;
    do {
      value.items.emplace_back();
      if (!read(value.items.back())) return false;
    } while (sign(','));
    return sign(']');
  }

  bool digits() {
    const std::size_t start = at_;
    while (now() >= '0' && now() <= '9') ++at_;
    return at_ > start;
  }

  bool readNumber(JsonValue& value) {
    const std::size_t start = at_;
    if (now() == '-') ++at_;
    const bool zero = now() == '0';
    const std::size_t first = at_;
    if (!digits() || (zero && at_ > first + 1)) return false;
    if (now() == '.') {
      ++at_;
      if (!digits()) return false;
    }
    value.kind = Kind::kNumber;
    value.number = std::strtod(text_.substr(start, at_ - start).c_str(), nullptr);
    return true;
  }

  bool readEscape(std::string& string) {
    const char c = now();
    ++at_;
    const std::string from = "\"\\/bfnrt";
    const std::string to = "\"\\/\b\f\n\r\t";
    const std::size_t known = from.find(c);
    if (c != '\0' && known != std::string::npos) {
      string += to[known];
      return true;
    }
    if (c != 'u' || at_ + 4 > text_.size()) return false;
    char* end = nullptr;
    const std::string hex = text_.substr(at_, 4);
    const unsigned long code = std::strtoul(hex.c_str(), &end, 16);
    at_ += 4;
    // Nothing but control characters has to be written this way.
    if (*end != '\0' || code >= 0x80) return false;
    string += static_cast<char>(code);
    return true;
  }

  bool readString(std::string& string) {
    ++at_;
    while (at_ < text_.size()) {
      const auto byte = static_cast<unsigned char>(text_[at_]);
      ++at_;
      if (byte == '"') return true;
      if (byte < 0x20) return false;
      if (byte == '\\') {
        if (!readEscape(string)) return false;
        continue;
      }
      string += static_cast<char>(byte);
      const int more = byte < 0x80 ? 0 : (byte >= 0xF0 ? 3 : (byte >= 0xE0 ? 2 : 1));
      if (byte >= 0x80 && (byte < 0xC2 || byte > 0xF4)) return false;
      for (int i = 0; i < more; ++i) {
        if ((static_cast<unsigned char>(now()) & 0xC0) != 0x80) return false;
        string += text_[at_++];
      }
    }
    return false;
  }

  const std::string& text_;
  std::size_t at_ = 0;
};

const JsonValue kNothing;

}  // namespace

const JsonValue& JsonValue::operator[](const std::string& name) const {
  for (const auto& member : members) {
    if (member.first == name) return member.second;
  }
  return kNothing;
}

const JsonValue& JsonValue::operator[](std::size_t index) const {
  return index < items.size() ? items[index] : kNothing;
}

std::optional<JsonValue> parseJson(const std::string& text) { return Reader(text).whole(); }

}  // namespace kestra
