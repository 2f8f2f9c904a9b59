// Half a job is worse than none: a frame that cannot be sent is told before anything is.
#include "delivery/tool/check_frames.h"

#include "delivery/tool/words.h"

namespace kestra::delivery {

Result<void> areGoodFrames(const ByHand& labels) {
  std::string problems;
  std::vector<std::string> known = labels.came;
  known.insert(known.end(), labels.doubted.begin(), labels.doubted.end());
  for (std::size_t i = 0; i < labels.frames.size(); ++i) {
    const ReadPage read = readPage(labels.frames[i], labels.command);
    std::string problem = read.problem;
    if (problem.empty() && i < known.size() && read.page.digest != known[i]) {
      problem = labels.frames[i] + ": it is not label " + std::to_string(i + 1) +
                " of which the journal tells; --all sends all frames without asking the journal";
    }
    if (problem.empty()) continue;
    problems += (problems.empty() ? "" : "\n") + harmless(problem, problem.size());
    if (i < known.size()) break;
  }
  if (!problems.empty()) return Problem{problems};
  return {};
}

bool noteWhatCame(const ByHand& labels, Journal& journal) {
  for (const auto* digests : {&labels.came, &labels.doubted}) {
    for (const std::string& digest : *digests) {
      if (!journal.done(digest)) return false;
    }
  }
  return labels.doubted.empty() || journal.lost(labels.came.size() + 1);
}

}  // namespace kestra::delivery
