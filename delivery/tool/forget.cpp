// kestra-delivery forget: what is remembered of a job goes, unless the job is under way.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "delivery/core/job_store.h"
#include "delivery/core/lock.h"
#include "delivery/tool/choose_job.h"
#include "delivery/tool/places_rights.h"
#include "delivery/tool/verbs.h"
#include "delivery/tool/words.h"

namespace kestra::delivery {
namespace {

bool isThere(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0;
}

// What was forgotten, as one sentence.
Result<std::string> forget(const Places& places, const std::vector<Remembered>& printings) {
  const std::string& key = printings.back().key;
  const JobStore store(places.state);
  Lock lock;
  Result<std::string> path = store.jobLock(key);
  if (!path) return path;
  if (const Result<void> opened = lock.open(*path); !opened) return Problem{opened.problem()};
  if (!lock.take()) return Problem{"The job is under way; cancel it first"};
  std::size_t labels = 0, frames = 0;
  for (const Remembered& one : printings) {
    labels += one.journal.done();
    frames += one.kept.size();
    store.mark(one.folder, false);
  }
  store.forget(key);
  const std::string folder = places.state + "/jobs/" + key;
  if (isThere(folder)) return Problem{folder + " could not be removed"};
  return "Forgot the job " + key + ": " + counted(printings.size(), "printing") + ", " +
         counted(labels, "label") + " noted, " + counted(frames, "kept page frame") + ".\n";
}

// Removes its frames in the filter's folder, and says so. Exit status.
int removeFrames(const LeftJob& job) {
  std::string problem;
  std::size_t removed = 0;
  for (const LeftFrame& frame : job.frames) {
    if (unlink(frame.path.c_str()) == 0) {
      ++removed;
    } else if (problem.empty()) {
      // NOLINTNEXTLINE(concurrency-mt-unsafe): one thread
      problem = frame.path + " could not be removed: " + std::strerror(errno);
    }
  }
  std::printf("Removed %s of job %d, %s.\n", counted(removed, "page frame").c_str(), job.number,
              sizeWords(job.bytes()).c_str());
  return problem.empty() ? kAllWell : failed(problem);
}

}  // namespace

int forgetJob(const Arguments& arguments, const Places& places) {
  if (const auto owner = becomeOwner(places); !owner) return failed(owner.problem());
  const std::vector<Remembered> all = rememberedJobs(places.state);
  const std::vector<Remembered> found = matchingJobs(all, arguments.job);
  if (const auto one = areOneJob(found, arguments.job); !one) return failed(one.problem());
  std::optional<int> number = jobNumber(arguments.job);
  if (!found.empty()) {
    // Without a journal its number is not known, and 0 would be another job's.
    if (found.back().journal.begun != 0) number = found.back().journal.number;
    const Result<std::string> words = forget(places, found);
    if (!words) return failed(words.problem());
    std::fputs(words->c_str(), stdout);
  }

  // What this job kept is no longer cared for, what others keep is.
  std::vector<Remembered> others;
  std::copy_if(all.begin(), all.end(), std::back_inserter(others), [&found](const Remembered& one) {
    return found.empty() || one.key != found.back().key;
  });
  LeftJob left;
  for (const LeftJob& job : leftOverFrames(places.frames, caredFor(others))) {
    if (number && job.number == *number) left = job;
  }
  if (!left.frames.empty() && arguments.withFrames) return removeFrames(left);
  if (!left.frames.empty()) {
    const std::string words =
        "Still in the filter's folder: " + counted(left.frames.size(), "page frame") + " of job " +
        std::to_string(left.number) + "; --frames removes what is there";
    if (found.empty()) return failed(words);
    std::printf("%s.\n", words.c_str());
  }
  if (!found.empty()) return kAllWell;
  return failed("Nothing is known of a job " + harmless(arguments.job));
}

}  // namespace kestra::delivery
