// Chooses the way to a printer by its address.
#pragma once

#include <memory>

#include "delivery/core/device_uri.h"
#include "delivery/core/sink.h"
#include "delivery/sinks/starter.h"

namespace kestra::delivery {

/// @param uri      a good one
/// @param starter  starts the print system's program for it (see `findInnerProgram`); not used, and
///                 may be null, for "socket"
/// @param inClass  whether another printer can take the job
/// @param watch    lives longer than the sink
[[nodiscard]] std::unique_ptr<Sink> makeSink(const DeviceUri& uri, std::unique_ptr<Starter> starter,
                                             bool inClass, Watch& watch, Tell tell);

}  // namespace kestra::delivery
