// Waits with poll(2): a printer that is away for hours costs nothing.
#include "delivery/core/watch.h"

#include <poll.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <utility>

namespace kestra::delivery {
namespace {

// poll(2) counts in milliseconds; rounded up, so that a wait never ends before its time.
timespec remaining(Clock::time_point until) {
  const auto left = std::max(until - Clock::now(), Clock::duration::zero());
  const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
  constexpr long long kPerSecond = 1000000000;
  timespec time = {};
  time.tv_sec = static_cast<time_t>(nanoseconds / kPerSecond);
  time.tv_nsec = static_cast<long>(nanoseconds % kPerSecond);
  return time;
}

}  // namespace

Clock::duration nextLook(Clock::duration waited) {
  using std::chrono::microseconds;
  constexpr microseconds kFirst{50}, kLater{5000}, kStalled{50000};
  constexpr std::chrono::seconds kSoon{1};
  if (waited >= kSoon) return kStalled;
  return std::clamp<Clock::duration>(waited, kFirst, kLater);
}

void Watch::add(int descriptor, std::function<void()> handler) {
  watched_.push_back({descriptor, std::move(handler)});
}

void Watch::remove(int descriptor) {
  watched_.erase(
      std::remove_if(watched_.begin(), watched_.end(),
                     [descriptor](const Watched& one) { return one.descriptor == descriptor; }),
      watched_.end());
}

Woken Watch::await(int descriptor, short events, const Patience& patience) {
  return wait(Aim::kDescriptor, descriptor, events, patience);
}

Woken Watch::await(const Patience& patience) { return wait(Aim::kHandler, -1, 0, patience); }

Woken Watch::pause(const Patience& patience) { return wait(Aim::kTime, -1, 0, patience); }

Woken Watch::wait(Aim aim, int descriptor, short events, const Patience& patience) {
  std::vector<pollfd> polled;
  std::vector<int> ready;
  for (;;) {
    if (isStopped(patience)) return Woken::kStopped;
    polled.clear();
    for (const Watched& one : watched_) polled.push_back({one.descriptor, POLLIN, 0});
    if (aim == Aim::kDescriptor) polled.push_back({descriptor, events, 0});

    const bool hasEnd = patience.until != Clock::time_point::max();
    const timespec time = hasEnd ? remaining(patience.until) : timespec{};
    const int found = ppoll(polled.data(), polled.size(), hasEnd ? &time : nullptr, nullptr);
    if (found <= 0) {
      if (hasEnd && Clock::now() >= patience.until) return Woken::kTime;
      continue;
    }
    const bool isThere = aim == Aim::kDescriptor && polled.back().revents != 0;
    if (aim == Aim::kDescriptor) polled.pop_back();
    ready.clear();
    for (const pollfd& one : polled) {
      if (one.revents != 0) ready.push_back(one.fd);
    }
    serve(ready);
    if (isStopped(patience)) return Woken::kStopped;
    if (isThere || (aim == Aim::kHandler && !ready.empty())) return Woken::kReady;
  }
}

// A handler may add and remove descriptors, so each is looked up anew.
void Watch::serve(const std::vector<int>& ready) {
  for (const int descriptor : ready) {
    const auto found =
        std::find_if(watched_.begin(), watched_.end(),
                     [descriptor](const Watched& one) { return one.descriptor == descriptor; });
    if (found == watched_.end()) continue;
    const std::function<void()> handler = found->handler;
    handler();
  }
}

}  // namespace kestra::delivery
