// Writes each line in one piece.
//
// One write for a line: a reader never sees half of it.
#include "tools/paper/journal.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "filter/base/unbroken.h"

namespace kestra::paper {

double wallClock() {
  using Seconds = std::chrono::duration<double>;
  return Seconds(std::chrono::system_clock::now().time_since_epoch()).count();
}

bool writeAll(int descriptor, const std::string& bytes) {
  return kestra::writeAll(descriptor, bytes.data(), bytes.size());
}

void Journal::line(const JsonLine& line) {
  if (descriptor_ < 0 || !whole_) return;
  if (writeAll(descriptor_, line.whole() + "\n")) return;
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
