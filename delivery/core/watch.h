// The one place where a sender waits. Whoever waits for a printer must go on hearing the job: new
// pages, the print system, a cancel.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace kestra::delivery {

/// How a job is to stop, in rising order: a later request can only be more urgent.
enum class Stop {
  kNone,
  kLeave,   ///< after the page that is under way
  kCancel,  ///< at once: the page that is under way is ended in white
};

using Clock = std::chrono::steady_clock;

/// How long to wait before looking again at what tells nothing by itself, such as acknowledgements:
/// as long as was waited already, so that what is quick is seen at once; but 5 ms at most, and 50
/// ms once a second has passed, so that a printer that takes no more costs nothing.
[[nodiscard]] Clock::duration nextLook(Clock::duration waited);

/// How long to wait for something.
struct Patience {
  Clock::time_point until = Clock::time_point::max();
  Stop endsWith = Stop::kLeave;  ///< the least urgent request that ends the wait; kNone: none does

  [[nodiscard]] static Patience forMilliseconds(long milliseconds, Stop endsWith = Stop::kLeave) {
    return {Clock::now() + std::chrono::milliseconds(milliseconds), endsWith};
  }
};

enum class Woken {
  kReady,    ///< the descriptor can be used, or a handler has run
  kTime,     ///< the time is up
  kStopped,  ///< a stop was asked for that ends the wait
};

/// Waits for one thing and serves everything else that happens meanwhile. Single-threaded; handlers
/// run inside the waiting call and must not wait themselves.
class Watch {
 public:
  /// Calls `handler` whenever `descriptor` can be read or has reached its end. The descriptor stays
  /// the caller's, who removes it before closing it. A handler may remove itself.
  void add(int descriptor, std::function<void()> handler);
  void remove(int descriptor);

  /// Holds on to something until the watch itself ends: what the system takes long to close, while
  /// a job waits for its end.
  void keep(std::shared_ptr<const void> thing) { kept_.push_back(std::move(thing)); }

  /// Asks for a stop; a less urgent request than an earlier one changes nothing.
  void stop(Stop how) {
    if (how > stopped_) stopped_ = how;
  }
  [[nodiscard]] Stop stopped() const { return stopped_; }
  /// Whether a wait of this patience would end now because of a stop.
  [[nodiscard]] bool isStopped(const Patience& patience) const {
    return patience.endsWith != Stop::kNone && stopped_ >= patience.endsWith;
  }

  /// Waits until `descriptor` has one of the poll(2) `events`, or an error; handlers run meanwhile.
  [[nodiscard]] Woken await(int descriptor, short events, const Patience& patience);

  /// Waits until a handler has run.
  [[nodiscard]] Woken await(const Patience& patience);

  /// Waits for a time; handlers run meanwhile. kTime is the ordinary end.
  [[nodiscard]] Woken pause(const Patience& patience);

 private:
  struct Watched {
    int descriptor;
    std::function<void()> handler;
  };
  enum class Aim { kDescriptor, kHandler, kTime };
  Woken wait(Aim aim, int descriptor, short events, const Patience& patience);
  void serve(const std::vector<int>& ready);

  std::vector<Watched> watched_;
  std::vector<std::shared_ptr<const void>> kept_;
  Stop stopped_ = Stop::kNone;
};

}  // namespace kestra::delivery
