// Forks once; what either part must not hold is closed before it does anything else.
#include "delivery/backend/apart.h"

#include <cups/backend.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <thread>

#include "delivery/backend/channel.h"
#include "delivery/backend/stop_signals.h"

namespace kestra::delivery {
namespace {

constexpr int kFirstOwn = STDERR_FILENO + 1;

// A process has no second name that others could take over; kernels before 5.3 cannot do that.
int openProcess(pid_t process) {
#if defined(SYS_pidfd_open)
  return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
#else
  static_cast<void>(process);
  return -1;
#endif
}

void replaceByNull(int descriptor) {
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (null < 0) return;
  static_cast<void>(dup2(null, descriptor));
  if (null != descriptor) close(null);
}

// The front needs its wire and standard error; a filter whose reader ends must notice it.
int keepWireOnly(int wire) {
  replaceByNull(STDIN_FILENO);
  // A front that waited at another descriptor would never end.
  if (dup2(wire, kFirstOwn) != kFirstOwn) return wire;
  closefrom(kFirstOwn + 1);
  return kFirstOwn;
}

[[noreturn]] void runSenderPart(int wire, int printSystem, const SenderBody& body) {
  static_cast<void>(setsid());
  std::signal(SIGHUP, SIG_IGN);
  // The print system waits for the end of all who hold its pipes.
  replaceByNull(STDOUT_FILENO);
  replaceByNull(STDERR_FILENO);
  Watch watch;
  const StopSignals signals(watch, {{SIGTERM, Stop::kLeave}, {SIGINT, Stop::kCancel}});
  const SenderEnd front(wire, &watch);
  front.verdict(body(printSystem, watch, [&front](const std::string& line) { front.tell(line); }));
  std::exit(EXIT_SUCCESS);  // ends what the watch keeps, behind the verdict
}

// To be tried again, but not at once: the machine has no room for a process.
int endForLackOfRoom() {
  std::fputs("ERROR: The machine has no room for another process; trying again.\n", stderr);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  return CUPS_BACKEND_RETRY_CURRENT;
}

}  // namespace

int runApart(const SenderBody& body, const FrontTimes& times) {
  std::signal(SIGPIPE, SIG_IGN);
  holdStopSignal();
  const int printSystem = openProcess(getppid());
  const std::optional<Wire> wire = makeWire();
  if (!wire) return endForLackOfRoom();
  std::fflush(nullptr);  // or the child would write what is waiting a second time
  const pid_t sender = fork();
  if (sender < 0) return endForLackOfRoom();
  if (sender == 0) {
    close(wire->front);
    runSenderPart(wire->sender, printSystem, body);
  }
  return runFront(keepWireOnly(wire->front), sender, times);
}

}  // namespace kestra::delivery
