// What delivery remembers of jobs, for a person to see.
//
// Whoever looks may be root, and what lies in the folders may have been put there by a program that
// was broken into: nothing is waited for, nothing is read beyond a limit, nothing is made.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

#include "delivery/core/journal.h"

namespace kestra::delivery {

/// One printing of a job.
struct Remembered {
  std::string key;
  int generation = 0;
  bool isLast = false;  ///< no later one of this job
  std::string folder;   ///< whole path
  JournalState journal;
  std::vector<std::string> kept;  ///< whole paths of the kept frames, in printing order
  std::string problem;            ///< why the journal cannot be read, or how far it can
  long long changed = 0;          ///< when it was written last, seconds since 1970
  pid_t holder = 0;               ///< the process that prints the job now; 0: none

  [[nodiscard]] std::string journalPath() const { return folder + "/journal"; }
  /// Labels of which nobody knows whether they came.
  [[nodiscard]] std::vector<std::size_t> inDoubt() const;
};

/// All printings below a state folder, by job and number of the printing.
[[nodiscard]] std::vector<Remembered> rememberedJobs(const std::string& stateFolder);

}  // namespace kestra::delivery
