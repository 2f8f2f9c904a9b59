// The folders in which delivery keeps what it knows of jobs and devices.
//
// STATE/jobs/UUID/lock, STATE/jobs/UUID/N/journal and N/frame-PID-NUMBER.dat: N counts the
// printings of a job, as a person may start a finished one again. STATE/open/UUID.N: a printing
// that is under way. STATE/devices/DIGEST.lock: one per device.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "delivery/core/journal.h"
#include "filter/base/result.h"

namespace kestra::delivery {

/// Whether a text can be the name of a job's folder: letters, digits, '-', at most 64.
[[nodiscard]] bool isJobKey(const std::string& key);

/// The name of a job's folder: the UUID in "urn:uuid:..." and the number, as a person may give a
/// job another one's UUID; without a UUID number and time, as numbers come again.
[[nodiscard]] std::string jobKey(const std::string& uuid, int number, long long created);

/// One printing of a job.
struct Printing {
  std::string key;     ///< the job's folder
  int generation = 0;  ///< N
  std::string folder;  ///< whole path
  JournalState journal;
};

class JobStore {
 public:
  explicit JobStore(std::string state) : state_(std::move(state)) {}

  /// Makes the store's folders, 0700. A problem where they cannot be used: not ours, a link, no
  /// room.
  [[nodiscard]] Result<void> prepare() const;

  /// The path of a job's lock; makes its folder.
  [[nodiscard]] Result<std::string> jobLock(const std::string& key) const;
  /// The path of the lock of a device, by its public URI.
  [[nodiscard]] std::string deviceLock(const std::string& device) const;

  /// The folder of the printing that a start of the job belongs to, made if it is a new one: the
  /// last one, unless the job had ended since it began (`completed`, 0: never) or its pages had
  /// changed. The job must be locked.
  [[nodiscard]] Result<std::string> printingFolder(const std::string& key,
                                                   long long completed) const;

  /// All printings, by key and generation.
  [[nodiscard]] std::vector<Printing> printings() const;

  /// Those that are marked as under way: they are, or their sender was killed. Few, so that a start
  /// of a job need not read thousands of journals.
  [[nodiscard]] std::vector<Printing> openPrintings() const;
  /// Marks the printing in a folder that `printingFolder` gave, and takes the mark away.
  void mark(const std::string& folder, bool isOpen) const;

  /// Removes a job with all its printings.
  void forget(const std::string& key) const;

  /// Removes the jobs of which nothing was written for so many seconds and that nobody has locked,
  /// at most once an hour.
  void forgetOld(long long seconds) const;

 private:
  std::string state_;
};

/// The frames that are kept in a printing's folder, in printing order: those of the last start that
/// kept any.
[[nodiscard]] std::vector<std::string> keptFrames(const std::string& folder);

/// Removes all kept frames, or all but those of one process.
void dropKeptFrames(const std::string& folder, long exceptProcess = 0);

}  // namespace kestra::delivery
