// Which program a test starts as the filter, and through what.
// Why: a filter that was built for another processor is tested by this machine's test programs.
#pragma once

#include <string>
#include <vector>

#include "tests/support/isolation.h"

namespace kestra::testing_support {

/// The filter that was built with the tests, unless the environment says otherwise:
///
///   KESTRA_TEST_FILTER           another shipped program
///   KESTRA_TEST_FILTER_RELATIVE  its twin with relative paths, for Isolation::kRelative
///   KESTRA_TEST_RUNNER           the command that runs it, for example an emulator:
///                                "/usr/bin/qemu-aarch64-static -L /folder -0 %0"
///
/// All programs are absolute paths. The runner's words are split at blanks; "%0" stands for the
/// name under which the filter is started, and each word that begins with "/" must exist and is
/// handed over as an open file (/proc/self/fd/...), as it may lie where the private tree hides it.
/// Who names a filter for one kind of isolation only gets a failure under the other, never the own
/// one.
class FilterCommand {
 public:
  /// To be made in the forked child before the private tree is entered: opens all that is needed.
  explicit FilterCommand(Isolation isolation);

  /// Not empty: what could not be opened.
  const std::string& problem() const { return problem_; }

  /// Replaces the process by the filter; comes back only with a text that says why it could not.
  std::string become(const std::string& name, const std::vector<std::string>& arguments,
                     std::vector<std::string> environment) const;

 private:
  // A descriptor for the path, or -1 and a problem.
  int open(const std::string& path, bool keepOpen);

  std::string problem_;
  int executable_ = -1;             // the child's until it becomes the filter
  std::vector<std::string> words_;  // the runner's, the filter last; empty without a runner
};

/// How many times longer than usual a job may take before a test gives it up: a runner is slow.
int patienceFactor();

}  // namespace kestra::testing_support
