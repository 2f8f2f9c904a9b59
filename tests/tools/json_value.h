// Reads JSON text strictly.
//
// What the program writes must be what any other program takes for JSON, so the reader here
// forgives nothing.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kestra {

struct JsonValue {
  enum class Kind { kNull, kBoolean, kNumber, kString, kArray, kObject };
  Kind kind = Kind::kNull;
  bool boolean = false;
  double number = 0;
  std::string string;                                      // UTF-8
  std::vector<JsonValue> items;                            // of an array
  std::vector<std::pair<std::string, JsonValue>> members;  // of an object

  // A member or an item; a null value where there is none.
  const JsonValue& operator[](const std::string& name) const;
  const JsonValue& operator[](std::size_t index) const;
};

// The value of the whole text, or nothing where the text is no JSON.
std::optional<JsonValue> parseJson(const std::string& text);

}  // namespace kestra
