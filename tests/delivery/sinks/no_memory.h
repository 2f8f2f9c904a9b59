// A system that has no memory for what is to be sent.
// Why: the error comes only where the whole machine is short of it.
#pragma once

#include "delivery/core/watch.h"

namespace kestra::delivery::test {

/// For so long from the first of them on, this process's calls of send(2) fail for want of memory.
/// One at a time.
class NoMemory {
 public:
  explicit NoMemory(Clock::duration time);
  ~NoMemory();
  NoMemory(const NoMemory&) = delete;
  NoMemory& operator=(const NoMemory&) = delete;

  const Clock::duration time;
  Clock::time_point first;  ///< call that failed
  int refused = 0;          ///< calls that failed
};

}  // namespace kestra::delivery::test
