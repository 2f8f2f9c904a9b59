// What the sender's process of a job does: everything between the print system's words and the
// labels.
#pragma once

#include <memory>

#include "delivery/backend/job_words.h"
#include "delivery/core/device_uri.h"
#include "delivery/core/sink.h"
#include "delivery/core/watch.h"
#include "delivery/sinks/starter.h"

namespace kestra::delivery {

/// Sends a job's labels to its printer. The filter's pipe is standard input.
/// @param starter      starts the print system's program for the device; null for a network printer
/// @param printSystem  readable when the print system has ended; -1 where that cannot be known
/// @return exit code for the print system
[[nodiscard]] int sendJob(const JobWords& job, const DeviceUri& device,
                          std::unique_ptr<Starter> starter, int printSystem, Watch& watch,
                          const Tell& tell);

}  // namespace kestra::delivery
