// What happened, as JSON lines for programs and as words for the person at the terminal.
//
// Lines go out at once: who waits for a label follows the file and sees it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kestra::paper {

/// One line of JSON: {"event": NAME, "time": NOW, ...}.
class JsonLine {
 public:
  /// @param time  seconds since 1970
  JsonLine(const char* event, double time);

  JsonLine& text(const char* name, const std::string& value);
  JsonLine& texts(const char* name, const std::vector<std::string>& values);
  JsonLine& number(const char* name, std::uint64_t value);
  JsonLine& time(const char* name, double seconds);
  JsonLine& boolean(const char* name, bool value);
  JsonLine& null(const char* name);
  /// A value that is JSON already.
  JsonLine& raw(const char* name, const std::string& value);

  /// The line without its end.
  [[nodiscard]] std::string take() const { return text_ + "}"; }

 private:
  std::string text_;
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
