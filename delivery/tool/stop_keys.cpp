// Both are descriptors of the one watch, so nothing is interrupted in the middle of a byte.
#include "delivery/tool/stop_keys.h"

#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdio>

namespace kestra::delivery {

StopKeys::StopKeys(Watch& watch) : watch_(watch) {
  sigset_t set;
  sigemptyset(&set);
  for (const int one : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, one);
  static_cast<void>(sigprocmask(SIG_BLOCK, &set, nullptr));
  descriptor_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor_ >= 0) watch_.add(descriptor_, [this] { hear(); });
}

StopKeys::~StopKeys() {
  if (descriptor_ < 0) return;
  watch_.remove(descriptor_);
  close(descriptor_);
}

void StopKeys::hear() {
  signalfd_siginfo one = {};
  while (read(descriptor_, &one, sizeof one) == static_cast<ssize_t>(sizeof one)) {
    if (watch_.stopped() == Stop::kCancel) _exit(1);
    std::fputs("Stopping: the label under way is ended in white. Ctrl-C again stops at once.\n",
               stderr);
    watch_.stop(Stop::kCancel);
  }
}

AwayClock::AwayClock(Watch& watch, std::optional<long> seconds) : watch_(watch), seconds_(seconds) {
  if (!seconds_) return;
  descriptor_ = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
  if (descriptor_ < 0) return;
  watch_.add(descriptor_, [this] {
    std::uint64_t times = 0;
    if (read(descriptor_, &times, sizeof times) < 0 || !runs_) return;
    isOver_ = true;
    watch_.stop(Stop::kCancel);
  });
}

AwayClock::~AwayClock() {
  if (descriptor_ < 0) return;
  watch_.remove(descriptor_);
  close(descriptor_);
}

void AwayClock::hear(const std::string& line) {
  if (line.rfind("STATE: +", 0) == 0) start();
  if (line.rfind("STATE: -", 0) == 0) stop();
}

void AwayClock::start() {
  if (descriptor_ < 0 || runs_) return;
  runs_ = true;
  // A timer that is set to nothing never ends.
  set(*seconds_, 1);
}

void AwayClock::stop() {
  if (descriptor_ < 0 || !runs_) return;
  runs_ = false;
  set(0, 0);
}

void AwayClock::set(long seconds, long nanoseconds) const {
  itimerspec time = {};
  time.it_value = {seconds, nanoseconds};
  static_cast<void>(timerfd_settime(descriptor_, 0, &time, nullptr));
}

}  // namespace kestra::delivery
