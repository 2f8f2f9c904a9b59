// A disk that fails when a test says so.
// Why: what a power cut or a worn disk does to a journal cannot be had from a healthy one.
#pragma once

#include <optional>

namespace kestra::delivery::testing_support {

/// Lets calls of this process that write to the disk fail, as long as it lives. One at a time.
class DiskFaults {
 public:
  DiskFaults();
  ~DiskFaults();
  DiskFaults(const DiskFaults&) = delete;
  DiskFaults& operator=(const DiskFaults&) = delete;

  std::optional<int> goodFlushes;  ///< so many flushes work, the others do not; all without it
  bool canCut = true;              ///< whether a file can be made shorter
  bool hasRoom = true;             ///< whether room can be reserved
  int flushes = 0;                 ///< those that worked
};

}  // namespace kestra::delivery::testing_support
