// What happened, as JSON lines for programs and as words for the person at the terminal.
//
// Lines go out at once: who waits for a label follows the file and sees it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/base/json.h"

namespace kestra::paper {

/// One line of JSON: {"event":NAME,"time":NOW,...}.
class JsonLine {
 public:
  /// @param time  seconds since 1970
  JsonLine(const char* event, double time) {
    json_.object().name("event").string(event);
    this->time("time", time);
  }

  JsonLine& text(const char* name, const std::string& value) {
    json_.name(name).string(value);
    return *this;
  }
  JsonLine& texts(const char* name, const std::vector<std::string>& values) {
    json_.name(name).strings(values);
    return *this;
  }
  JsonLine& number(const char* name, std::uint64_t value) {
    json_.name(name).number(value);
    return *this;
  }
  JsonLine& time(const char* name, double seconds) {
    json_.name(name).fraction(seconds, 6);
    return *this;
  }
  JsonLine& boolean(const char* name, bool value) {
    json_.name(name).boolean(value);
    return *this;
  }
  JsonLine& null(const char* name) {
    json_.name(name).null();
    return *this;
  }
  /// For a value with parts: the caller puts it there, and closes what it opens.
  [[nodiscard]] JsonText& value(const char* name) { return json_.name(name); }

  /// The line without its end.
  [[nodiscard]] std::string whole() const { return JsonText(json_).endObject().take(); }

 private:
  JsonText json_ = JsonText(JsonForm::kLine);
};

/// Writes lines to a descriptor, and words to standard error where somebody reads them.
class Journal {
 public:
  /// @param descriptor  open as long as this object is used; -1: no lines
  /// @param words       whether to tell a person as well
  Journal(int descriptor, bool words) : descriptor_(descriptor), words_(words) {}

  void line(const JsonLine& line);
  void say(const std::string& words);
  /// For what a person must know, terminal or not.
  void complain(const std::string& words);
  /// False when a line could not be written; standard error has said so.
  [[nodiscard]] bool isWhole() const { return whole_; }

 private:
  int descriptor_;
  bool words_;
  bool whole_ = true;
};

/// Seconds since 1970.
[[nodiscard]] double wallClock();

/// Writes all bytes; false, with errno set, where not all of them could be written.
[[nodiscard]] bool writeAll(int descriptor, const std::string& bytes);

}  // namespace kestra::paper
