// Child processes that never outlive this one.
//
// A proof runs several programs at once; whoever stops it must find nothing running and no file
// left behind.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "filter/base/result.h"

namespace kestra {

/// From here on SIGINT, SIGTERM and SIGHUP stop the children and are remembered. Calls that wait
/// for a child or read from it then end, and the program can clean up in its own time.
void catchInterrupts();

/// The signal that came, or 0.
int interruptSignal();

/// Ends this process by the signal that came, as whoever sent it expects.
[[noreturn]] void endByInterrupt();

/// A program to start. Words and environment are handed over as they are; there is no shell.
struct Program {
  std::string path;
  std::vector<std::string> words;                                ///< from argv[0] on
  std::vector<std::pair<std::string, std::string>> environment;  ///< added to this process's
  int input = -1;     ///< becomes standard input, -1: the null device; stays the caller's
  int output = -1;    ///< standard output, alike
  int messages = -1;  ///< standard error, alike
};

/// One child process, the head of a process group of its own. Ends it where it still runs.
class Child {
 public:
  Child() = default;
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Starts a program. A problem where no process can be made; a program that cannot be executed is
  /// a child that ends with status 127.
  [[nodiscard]] Result<void> start(const Program& program);

  /// Runs `body` in a copy of this process, which ends with the status it returns.
  [[nodiscard]] Result<void> run(const std::function<int()>& body);

  /// Waits for its end. Exit status, or 128 + signal.
  int wait();

  bool running() const { return pid_ > 0; }

 private:
  pid_t pid_ = 0;
};

/// "status 3", "signal 9": what `Child::wait` returned, in words.
std::string endWords(int status);

}  // namespace kestra
