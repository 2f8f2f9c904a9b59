// Ends a sending by hand: Ctrl-C, a time that is up.
#pragma once

#include <optional>
#include <string>

#include "delivery/core/watch.h"

namespace kestra::delivery {

/// Turns Ctrl-C and a kill into requests to a watch, which must outlive this object. The second one
/// ends the program at once.
class StopKeys {
 public:
  explicit StopKeys(Watch& watch);
  ~StopKeys();
  StopKeys(const StopKeys&) = delete;
  StopKeys& operator=(const StopKeys&) = delete;

 private:
  void hear();

  Watch& watch_;
  int descriptor_ = -1;  // owned
};

/// Cancels when a printer has been away for a time. Whether it is away is heard from what the way
/// to it tells the print system.
class AwayClock {
 public:
  /// @param seconds  none: a printer is waited for without an end
  AwayClock(Watch& watch, std::optional<long> seconds);
  ~AwayClock();
  AwayClock(const AwayClock&) = delete;
  AwayClock& operator=(const AwayClock&) = delete;

  /// Listens to a line for the print system.
  void hear(const std::string& line);
  /// The printer is away from now on; nothing if it was already.
  void start();
  void stop();
  [[nodiscard]] bool isOver() const { return isOver_; }

 private:
  void set(long seconds, long nanoseconds) const;

  Watch& watch_;
  std::optional<long> seconds_;
  int descriptor_ = -1;  // owned
  bool runs_ = false;
  bool isOver_ = false;
};

}  // namespace kestra::delivery
