// kestra-delivery show: every label of a job and what became of it.
#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "delivery/tool/choose_job.h"
#include "delivery/tool/places_rights.h"
#include "delivery/tool/verbs.h"
#include "delivery/tool/words.h"

namespace kestra::delivery {
namespace {

constexpr std::size_t kDigestDigits = 64;

std::string labelLine(const Remembered& one, std::size_t number) {
  const JournalState& journal = one.journal;
  std::string what = "waits";
  std::string digest;
  if (number <= journal.done()) {
    const bool isSkipped =
        std::binary_search(one.journal.skipped.begin(), one.journal.skipped.end(), number);
    what = isSkipped ? "left out" : "came";
    digest = journal.digests[number - 1];
  } else if (number <= journal.done() + journal.doubted.size()) {
    what = "in doubt";
    digest = journal.doubted[number - journal.done() - 1];
  }
  std::string line = "  label " + std::to_string(number) + "  " + what;
  if (!digest.empty()) line += "  " + harmless(digest, kDigestDigits);
  if (number <= one.kept.size())
    line += "  kept in " + harmless(std::filesystem::path(one.kept[number - 1]).filename());
  return line + "\n";
}

}  // namespace

std::string showWords(const Remembered& one) {
  const JournalState& journal = one.journal;
  std::string text;
  if (journal.begun != 0) {
    text += "Job " + std::to_string(journal.number) + ", queue " + harmless(journal.queue) +
            ", \"" + harmless(journal.title) + "\", to " + harmless(journal.device, 1024) +
            "\n  begun " + dateWords(journal.begun) + ", last note " + dateWords(one.changed) +
            "\n";
  } else {
    text += "Job of the key " + harmless(one.key) + "\n";
  }
  // An earlier printing is over, whatever it had come to.
  text += "  " + (one.isLast ? stateWords(one) : std::string("printed once more since")) + "; " +
          counted(one.journal.came(), "label") + " came";
  if (!one.inDoubt().empty()) text += ", " + labelWords(one.inDoubt()) + " in doubt";
  text += "\n  journal: " + one.journalPath() + "\n";
  if (!one.problem.empty()) text += "  " + one.problem + "\n";
  const std::size_t last = std::max(journal.done() + journal.doubted.size(), one.kept.size());
  for (std::size_t number = 1; number <= last; ++number) text += labelLine(one, number);
  return text;
}

int showJob(const Arguments& arguments, const Places& places) {
  if (const auto owner = becomeOwner(places); !owner) return failed(owner.problem());
  const std::vector<Remembered> all = rememberedJobs(places.state);
  const std::vector<Remembered> found = matchingJobs(all, arguments.job);
  for (const Remembered& one : found) std::fputs(showWords(one).c_str(), stdout);

  const std::optional<int> number = jobNumber(arguments.job);
  bool isLeft = false;
  for (const LeftJob& job : leftOverFrames(places.frames, caredFor(all))) {
    if (!number || job.number != *number) continue;
    isLeft = true;
    std::printf("Left over in the filter's folder, in printing order:\n");
    for (const LeftFrame& frame : job.frames) {
      std::printf("  %s  %s\n", harmless(frame.path, frame.path.size()).c_str(),
                  sizeWords(frame.bytes).c_str());
    }
  }
  if (!found.empty() || isLeft) return kAllWell;
  return failed("Nothing is known of a job " + harmless(arguments.job));
}

}  // namespace kestra::delivery
