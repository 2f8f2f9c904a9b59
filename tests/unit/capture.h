// Catches what goes to standard output or standard error: the printer's bytes and the log lines
// leave through them, and a test must see them byte by byte.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace kestra {

using Lines = std::vector<std::string>;

/// All bytes of a stream that can be read again.
inline std::string contentsOf(std::FILE* file) {
  std::fflush(file);
  std::rewind(file);
  std::string text;
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) text += static_cast<char>(c);
  return text;
}

/// Sends one of the process's streams into a nameless file until `stop` or the end of its scope.
class Capture {
 public:
  static constexpr int kStdout = 1;
  static constexpr int kStderr = 2;

  explicit Capture(int descriptor = kStderr)
      : descriptor_(descriptor), file_(std::tmpfile()), saved_(dup(descriptor)) {
    std::fflush(nullptr);
    dup2(fileno(file_), descriptor_);
  }
  ~Capture() {
    restore();
    std::fclose(file_);
  }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  /// What was written since the beginning.
  std::string stop() {
    restore();
    return contentsOf(file_);
  }

  /// The same, line by line, without line ends.
  Lines stopLines() {
    Lines lines;
    std::istringstream text(stop());
    for (std::string line; std::getline(text, line);) {
      lines.push_back(text.eof() ? line + " (no line end)" : line);
    }
    return lines;
  }

 private:
  void restore() {
    if (saved_ < 0) return;
    std::fflush(nullptr);
    dup2(saved_, descriptor_);
    close(saved_);
    saved_ = -1;
  }

  int descriptor_;
  std::FILE* file_;  // owned
  int saved_;        // the stream as it was, owned
};

/// Log lines with addresses as "ADDRESS": they differ from run to run and carry no meaning.
inline Lines maskAddresses(Lines lines) {
  const std::string label = "address: ";
  for (std::string& line : lines) {
    const std::size_t labelAt = line.find(label);
    if (labelAt == std::string::npos) continue;
    const std::size_t begin = labelAt + label.size();
    const std::size_t end = line.find_first_not_of("0123456789abcdefx", begin);
    line.replace(begin, std::min(end, line.size()) - begin, "ADDRESS");
  }
  return lines;
}

inline bool contains(const Lines& lines, const std::string& wanted) {
  return std::find(lines.begin(), lines.end(), wanted) != lines.end();
}

/// Whether a line starts with a prefix.
inline bool containsPrefix(const Lines& lines, const std::string& prefix) {
  return std::any_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return line.rfind(prefix, 0) == 0; });
}

}  // namespace kestra
