// Starts kestrafit as the print system does.
// Why: arguments, pipes, signals and exit status are what the job's other programs see of it.
#pragma once

#include <sys/types.h>
#include <cstddef>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kestra::fit_tests {

struct FitEnd {
  int status = -1;  ///< exit status, -1 after a signal
  int signal = 0;
  std::string messages;  ///< standard error
};

/// A running kestrafit between two pipes. Ends it where it still runs.
class FitProgram {
 public:
  /// `arguments` from argv[1] on; `output` is a path to write to instead of the pipe; `prepare`
  /// runs in its process before it. Like every filter it leads a process group of its own.
  explicit FitProgram(
      const std::vector<std::string>& arguments,
      const std::optional<std::string>& ppd = std::nullopt, const std::string& output = "",
      const std::function<void()>& prepare = [] {});
  ~FitProgram();
  FitProgram(const FitProgram&) = delete;
  FitProgram& operator=(const FitProgram&) = delete;

  pid_t pid() const { return child_; }
  /// The process of it that does the work, from its first byte of output on; -1 where there is but
  /// one process.
  pid_t worker() const;
  /// Writes to its standard input; false where it does not read any more.
  bool give(const std::string& bytes) const;
  void endOfInput();
  /// Reads from its standard output: so many bytes, or all there are until its end.
  std::string take(std::size_t size) const;
  void stopReading();
  /// Whether all who could write to its standard output have ended.
  bool outputHasEnded() const;
  /// Waits for its end; after a minute it is ended by force.
  FitEnd await();

 private:
  pid_t child_ = -1;
  int input_ = -1;
  int output_ = -1;
  int messages_ = -1;
};

/// The arguments of a job.
std::vector<std::string> jobWords(const std::string& file = "");

}  // namespace kestra::fit_tests
