// Parts a job into the front, which the print system may kill at any moment, and the sender, which
// lives on and finishes the page under way.
#pragma once

#include <functional>

#include "delivery/backend/front.h"
#include "delivery/core/sink.h"
#include "delivery/core/watch.h"

namespace kestra::delivery {

/// What the sender does, in a process of its own with the filter's commands as standard input, and
/// the null device as output and error. Its watch hears the front's cancel and end, and signals.
/// @param printSystem  readable when the print system has ended; -1 where that cannot be known
/// @return exit code for the print system
using SenderBody = std::function<int(int printSystem, Watch& watch, const Tell& tell)>;

/// Runs the sender in a session of its own and the front in this process, whose descriptors from 3
/// on are closed.
/// @return in this process alone: the front's exit code
[[nodiscard]] int runApart(const SenderBody& body, const FrontTimes& times = {});

}  // namespace kestra::delivery
