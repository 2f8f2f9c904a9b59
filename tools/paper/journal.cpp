// Puts JSON lines together and writes each in one piece.
//
// One write for a line: a reader never sees half of it.
#include "tools/paper/journal.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "filter/base/unbroken.h"
#include "tools/base/json.h"

namespace kestra::paper {

double wallClock() {
  using Seconds = std::chrono::duration<double>;
  return Seconds(std::chrono::system_clock::now().time_since_epoch()).count();
}

bool writeAll(int descriptor, const std::string& bytes) {
  return kestra::writeAll(descriptor, bytes.data(), bytes.size());
}

JsonLine::JsonLine(const char* event, double time) {
  text_ = "{\"event\":" + jsonString(event);
  this->time("time", time);
}

JsonLine& JsonLine::raw(const char* name, const std::string& value) {
  text_ += "," + jsonString(name) + ":" + value;
  return *this;
}

JsonLine& JsonLine::text(const char* name, const std::string& value) {
  return raw(name, jsonString(value));
}

JsonLine& JsonLine::texts(const char* name, const std::vector<std::string>& values) {
  std::string list;
  for (const std::string& value : values) list += (list.empty() ? "" : ",") + jsonString(value);
  return raw(name, "[" + list + "]");
}

JsonLine& JsonLine::number(const char* name, std::uint64_t value) {
  return raw(name, std::to_string(value));
}

JsonLine& JsonLine::time(const char* name, double seconds) {
  std::array<char, 40> text = {};
  std::snprintf(text.data(), text.size(), "%.6f", seconds);
  return raw(name, text.data());
}

JsonLine& JsonLine::boolean(const char* name, bool value) {
  return raw(name, value ? "true" : "false");
}

JsonLine& JsonLine::null(const char* name) { return raw(name, "null"); }

void Journal::line(const JsonLine& line) {
  if (descriptor_ < 0 || !whole_) return;
  if (writeAll(descriptor_, line.take() + "\n")) return;
  whole_ = false;
  complain(std::string("the log cannot be written: ") + std::strerror(errno));
}

void Journal::say(const std::string& words) {
  if (words_) std::fprintf(stderr, "%s\n", words.c_str());
}

void Journal::complain(const std::string& words) {
  std::fprintf(stderr, "kestra-paper: %s\n", words.c_str());
}

}  // namespace kestra::paper
