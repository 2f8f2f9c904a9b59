// Looks at all labels before the first byte of any goes out.
#pragma once

#include <string>
#include <vector>

#include "delivery/core/journal.h"
#include "filter/base/result.h"

namespace kestra::delivery {

/// What is to be sent by hand.
struct ByHand {
  std::vector<std::string> frames;   ///< in printing order
  Command command = kUsualCommand;   ///< sent before each
  std::vector<std::string> came;     ///< digests of the first ones that need not be sent
  std::vector<std::string> doubted;  ///< of those behind, which may have come or not
  bool isOfWaitingJob = false;       ///< the print system, or the next job, sends them as well
};

/// Whether every frame is one, and the first ones are those that came. If not, the problem has a
/// sentence a line.
[[nodiscard]] Result<void> areGoodFrames(const ByHand& labels);

/// A journal in memory that knows what came.
[[nodiscard]] bool noteWhatCame(const ByHand& labels, Journal& journal);

}  // namespace kestra::delivery
