// One start of a job, from the first frame that appears to the last note in the journal.
#pragma once

#include <ctime>
#include <string>

#include "delivery/core/places.h"
#include "delivery/core/sender.h"
#include "delivery/core/settings.h"
#include "delivery/core/sink.h"
#include "delivery/core/watch.h"

namespace kestra::delivery {

struct JobFacts {
  int number = 0;           ///< as it stands in the names of frames
  std::string key;          ///< see `jobKey`
  long long created = 0;    ///< when the job was made; older frames are none of its own; 0: unknown
  long long completed = 0;  ///< when the job had ended before a person started it again; 0: never
  std::string queue, title;
  std::string device;  ///< public text of the device's URI
  Doubt doubt = Doubt::kAgain;
  bool inClass = false;
  int input = 0;        ///< the filter's pipe; stays the caller's
  timespec birth = {};  ///< frames older than this are of an earlier start
};

/// When a pipe was made, if nothing was read from it yet.
[[nodiscard]] timespec birthOfPipe(int pipe);

/// Prints a job and remembers it below `places.state`. Waits for an earlier start of the same job
/// and for other senders of the same device. What other jobs of the device left that nobody will
/// bring again is sent first.
[[nodiscard]] Verdict printJob(const Places& places, const Settings& settings,
                               const JobFacts& facts, Sink& sink, Watch& watch, const Tell& tell);

/// The same without a memory, for a sender that may keep none: a job that is started again is
/// printed anew from its first label.
[[nodiscard]] Verdict printJobOnce(const Places& places, const JobFacts& facts, Sink& sink,
                                   Watch& watch, const Tell& tell);

}  // namespace kestra::delivery
