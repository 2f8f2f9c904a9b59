// Locks between senders: one per job, one per device, so that nothing is printed side by side.
#pragma once

#include <sys/types.h>

#include <string>

#include "filter/base/result.h"

namespace kestra::delivery {

/// A lock on a file, held until this object or the process ends, however it ends. The holder can be
/// asked for: whoever is cancelled while waiting passes the cancel on.
class Lock {
 public:
  Lock() = default;
  ~Lock();
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  /// Opens or makes the file, 0600, without locking it. The same file must not be opened twice in
  /// one process.
  [[nodiscard]] Result<void> open(const std::string& path);

  /// Takes the lock if nobody has it.
  [[nodiscard]] bool take();

  /// A mark in the file that outlives the holder, for the next one to find.
  void mark(bool isMarked);
  [[nodiscard]] bool isMarked() const;

  /// The process that has it; 0: none, or it is ours.
  [[nodiscard]] pid_t holder() const;

 private:
  int descriptor_ = -1;  // owned
};

}  // namespace kestra::delivery
