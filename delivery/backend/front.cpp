// Waits for two things, the sender's next word and a request to stop, whichever comes first.
#include "delivery/backend/front.h"

#include <cups/backend.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <optional>
#include <string>

#include "delivery/backend/channel.h"
#include "delivery/backend/time_left.h"
#include "delivery/core/watch.h"
#include "filter/base/unbroken.h"

namespace kestra::delivery {
namespace {

constexpr int kAgain = CUPS_BACKEND_RETRY_CURRENT;
constexpr pid_t kFirstProcess = 1;

sigset_t stopSignal() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  return set;
}

// Takes the signal; whether it is the print system's, which cancels the job. The machine's first
// process ends all of a service at once, and has asked the sender itself: the page is finished.
bool isCancel(int stops, pid_t printSystem) {
  signalfd_siginfo one = {};
  const ssize_t size = unbroken([&] { return read(stops, &one, sizeof one); });
  const bool isEndOfService = size == static_cast<ssize_t>(sizeof one) &&
                              static_cast<pid_t>(one.ssi_pid) == kFirstProcess &&
                              printSystem != kFirstProcess;
  return !isEndOfService;
}

// One write, as the print system's other programs write to the same pipe. Nobody can be told where
// it fails: the print system is gone.
void say(const std::string& line) {
  const std::string whole = oneLine(line) + '\n';
  static_cast<void>(unbroken([&] { return write(STDERR_FILENO, whole.data(), whole.size()); }));
}

// The sender has ended without a verdict.
int endWithoutVerdict(pid_t sender, int stops, const FrontTimes& times) {
  int status = 0;
  const pid_t ended = unbroken([&] { return waitpid(sender, &status, 0); });
  const bool isFault =
      ended == sender &&
      !(WIFSIGNALED(status) && (WTERMSIG(status) == SIGKILL || WTERMSIG(status) == SIGTERM));
  if (!isFault) return kAgain;
  say("ERROR: The program that sends the pages ended by a fault of its own (" +
      (WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                           : "status " + std::to_string(WEXITSTATUS(status))) +
      "). It is started again; pages that were printed are not printed twice.");
  pollfd stop = {stops, POLLIN, 0};
  static_cast<void>(poll(&stop, 1, static_cast<int>(times.fault.count())));
  return kAgain;
}

// Of all that a job can say only a changed state of the printer starts the job's clock anew, and
// only while nobody waits for a connection. Where nobody does, a state of our own comes and goes at
// once, so that it is not taken for the printer's.
void giveSignOfLife(bool isConnecting) {
  say(isConnecting ? "STATE: -connecting-to-device" : "STATE: +kestra-at-work");
  say(isConnecting ? "STATE: +connecting-to-device" : "STATE: -kestra-at-work");
}

// What the printer's state is after a line of the sender's.
bool isConnectingAfter(const std::string& line, bool isConnecting) {
  if (line.rfind("STATE:", 0) != 0) return isConnecting;
  if (line.find("+connecting-to-device") != std::string::npos) return true;
  return isConnecting && line.find("-connecting-to-device") == std::string::npos;
}

}  // namespace

void holdStopSignal() {
  const sigset_t set = stopSignal();
  static_cast<void>(sigprocmask(SIG_BLOCK, &set, nullptr));
}

int runFront(int wire, pid_t sender, const FrontTimes& times) {
  holdStopSignal();
  const pid_t printSystem = getppid();
  const sigset_t set = stopSignal();
  const int stops = signalfd(-1, &set, SFD_CLOEXEC);
  const FrontEnd front(wire);
  std::optional<Clock::time_point> until;
  Clock::time_point signAt = Clock::now() + times.sign;
  bool isConnecting = false;
  int code = kAgain;
  for (;;) {
    // A descriptor below 0 is passed over by poll: one stop is enough.
    std::array<pollfd, 2> events = {pollfd{wire, POLLIN, 0}, pollfd{until ? -1 : stops, POLLIN, 0}};
    const int ready = unbroken([&] {
      return poll(events.data(), events.size(),
                  millisecondsTo(until ? std::min(*until, signAt) : signAt));
    });
    if (ready < 0 || (ready == 0 && until && Clock::now() >= *until)) break;
    if (Clock::now() >= signAt) {
      giveSignOfLife(isConnecting);
      signAt = Clock::now() + times.sign;
    }
    if (events[1].revents != 0 && isCancel(stops, printSystem)) {
      front.cancel();
      until = Clock::now() + times.stop;
    }
    if (events[0].revents == 0) continue;
    const Report report = front.next();
    if (report.kind == Report::Kind::kLine) {
      say(report.line);
      isConnecting = isConnectingAfter(report.line, isConnecting);
      continue;
    }
    code = report.kind == Report::Kind::kVerdict ? report.code
                                                 : endWithoutVerdict(sender, stops, times);
    break;
  }
  if (stops >= 0) close(stops);
  return code;
}

}  // namespace kestra::delivery
