// The order that makes starts of a job follow each other: listen for frames first, wait for the
// job, for the device, then send.
#include "delivery/core/job_run.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
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

using std::chrono::milliseconds;

constexpr milliseconds kFirstLook{10}, kLaterLooks{100};
constexpr milliseconds kSayWaiting{500};
constexpr long kLastFramesMilliseconds = 300;
constexpr std::size_t kFramesBetweenTrims = 8;  // two images a page
constexpr long long kRememberSeconds = 8LL * 24 * 3600;

// Frames that a filter stores while it is being stopped would stay for ever.
void awaitLastFrames(JobSource& source, Watch& watch) {
  const Patience moment = Patience::forMilliseconds(kLastFramesMilliseconds, Stop::kNone);
  while (!source.total()) {
    if (watch.await(moment) == Woken::kTime) return;
  }
}

// One start of a job that is remembered, and what it works with.
struct Start {
  const Places& places;
  const Settings& settings;
  const JobFacts& facts;
  FrameIntake& intake;
  JobSource& source;
  Sink& sink;
  Watch& watch;
  const Tell& tell;
  const JobStore store{places.state};
  bool isTorn = false;  // the printer may have part of a page

  // Waits for a lock. A cancel is passed on to the holder if it prints the same job.
  bool waitFor(Lock& lock, const std::string& words, bool passesCancel) {
    const Clock::time_point since = Clock::now();
    bool isSaid = false;
    while (!lock.take()) {
      const Clock::duration waited = Clock::now() - since;
      if (!isSaid && waited >= kSayWaiting) {
        tell("INFO: " + words);
        isSaid = true;
      }
      const auto pause = std::clamp<Clock::duration>(waited / 10, kFirstLook, kLaterLooks);
      if (watch.pause({Clock::now() + pause}) != Woken::kStopped) continue;
      const pid_t holder = lock.holder();
      if (passesCancel && watch.stopped() == Stop::kCancel && holder > 1) kill(holder, SIGINT);
      return false;
    }
    return true;
  }

  Verdict cannotRemember(const std::string& problem) const {
    tell("ERROR: Nothing is printed, as what was printed could not be remembered: " + problem +
         ". Make room there, or mend its rights, then enable the printer again.");
    return Verdict::kStop;
  }

  // Labels that were made and not sent when everything of their job was ended by force, the print
  // system taking it for printed. Each is sent as long as the journal knows it as missing.
  void sendLeftOvers() {
    for (const Printing& one : store.openPrintings()) {
      const bool isLeft = one.journal.rest == Rest::kNone && one.journal.device == facts.device &&
                          one.key != facts.key;
      if (!isLeft) continue;
      const Result<std::string> path = store.jobLock(one.key);
      Lock lock;
      if (!path || !lock.open(*path) || !lock.take()) continue;
      std::vector<std::string> frames = keptFrames(one.folder);
      // Several starts that kept nothing cannot be told apart.
      if (!frames.empty() || one.journal.triesInVain <= 1) {
        const std::vector<std::string> behind =
            framesBehind(places.frames, one.journal.number, frames, one.journal.begun);
        frames.insert(frames.end(), behind.begin(), behind.end());
      }
      Journal journal;
      if (frames.empty() || !journal.open(one.folder + "/journal")) continue;
      tell("INFO: Printing what was left of job " + std::to_string(one.journal.number));
      FileSource left(frames, one.journal.command);
      const Tell aside = [this](const std::string& line) {
        if (line.rfind("PAGE:", 0) != 0 && line.rfind("ATTR:", 0) != 0) tell(line);
      };
      Sender sender(left, sink, journal, watch, aside,
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
      const JournalState& state = journal.state();
      if (state.rest == Rest::kStopped || state.rest == Rest::kLeft) {
        static_cast<void>(
            journal.start({state.completed, state.number, state.queue, state.device, state.title}));
      }
      return;
    }
  }

  // All that needs the journal, which is open from here on.
  Verdict printRemembered(Journal& journal, bool isResumed) {
    Lock device;
    const Result<void> opened = device.open(store.deviceLock(facts.device));
    if (!opened) return cannotRemember(opened.problem());
    if (!waitFor(device, "Another job prints on this printer; waiting for it", false)) {
      static_cast<void>(
          journal.rest(watch.stopped() == Stop::kCancel ? Rest::kStopped : Rest::kLeft));
      return Verdict::kRetry;
    }
    isTorn = device.isMarked();
    device.mark(true);
    sendLeftOvers();
    Sender sender(source, sink, journal, watch, tell,
                  {facts.doubt, facts.inClass, isResumed, isTorn, places.state});
    const Verdict verdict = sender.run();
    device.mark(sender.leftTornPage());
    return verdict;
  }

  Verdict printTaken() {
    if (const auto prepared = store.prepare(); !prepared) return cannotRemember(prepared.problem());
    const Result<std::string> lock = store.jobLock(facts.key);
    if (!lock) return cannotRemember(lock.problem());
    Lock job;
    if (const auto opened = job.open(*lock); !opened) return cannotRemember(opened.problem());
    if (!waitFor(job, "An earlier start of this job still prints; waiting for it", true)) {
      return Verdict::kRetry;
    }
    const Result<std::string> made = store.printingFolder(facts.key, facts.completed);
    if (!made) return cannotRemember(made.problem());
    const std::string& folder = *made;
    Journal journal;
    const Result<void> opened = journal.open(folder + "/journal");
    if (!opened) return cannotRemember(opened.problem());
    const bool isResumed = journal.state().rest == Rest::kHeld && !journal.state().doubted.empty();
    if (!journal.reserve() ||
        !journal.start({facts.completed, facts.number, facts.queue, facts.device, facts.title})) {
      return cannotRemember(folder + "/journal cannot be written");
    }
    store.mark(folder, true);
    dropKeptFrames(folder, getpid());
    intake.keepIn(folder);
    intake.onEvery(kFramesBetweenTrims,
                   [this] { trimDebugImages(places.images, settings.imageBytes); });
    const Verdict verdict = printRemembered(journal, isResumed);
    // Frames that come too late to be sent are not kept, and the printing is over.
    dropKeptFrames(folder);
    store.mark(folder, false);
    store.forgetOld(kRememberSeconds);
    return verdict;
  }

  // After a start that did not print everything, the filter is of no use any more: what it goes on
  // storing would stay for ever.
  void tidy(Verdict verdict) {
    if (verdict != Verdict::kPrinted) {
      endWriters(facts.input);
      awaitLastFrames(source, watch);
    }
    intake.removeAll(facts.created != 0 ? facts.created : LLONG_MAX);
    trimDebugImages(places.images, settings.imageBytes);
  }
};

}  // namespace

timespec birthOfPipe(int pipe) {
  struct stat status = {};
  return fstat(pipe, &status) == 0 ? status.st_atim : timespec{};
}

Verdict printJob(const Places& places, const Settings& settings, const JobFacts& facts, Sink& sink,
                 Watch& watch, const Tell& tell) {
  FrameIntake intake(places.frames, facts.number, facts.birth);
  JobSource source(facts.input, intake, pageCounterPath(places.frames, facts.queue), watch);
  Start start{places, settings, facts, intake, source, sink, watch, tell};
  const Verdict verdict = start.printTaken();
  start.tidy(verdict);
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
