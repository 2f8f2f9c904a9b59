// The part of a job that the print system sees: it says what the sender says and ends as the sender
// tells it. It knows nothing of pages, so that its end by force costs no label.
#pragma once

#include <sys/types.h>

#include <chrono>

namespace kestra::delivery {

struct FrontTimes {
  /// How long a sender that was asked to stop may take to end its page in white.
  std::chrono::milliseconds stop = std::chrono::seconds(5);
  /// Before a job is started again whose sender ended by a fault of its own, which may well be
  /// there the next time.
  std::chrono::milliseconds fault = std::chrono::seconds(1);
  /// How often the print system is told that the job goes on. It cancels jobs that take longer than
  /// it was told to allow (three hours, by default), be it that they have many labels or that the
  /// printer is away.
  std::chrono::milliseconds sign = std::chrono::seconds(20);
};

/// Blocks the signal that asks a job to stop. To be called before the front and its sender part, so
/// that a stop in between is not lost.
void holdStopSignal();

/// Relays the sender's lines to standard error until its verdict, or its end.
/// @param wire    the front's end of the wire to the sender; stays the caller's
/// @param sender  the sender's process, a child of ours
/// @return exit code for the print system: the verdict; without one the code that starts the job
///         again at once, so that what is missing is sent
[[nodiscard]] int runFront(int wire, pid_t sender, const FrontTimes& times = {});

}  // namespace kestra::delivery
