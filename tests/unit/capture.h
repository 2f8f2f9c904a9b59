// Catches what goes to standard output or standard error: the printer's bytes and the log lines
// leave through them, and a test must see them byte by byte.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace kestra {

/// All bytes of a stream that can be read again.
inline std::string contentsOf(std::FILE* file) {
  std::fflush(file);
  std::rewind(file);
  std::string text;
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
    text.push_back(static_cast<char>(c));
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
  std::vector<std::string> stopLines() {
    std::vector<std::string> lines;
    std::string line;
    for (const char c : stop()) {
      if (c == '\n') {
        lines.push_back(line);
        line.clear();
      } else {
        line.push_back(c);
      }
    }
    if (!line.empty()) lines.push_back(line + " (no line end)");
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
inline std::vector<std::string> maskAddresses(std::vector<std::string> lines) {
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

inline bool contains(const std::vector<std::string>& lines, const std::string& wanted) {
  for (const std::string& line : lines) {
    if (line == wanted) return true;
  }
  return false;
}

/// Whether a line starts with a prefix.
inline bool containsPrefix(const std::vector<std::string>& lines, const std::string& prefix) {
  for (const std::string& line : lines) {
    if (line.compare(0, prefix.size(), prefix) == 0) return true;
  }
  return false;
}

}  // namespace kestra
