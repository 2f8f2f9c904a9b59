// kestra-delivery send: labels to a printer without a print system.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>

#include "delivery/core/device_uri.h"
#include "delivery/core/file_source.h"
#include "delivery/core/job_store.h"
#include "delivery/core/lock.h"
#include "delivery/core/sender.h"
#include "delivery/sinks/stream_sink.h"
#include "delivery/sinks/tcp_sink.h"
#include "delivery/tool/check_frames.h"
#include "delivery/tool/choose_job.h"
#include "delivery/tool/places_rights.h"
#include "delivery/tool/stop_keys.h"
#include "delivery/tool/verbs.h"
#include "delivery/tool/words.h"

namespace kestra::delivery {
namespace {

constexpr long kLookAgainMilliseconds = 50;

std::unique_ptr<Sink> sinkOf(const Target& target, Watch& watch, const Tell& tell) {
  switch (target.kind) {
    case Target::Kind::kSocket:
      return std::make_unique<TcpSink>(target.uri.host, std::to_string(target.uri.port), false,
                                       watch, tell);
    case Target::Kind::kUnix:
      return std::make_unique<StreamSink>(StreamSink::Place::kUnix, target.path, watch, tell);
    case Target::Kind::kFile:
      return std::make_unique<StreamSink>(StreamSink::Place::kFile, target.path, watch, tell);
    case Target::Kind::kOutput:
    case Target::Kind::kBackend:
      break;
  }
  return std::make_unique<StreamSink>(STDOUT_FILENO, "standard output", watch, tell);
}

// What is wrong with where to send to.
std::string problemOf(const Target& target, const Places& places) {
  if (!target.isGood()) return target.problem;
  if (target.kind == Target::Kind::kBackend) {
    return "\"" + harmless(target.uri.scheme) +
           "\" is a way that only the print system can take; by hand there are socket://HOST, "
           "unix:PATH, a file, and -";
  }
  if (target.kind == Target::Kind::kFile && isInPlaces(target.path, places)) {
    return harmless(target.path) + " lies where jobs write; choose another place";
  }
  if (target.kind == Target::Kind::kOutput && isatty(STDOUT_FILENO) != 0) {
    return "Labels are no text for a terminal; send - to a file or a program";
  }
  return "";
}

// The labels of a job, and its lock: neither it nor another sending by hand may send them as well.
Result<void> takeJob(const Arguments& arguments, const Places& places, ByHand& labels, Lock& lock) {
  const std::vector<Remembered> all = rememberedJobs(places.state);
  const std::vector<Remembered> found = matchingJobs(all, arguments.job);
  if (Result<void> one = areOneJob(found, arguments.job); !one) return one;
  std::optional<int> number = jobNumber(arguments.job);
  if (!found.empty()) {
    const Remembered& last = found.back();
    number = last.journal.number;
    const Result<std::string> path = JobStore(places.state).jobLock(last.key);
    if (!path) return Problem{path.problem()};
    if (Result<void> opened = lock.open(*path); !opened) return opened;
    if (!lock.take()) {
      return Problem{"Job " + harmless(arguments.job) + " is under way; cancel it first"};
    }
    labels = {last.kept, last.journal.command, last.journal.digests, last.journal.doubted,
              last.journal.rest != Rest::kEnded};
  }
  if (labels.frames.empty() && number) {
    for (const LeftJob& job : leftOverFrames(places.frames, caredFor(all))) {
      if (job.number != *number) continue;
      for (const LeftFrame& frame : job.frames) labels.frames.push_back(frame.path);
    }
  }
  if (arguments.sendsAll) {
    labels.came.clear();
    labels.doubted.clear();
  }
  if (labels.frames.empty()) {
    return Problem{"There are no page frames of a job " + harmless(arguments.job)};
  }
  if (labels.frames.size() <= labels.came.size()) {
    return Problem{"All labels of job " + harmless(arguments.job) +
                   " came; --all sends them once more"};
  }
  return {};
}

// Waits until no queue prints on the same printer. False where that was given up.
bool takeDevice(Lock& lock, Watch& watch, AwayClock& clock) {
  bool isTold = false;
  while (!lock.take()) {
    clock.start();
    if (!isTold) std::fputs("Another job prints on this printer; waiting for it\n", stderr);
    isTold = true;
    if (watch.pause(Patience::forMilliseconds(kLookAgainMilliseconds)) == Woken::kStopped) {
      return false;
    }
  }
  clock.stop();
  return true;
}

// A device's lock is where queues look for it; nobody who may not go there prints by a queue.
void openDevice(Lock& lock, const Target& target, const Places& places, bool& isOpen) {
  isOpen = false;
  if (target.kind != Target::Kind::kSocket) return;
  const AsOwner owner(places);
  const std::string devices = places.state + "/devices";
  if (!owner.problem().empty() || access(devices.c_str(), F_OK) != 0) return;
  isOpen = bool(lock.open(JobStore(places.state).deviceLock(deviceName(target.uri))));
}

int sendAll(const Arguments& arguments, const ByHand& labels, const Target& target,
            const Places& places) {
  Watch watch;
  const StopKeys keys(watch);
  AwayClock clock(watch, arguments.wait);
  const Tell tell = [&](const std::string& line) {
    clock.hear(line);
    const std::string words = spokenLine(line, arguments.isVerbose);
    if (!words.empty()) std::fprintf(stderr, "%s\n", words.c_str());
  };
  Journal journal;
  if (!noteWhatCame(labels, journal)) return failed("There is no memory for a journal");
  const std::size_t before = journal.state().came();
  const std::size_t wanted = labels.frames.size() - before;

  Lock device;
  bool isDevice = false;
  openDevice(device, target, places, isDevice);
  if (!isDevice || takeDevice(device, watch, clock)) {
    const std::unique_ptr<Sink> sink = sinkOf(target, watch, tell);
    FileSource source(labels.frames, labels.command);
    const bool isAfterTornPage = isDevice && device.isMarked();
    if (isDevice) device.mark(true);
    Sender sender(source, *sink, journal, watch, tell,
                  {arguments.doubt, false, false, isAfterTornPage, {}});
    const Verdict verdict = sender.run();
    if (isDevice) device.mark(sender.leftTornPage());
    if (verdict == Verdict::kPrinted) {
      const std::size_t skipped = journal.state().skipped.size();
      std::fprintf(stderr, "%s sent to %s%s.\n", counted(wanted - skipped, "label").c_str(),
                   harmless(publicText(arguments.target), 1024).c_str(),
                   skipped == 0 ? "" : (", " + std::to_string(skipped) + " left out").c_str());
      return kAllWell;
    }
  }
  const std::size_t sent = journal.state().came() - before;
  if (clock.isOver()) std::fputs("The printer is away for too long; given up.\n", stderr);
  return failed(counted(sent, "label") + " of " + std::to_string(wanted) + " sent");
}

}  // namespace

int sendByHand(const Arguments& arguments, const Places& places) {
  const Target target = parseTarget(arguments.target);
  const std::string noTarget = problemOf(target, places);
  if (!noTarget.empty()) {
    static_cast<void>(failed(noTarget));
    return kWrongUsage;
  }
  ByHand labels;
  Lock lock;
  if (arguments.job.empty()) {
    labels.frames = arguments.frames;
  } else {
    const AsOwner owner(places);
    if (!owner.problem().empty()) return failed(owner.problem());
    const Result<void> taken = takeJob(arguments, places, labels, lock);
    if (!taken) return failed(taken.problem());
  }
  labels.command = chosenCommand(arguments, labels.command);
  if (const Result<void> good = areGoodFrames(labels); !good) {
    return failed(good.problem() + "\nkestra-delivery: nothing was sent");
  }
  const int status = sendAll(arguments, labels, target, places);
  if (status == kAllWell && labels.isOfWaitingJob) {
    std::fprintf(
        stderr,
        "The job itself still waits: without \"kestra-delivery forget %s\", and \"cancel\" "
        "where the print system has it, these labels come once more.\n",
        harmless(arguments.job).c_str());
  }
  return status;
}

}  // namespace kestra::delivery
