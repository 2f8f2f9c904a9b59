// kestra-delivery list: one line for each job that a person may have to do something about.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iterator>

#include "delivery/tool/places_rights.h"
#include "delivery/tool/verbs.h"
#include "delivery/tool/words.h"

namespace kestra::delivery {
namespace {

struct StateNames {
  Rest rest;
  const char* word;   // for programs
  const char* words;  // for people; held jobs have words of their own
};

constexpr StateNames kStates[] = {
    {Rest::kNone, "cut-off", "cut off; goes on when it or another job for its printer starts"},
    {Rest::kAgain, "again", "comes again at once"},
    {Rest::kLeft, "left", "goes on when the print system starts it again"},
    {Rest::kStopped, "stopped", "stopped by a person"},
    {Rest::kHeld, "held", nullptr},
    {Rest::kChanged, "changed", nullptr},
    {Rest::kEnded, "ended", "ended"},
};

const StateNames& namesOf(Rest rest) {
  return *std::find_if(std::begin(kStates), std::end(kStates),
                       [rest](const StateNames& one) { return one.rest == rest; });
}

// Why a job is held, and what a person can do about it.
std::string heldWords(const Remembered& one) {
  const char* why = "held, as not all its labels could be made";
  const char* deed = "tries again";
  if (one.journal.rest == Rest::kChanged) {
    why = "held, as its pages were changed";
    deed = "prints all labels anew";
  } else if (!one.inDoubt().empty()) {
    why = "held until somebody has looked at the printer";
    deed = "prints again what is in doubt, with -o doubt=skip leaves it out";
  }
  const std::string number = std::to_string(one.journal.number);
  return std::string(why) + ": lp -i " + number + " -H resume " + deed + ", cancel " + number +
         " ends the job";
}

std::string jobName(const Remembered& one) {
  // Without a journal there is no number.
  if (one.journal.begun == 0) return "job of the key " + harmless(one.key);
  std::string name = "job " + std::to_string(one.journal.number) + ", queue " +
                     harmless(one.journal.queue) + ", \"" + harmless(one.journal.title) + "\"";
  return name;
}

std::string lineOf(const Remembered& one, long long now) {
  std::string line = "  " + jobName(one) + ": " + counted(one.journal.came(), "label") + " came";
  if (!one.journal.skipped.empty())
    line += ", " + labelWords(one.journal.skipped) + " left out in doubt";
  if (!one.inDoubt().empty()) line += ", " + labelWords(one.inDoubt()) + " in doubt";
  line += "; " + stateWords(one);
  if (!one.problem.empty()) line += "; " + one.problem;
  return line + "; " + agoWords(now - one.changed) + "\n";
}

std::string jsonNumbers(const std::vector<std::size_t>& numbers) {
  std::string text;
  for (const std::size_t number : numbers)
    text += (text.empty() ? "" : ",") + std::to_string(number);
  return "[" + text + "]";
}

std::string jsonOf(const Remembered& one) {
  return "{\"job\":" + std::to_string(one.journal.number) + ",\"key\":" + jsonText(one.key) +
         ",\"queue\":" + jsonText(one.journal.queue) + ",\"title\":" + jsonText(one.journal.title) +
         ",\"device\":" + jsonText(one.journal.device) +
         ",\"came\":" + std::to_string(one.journal.came()) +
         ",\"left_out\":" + jsonNumbers(one.journal.skipped) +
         ",\"in_doubt\":" + jsonNumbers(one.inDoubt()) +
         ",\"kept_frames\":" + std::to_string(one.kept.size()) +
         ",\"state\":" + jsonText(stateWord(one)) + ",\"problem\":" + jsonText(one.problem) +
         ",\"changed\":" + std::to_string(one.changed) + "}";
}

std::string jsonOf(const LeftJob& job) {
  return "{\"job\":" + std::to_string(job.number) +
         ",\"frames\":" + std::to_string(job.frames.size()) +
         ",\"bytes\":" + std::to_string(job.bytes()) +
         ",\"newest\":" + std::to_string(job.newest()) + "}";
}

template <typename Things>
std::string jsonList(const Things& things) {
  std::string text;
  for (const auto& thing : things) text += (text.empty() ? "" : ",") + jsonOf(thing);
  return "[" + text + "]";
}

}  // namespace

const char* stateWord(const Remembered& one) {
  return one.holder != 0 ? "printing" : namesOf(one.journal.rest).word;
}

std::string stateWords(const Remembered& one) {
  if (one.holder != 0) return "under way";
  const Rest rest = one.journal.rest;
  // Nothing is left that another job could send.
  if (rest == Rest::kNone && one.kept.empty()) return "cut off; goes on when it starts again";
  return rest == Rest::kHeld || rest == Rest::kChanged ? heldWords(one) : namesOf(rest).words;
}

std::vector<Remembered> waitingJobs(const std::vector<Remembered>& all) {
  std::vector<Remembered> waiting;
  std::copy_if(all.begin(), all.end(), std::back_inserter(waiting), [](const Remembered& one) {
    const bool isOver = one.journal.rest == Rest::kEnded && one.holder == 0;
    return one.isLast && (!isOver || !one.journal.skipped.empty());
  });
  std::stable_sort(waiting.begin(), waiting.end(), [](const Remembered& a, const Remembered& b) {
    return a.journal.begun < b.journal.begun;
  });
  return waiting;
}

CaredFor caredFor(const std::vector<Remembered>& all) {
  CaredFor result;
  for (const Remembered& one : all) {
    if (one.holder != 0) result.running.insert(one.journal.number);
    for (const std::string& path : one.kept) {
      struct stat status = {};
      if (lstat(path.c_str(), &status) == 0) result.kept.insert({status.st_dev, status.st_ino});
    }
  }
  return result;
}

std::string listWords(const std::vector<Remembered>& waiting, const std::vector<LeftJob>& left,
                      long long now) {
  if (waiting.empty() && left.empty()) {
    return "Nothing waits, nothing is in doubt, nothing was left over.\n";
  }
  std::string text;
  if (!waiting.empty()) text += "Jobs:\n";
  for (const Remembered& one : waiting) text += lineOf(one, now);
  if (!left.empty()) text += "Left over in the filter's folder:\n";
  for (const LeftJob& job : left) {
    text += "  job " + std::to_string(job.number) + ": " +
            counted(job.frames.size(), "page frame") + ", " + sizeWords(job.bytes()) +
            "; the newest " + agoWords(now - job.newest()) + "\n";
  }
  return text;
}

std::string listJson(const std::vector<Remembered>& waiting, const std::vector<LeftJob>& left) {
  return "{\"jobs\":" + jsonList(waiting) + ",\"left_over\":" + jsonList(left) + "}\n";
}

int listJobs(const Arguments& arguments, const Places& places) {
  if (const auto owner = becomeOwner(places); !owner) return failed(owner.problem());
  const std::vector<Remembered> all = rememberedJobs(places.state);
  const std::vector<Remembered> waiting = waitingJobs(all);
  const std::vector<LeftJob> left = leftOverFrames(places.frames, caredFor(all));
  const std::string text =
      arguments.isJson ? listJson(waiting, left) : listWords(waiting, left, std::time(nullptr));
  std::fputs(text.c_str(), stdout);
  return kAllWell;
}

}  // namespace kestra::delivery
