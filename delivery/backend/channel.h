// The wire between the part of a job that the print system watches and the part that prints. Each
// end may vanish at any moment, and the other must neither wait for it nor die of it.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "delivery/core/watch.h"

namespace kestra::delivery {

/// Makes the two ends of a wire, the front's first; both are closed on exec.
/// @return nothing, with `errno` set, where there are no descriptors left
struct Wire {
  int front = -1;
  int sender = -1;
};
[[nodiscard]] std::optional<Wire> makeWire();

/// A text as one line of a log: no longer than the print system takes (2,000 bytes), every control
/// character a blank, so that no device and no document can add a line of its own.
[[nodiscard]] std::string oneLine(std::string text);

/// What the sender had to say.
struct Report {
  enum class Kind { kLine, kVerdict, kEnd } kind = Kind::kEnd;
  std::string line;  ///< of kLine
  int code = 0;      ///< of kVerdict: the exit code for the print system
};

/// The front's end. The descriptor stays the caller's.
class FrontEnd {
 public:
  explicit FrontEnd(int descriptor) : descriptor_(descriptor) {}

  /// Waits for the sender's next report; kEnd when there is no sender any more.
  [[nodiscard]] Report next() const;

  /// Asks the sender to end the page under way in white and to leave. Never waits.
  void cancel() const;

 private:
  int descriptor_;
};

/// The sender's end. The descriptor stays the caller's, who closes it after this object's end.
class SenderEnd {
 public:
  /// From here on a cancel of the front's stops the watch with kCancel. The end of the front stops
  /// nothing: where it was killed, the print system takes the job for printed, and nobody else
  /// would bring the rest. Without a watch (null) nothing is heard.
  SenderEnd(int descriptor, Watch* watch);
  ~SenderEnd();
  SenderEnd(const SenderEnd&) = delete;
  SenderEnd& operator=(const SenderEnd&) = delete;

  /// Says one line; dropped where the front does not read, or is gone.
  void tell(const std::string& line) const;

  /// Says how the job ends; waits for room at most as long as `patience`.
  void verdict(int code, std::chrono::milliseconds patience = std::chrono::seconds(1)) const;

 private:
  void hear();

  int descriptor_;
  Watch* watch_;
};

}  // namespace kestra::delivery
