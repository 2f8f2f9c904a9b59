// The order that makes starts of a job follow each other: listen for frames first, wait for the
// job, for the device, then send.
#include "delivery/core/job_run.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>

#include "delivery/core/debug_images.h"
#include "delivery/core/file_source.h"
#include "delivery/core/frame_intake.h"
#include "delivery/core/job_source.h"
#include "delivery/core/job_store.h"
#include "delivery/core/lock.h"
#include "delivery/core/upstream.h"

namespace kestra::delivery {
namespace {

constexpr long kLookAgainMilliseconds = 10;
constexpr long kSayWaitingMilliseconds = 500;
constexpr long kLastFramesMilliseconds = 300;
constexpr std::size_t kFramesBetweenTrims = 8;  // two images a page
constexpr long long kRememberSeconds = 8LL * 24 * 3600;

// Waits for a lock. A cancel is passed on to the holder if it prints the same job.
bool waitFor(Lock& lock, Watch& watch, const Tell& tell, const std::string& words,
             bool passesCancel) {
  const auto sayAt = Clock::now() + std::chrono::milliseconds(kSayWaitingMilliseconds);
  bool isSaid = false;
  while (!lock.take()) {
    if (!isSaid && Clock::now() >= sayAt) {
      tell("INFO: " + words);
      isSaid = true;
    }
    if (watch.pause(Patience::forMilliseconds(kLookAgainMilliseconds)) != Woken::kStopped) continue;
    const pid_t holder = lock.holder();
    if (passesCancel && watch.stopped() == Stop::kCancel && holder > 1) kill(holder, SIGINT);
    return false;
  }
  return true;
}

Verdict cannotRemember(const Tell& tell, const std::string& problem) {
  tell("ERROR: Nothing is printed, as what was printed could not be remembered: " + problem +
       ". Make room there, or mend its rights, then enable the printer again.");
  return Verdict::kStop;
}

// Labels that were made and not sent when everything of their job was ended by force, the print
// system taking it for printed. Each is sent as long as the journal knows it as missing. Takes and
// returns whether the printer may have part of a page.
bool sendLeftOvers(const Places& places, const JobStore& store, const JobFacts& facts, Sink& sink,
                   Watch& watch, const Tell& tell, bool isTorn) {
  for (const Printing& one : store.openPrintings()) {
    const bool isLeft = one.journal.rest == Rest::kNone && one.journal.device == facts.device &&
                        one.key != facts.key;
    if (!isLeft) continue;
    std::string problem;
    Lock lock;
    if (!lock.open(store.jobLock(one.key, problem), problem) || !lock.take()) continue;
    std::vector<std::string> frames = keptFrames(one.folder);
    // Several starts that kept nothing cannot be told apart.
    if (!frames.empty() || one.journal.triesInVain <= 1) {
      const std::vector<std::string> behind =
          framesBehind(places.frames, one.journal.number, frames, one.journal.begun);
      frames.insert(frames.end(), behind.begin(), behind.end());
    }
    Journal journal;
    if (frames.empty() || !journal.open(one.folder + "/journal", problem)) continue;
    tell("INFO: Printing what was left of job " + std::to_string(one.journal.number));
    FileSource source(frames, one.journal.command);
    const Tell aside = [&tell](const std::string& line) {
      if (line.rfind("PAGE:", 0) != 0 && line.rfind("ATTR:", 0) != 0) tell(line);
    };
    Sender sender(source, sink, journal, watch, aside,
                  {facts.doubt, false, false, isTorn, places.state});
    const Verdict verdict = sender.run();
    isTorn = sender.leftTornPage();
    if (verdict == Verdict::kPrinted) {
      removeOriginals(places.frames, one.journal.number, frames);
      dropKeptFrames(one.folder);
      store.mark(one.folder, false);
      continue;
    }
    // Whoever stopped this job did not stop that one: the next job of the device goes on with it.
    const JournalState& left = journal.state();
    if (left.rest == Rest::kStopped || left.rest == Rest::kLeft) {
      static_cast<void>(
          journal.start({left.completed, left.number, left.queue, left.device, left.title}));
    }
    break;
  }
  return isTorn;
}

// Frames that a filter stores while it is being stopped would stay for ever.
void awaitLastFrames(JobSource& source, Watch& watch) {
  const Patience moment = Patience::forMilliseconds(kLastFramesMilliseconds, Stop::kNone);
  while (!source.total()) {
    if (watch.await(moment) == Woken::kTime) return;
  }
}

// All that needs the journal, which is open from here on.
Verdict printRemembered(const Places& places, const JobFacts& facts, const JobStore& store,
                        Journal& journal, JobSource& source, Sink& sink, Watch& watch,
                        const Tell& tell, bool isResumed) {
  std::string problem;
  Lock device;
  if (!device.open(store.deviceLock(facts.device), problem)) return cannotRemember(tell, problem);
  if (!waitFor(device, watch, tell, "Another job prints on this printer; waiting for it", false)) {
    static_cast<void>(
        journal.rest(watch.stopped() == Stop::kCancel ? Rest::kStopped : Rest::kLeft));
    return Verdict::kRetry;
  }
  const bool wasCutOff = device.isMarked();
  device.mark(true);
  const bool isTorn = sendLeftOvers(places, store, facts, sink, watch, tell, wasCutOff);
  Sender sender(source, sink, journal, watch, tell,
                {facts.doubt, facts.inClass, isResumed, isTorn, places.state});
  const Verdict verdict = sender.run();
  device.mark(sender.leftTornPage());
  return verdict;
}

Verdict printTaken(const Places& places, const Settings& settings, const JobFacts& facts,
                   FrameIntake& intake, JobSource& source, Sink& sink, Watch& watch,
                   const Tell& tell) {
  const JobStore store(places.state);
  std::string problem;
  if (!store.prepare(problem)) return cannotRemember(tell, problem);
  Lock job;
  if (!job.open(store.jobLock(facts.key, problem), problem)) return cannotRemember(tell, problem);
  if (!waitFor(job, watch, tell, "An earlier start of this job still prints; waiting for it",
               true)) {
    return Verdict::kRetry;
  }
  const std::string folder = store.printingFolder(facts.key, facts.completed, problem);
  Journal journal;
  if (folder.empty() || !journal.open(folder + "/journal", problem)) {
    return cannotRemember(tell, problem);
  }
  const bool isResumed = journal.state().rest == Rest::kHeld && !journal.state().doubted.empty();
  if (!journal.reserve() ||
      !journal.start({facts.completed, facts.number, facts.queue, facts.device, facts.title})) {
    return cannotRemember(tell, folder + "/journal cannot be written");
  }
  store.mark(folder, true);
  dropKeptFrames(folder, getpid());
  intake.keepIn(folder);
  intake.onEvery(kFramesBetweenTrims, [&] { trimDebugImages(places.images, settings.imageBytes); });
  const Verdict verdict =
      printRemembered(places, facts, store, journal, source, sink, watch, tell, isResumed);
  // Frames that come too late to be sent are not kept, and the printing is over.
  dropKeptFrames(folder);
  store.mark(folder, false);
  store.forgetOld(kRememberSeconds);
  return verdict;
}

// After a start that did not print everything, the filter is of no use any more: what it goes on
// storing would stay for ever.
void tidy(const Places& places, const Settings& settings, const JobFacts& facts, Verdict verdict,
          FrameIntake& intake, JobSource& source, Watch& watch) {
  if (verdict != Verdict::kPrinted) {
    endWriters(facts.input);
    awaitLastFrames(source, watch);
  }
  intake.removeAll(facts.created != 0 ? facts.created : LLONG_MAX);
  trimDebugImages(places.images, settings.imageBytes);
}

}  // namespace

timespec birthOfPipe(int pipe) {
  struct stat status = {};
  return fstat(pipe, &status) == 0 ? status.st_atim : timespec{};
}

Verdict printJob(const Places& places, const Settings& settings, const JobFacts& facts, Sink& sink,
                 Watch& watch, const Tell& tell) {
  FrameIntake intake(places.frames, facts.number, facts.birth);
  JobSource source(facts.input, intake, pageCounterPath(places.frames, facts.queue), watch);
  const Verdict verdict = printTaken(places, settings, facts, intake, source, sink, watch, tell);
  tidy(places, settings, facts, verdict, intake, source, watch);
  return verdict;
}

Verdict printJobOnce(const Places& places, const JobFacts& facts, Sink& sink, Watch& watch,
                     const Tell& tell) {
  FrameIntake intake(places.frames, facts.number, facts.birth);
  JobSource source(facts.input, intake, "", watch);
  Journal journal;
  Sender sender(source, sink, journal, watch, tell, {facts.doubt, facts.inClass, false, false, {}});
  const Verdict verdict = sender.run();
  if (watch.stopped() != Stop::kNone) awaitLastFrames(source, watch);
  intake.removeAll(0);
  return verdict;
}

}  // namespace kestra::delivery
