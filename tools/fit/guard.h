// A second process that does nothing but see how the fitting of the pages ends.
//
// The print system takes a program that was killed for one that is done, and the filter takes its
// silence for the end of the pages: the rest of the job would be missing, and nobody told.
#pragma once

#include <optional>

namespace kestra {

/// Divides this process. One half goes on and does the work; the other keeps standard output open,
/// so that no end of the pages is seen, until it knows how the first one ended. SIGTERM to the
/// guard ends both; a guard that is killed leaves the work to its end. Where the system has no room
/// for two processes there is no guard.
/// @return in the guard the exit status to end with: 1 where a signal ended the work, with a
///         message unless the guard was told to end. Nothing in the process that does the work.
[[nodiscard]] std::optional<int> guardWork();

}  // namespace kestra
