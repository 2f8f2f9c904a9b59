// Signals that stop a job, heard where the sender waits: none interrupts it in the middle of a
// byte.
#pragma once

#include <utility>
#include <vector>

#include "delivery/core/watch.h"

namespace kestra::delivery {

/// Which signal asks for which stop.
using SignalMeanings = std::vector<std::pair<int, Stop>>;

/// Blocks signals and turns them into requests to a watch, which must outlive this object. The
/// signals stay blocked; programs started from here begin with them blocked unless they say
/// otherwise.
class StopSignals {
 public:
  StopSignals(Watch& watch, SignalMeanings meanings);
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

 private:
  void hear();

  Watch& watch_;
  SignalMeanings meanings_;
  int descriptor_ = -1;
};

}  // namespace kestra::delivery
