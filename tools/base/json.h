// Writes JSON text.
//
// File names and messages may hold anything; a program that reads them back must get the same
// characters or a mark where there were none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kestra {

/// A text in quotes: quotes, backslashes and control characters escaped; bytes that are no UTF-8
/// become U+FFFD.
std::string jsonString(const std::string& text);

/// How a text is laid out.
enum class JsonForm {
  kIndented,  ///< a value a line, for whoever looks into it as well
  kLine,      ///< no blanks and no line ends: a text a line
};

/// Collects a JSON text value by value; commas and line ends come by themselves. The caller closes
/// what it opens.
class JsonText {
 public:
  explicit JsonText(JsonForm form = JsonForm::kIndented) : form_(form) {}

  /// The name of the next value; inside an object only.
  JsonText& name(const char* name);
  JsonText& object() { return open('{'); }
  JsonText& endObject() { return close('}'); }
  JsonText& array() { return open('['); }
  JsonText& endArray() { return close(']'); }
  JsonText& string(const std::string& value) { return raw(jsonString(value)); }
  JsonText& strings(const std::vector<std::string>& values);
  JsonText& number(std::uint64_t value) { return raw(std::to_string(value)); }
  /// With `digits` digits behind the point; null for what is no number.
  JsonText& fraction(double value, int digits);
  JsonText& boolean(bool value) { return raw(value ? "true" : "false"); }
  JsonText& null() { return raw("null"); }

  /// What has been collected since the last call.
  std::string take();

 private:
  JsonText& raw(const std::string& value);
  JsonText& open(char bracket);
  JsonText& close(char bracket);
  void separate();
  void breakLine();

  JsonForm form_;
  std::string text_;
  std::size_t depth_ = 0;
  bool first_ = true;  // no comma before the next value
  bool named_ = false;
};

}  // namespace kestra
