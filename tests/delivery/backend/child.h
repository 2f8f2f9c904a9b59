// Runs a piece of the program in a process of its own, as the print system would.
// Why: rights, signals and ends by force belong to processes, and must not be the test's own.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>

#include "tests/support/files.h"

namespace kestra::delivery {

class Child {
 public:
  // `body`'s result is the exit status; standard output and error go into pipes.
  explicit Child(const std::function<int()>& body);
  // Ends it where it still runs.
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  pid_t id() const { return id_; }
  void signal(int number) const;

  // Until every process that holds the pipe has closed it; half a minute at most.
  std::string output() { return rest(output_); }
  std::string messages() { return rest(messages_); }
  // So many bytes of the output; fewer where it ends.
  std::string nextOutput(std::size_t size);
  // The next line of the messages, without its end.
  std::string nextMessage();

  // Exit status, or 128 + signal.
  int wait();

 private:
  static std::string rest(int descriptor);

  pid_t id_ = -1;
  int output_ = -1;
  int messages_ = -1;
};

// A pipe whose writing end tells that all its holders have ended.
class Trace {
 public:
  Trace();
  ~Trace();
  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;

  // In a child: writes one byte.
  void leave(char mark) const;
  // In the test: the next mark, 0 when all other holders have ended.
  char next();

 private:
  int reading_ = -1;
  int writing_ = -1;
};

// A folder that vanishes with its contents; open to all users for reading.
class Folder : public testing_support::TemporaryFolder {
 public:
  Folder();
  // Writes a file with exactly this mode; its path.
  std::string write(const std::string& name, const std::string& text, mode_t mode = 0644) const;
};

}  // namespace kestra::delivery
