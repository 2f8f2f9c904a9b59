// A descriptor that is readable when a signal has come.
#include "delivery/backend/stop_signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

namespace kestra::delivery {

StopSignals::StopSignals(Watch& watch, SignalMeanings meanings)
    : watch_(watch), meanings_(std::move(meanings)) {
  sigset_t set;
  sigemptyset(&set);
  for (const auto& [signal, stop] : meanings_) sigaddset(&set, signal);
  static_cast<void>(sigprocmask(SIG_BLOCK, &set, nullptr));
  descriptor_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor_ >= 0) watch_.add(descriptor_, [this] { hear(); });
}

StopSignals::~StopSignals() {
  if (descriptor_ < 0) return;
  watch_.remove(descriptor_);
  close(descriptor_);
}

void StopSignals::hear() {
  signalfd_siginfo one = {};
  while (read(descriptor_, &one, sizeof one) == static_cast<ssize_t>(sizeof one)) {
    for (const auto& [signal, stop] : meanings_) {
      if (static_cast<int>(one.ssi_signo) == signal) watch_.stop(stop);
    }
  }
}

}  // namespace kestra::delivery
