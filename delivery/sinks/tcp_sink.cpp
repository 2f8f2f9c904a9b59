// Connects for as long as it takes, sends, and believes nothing but acknowledgements.
#include "delivery/sinks/tcp_sink.h"

#include <fcntl.h>
#include <linux/tcp.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "delivery/sinks/host_lookup.h"
#include "delivery/sinks/peer.h"
#include "delivery/sinks/printable.h"
#include "filter/base/unbroken.h"

namespace kestra::delivery {
namespace {

using std::chrono::milliseconds;

// Modest, so that a cancelled page leaves little to be taken by a slow printer.
constexpr int kSendBuffer = 65536;
constexpr short kPeer = POLLIN | POLLRDHUP;
constexpr milliseconds kLook{500};
constexpr milliseconds kNoMemoryPause{10};

Clock::time_point soonest(const Patience& patience, Clock::duration time) {
  return std::min(patience.until, Clock::now() + time);
}

bool isOver(const Patience& patience) { return Clock::now() >= patience.until; }

}  // namespace

TcpSink::TcpSink(std::string host, const std::string& port, bool inClass, Watch& watch, Tell tell,
                 const TcpTimes& times)
    : host_(std::move(host)),
      port_(port.empty() ? "9100" : port),
      name_(nameOfPeer(host_, port_)),
      inClass_(inClass),
      watch_(watch),
      tell_(std::move(tell)),
      times_(times) {}

TcpSink::~TcpSink() { hangUp(); }

// A new connection is a new page for the printer, whatever was in its memory.
Progress TcpSink::open(Before /*before*/, const Patience& patience) {
  if (host_.empty()) {
    problem_ = "The device address names no host.";
    return Progress::kHopeless;
  }
  if (socket_ >= 0) {
    const bool isProven = proven_ == sent_;
    if (!isCut()) return Progress::kDone;
    // Printers close connections that nobody uses; it has read everything.
    if (!isProven || read_ != sent_) return Progress::kBroken;
  }
  return connectInRounds(patience);
}

Progress TcpSink::connectInRounds(const Patience& patience) {
  if (inClass_ && pause_ >= times_.awayInClass) {
    pause_ = {};
    return Progress::kBroken;
  }
  if (!awaySince_) awaySince_ = Clock::now();
  if (pause_ > Clock::duration::zero()) {
    const Progress paused = awaitAway(-1, 0, Clock::now() + pause_, patience);
    if (paused != Progress::kTimedOut || isOver(patience)) return paused;
  }
  Clock::duration pause = times_.firstPause;
  for (;;) {
    const Progress progress = tryAll(patience);
    if (progress == Progress::kDone) {
      tellBack();
      awaySince_.reset();
      return progress;
    }
    if (progress != Progress::kBroken) return progress;
    if (inClass_ && Clock::now() - *awaySince_ >= times_.awayInClass) {
      awaySince_.reset();
      return Progress::kBroken;
    }
    const Progress paused = awaitAway(-1, 0, Clock::now() + pause, patience);
    if (paused != Progress::kTimedOut || isOver(patience)) return paused;
    pause = std::min<Clock::duration>(2 * pause, times_.longestPause);
  }
}

// kBroken: no address answers now.
Progress TcpSink::tryAll(const Patience& patience) {
  HostLookup lookup(host_, port_);
  if (lookup.descriptor() >= 0) {
    problem_ = "the host name is still being looked up";
    const Progress progress =
        awaitAway(lookup.descriptor(), POLLIN, Clock::now() + 3 * times_.connect, patience);
    if (progress == Progress::kStopped) return progress;
    if (progress == Progress::kTimedOut) return isOver(patience) ? progress : Progress::kBroken;
  }
  int error = 0;
  const auto found = lookup.take(error);
  if (found == nullptr) {
    problem_ = error == EAI_NONAME ? "the host name is not known" : gai_strerror(error);
    tellAway(problem_);
    return Progress::kBroken;
  }
  // Of several addresses the system puts the likeliest first; its reason is the one to tell.
  std::string reason;
  for (const addrinfo* one = found.get(); one != nullptr; one = one->ai_next) {
    const Progress progress = tryOne(*one, patience);
    if (progress != Progress::kBroken) return progress;
    if (reason.empty()) reason = problem_;
  }
  problem_ = reason;
  tellAway(problem_);
  return Progress::kBroken;
}

Progress TcpSink::tryOne(const addrinfo& address, const Patience& patience) {
  socket_ =
      socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, address.ai_protocol);
  if (socket_ < 0) {
    problem_ = reasonOf(errno);
    return Progress::kBroken;
  }
  const int on = 1;
  static_cast<void>(setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
  static_cast<void>(setsockopt(socket_, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on));
  static_cast<void>(setsockopt(socket_, SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer));

  int error = connect(socket_, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
  if (error == EINPROGRESS) {
    problem_ = "no answer";
    const Progress progress = awaitAway(socket_, POLLOUT, Clock::now() + times_.connect, patience);
    error = ETIMEDOUT;
    if (progress == Progress::kDone) {
      socklen_t size = sizeof error;
      if (getsockopt(socket_, SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
    } else if (progress == Progress::kStopped || isOver(patience)) {
      hangUp();
      return progress;
    }
  }
  // It was there and has gone: who uses the connection meets its end, and is not let connect often.
  if (error == ECONNRESET) error = 0;
  if (error == 0 && isOwnEnd(socket_)) error = ECONNREFUSED;
  if (error != 0) {
    problem_ = reasonOf(error);
    hangUp();
    return Progress::kBroken;
  }
  base_ = proven_ = acknowledged_ = read_ = sent_;
  windows_ = {};
  notes_ = 0;
  told_ = Stall::kNone;
  problem_.clear();
  progressAt_ = Clock::now();
  sample();
  return Progress::kDone;
}

// Waits for a descriptor (-1: for the time alone) and tells meanwhile that the printer is away.
Progress TcpSink::awaitAway(int descriptor, short events, Clock::time_point until,
                            const Patience& patience) {
  constexpr milliseconds kSlice{100};
  if (inClass_) until = std::min(until, *awaySince_ + times_.awayInClass);
  until = std::min(until, patience.until);
  for (;;) {
    const Patience part = {std::min(until, Clock::now() + kSlice), patience.endsWith};
    const Woken woken =
        descriptor < 0 ? watch_.pause(part) : watch_.await(descriptor, events, part);
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (woken == Woken::kReady) return Progress::kDone;
    if (Clock::now() >= until) return Progress::kTimedOut;
    tellAway(problem_);
  }
}

void TcpSink::tellAway(const std::string& reason) {
  if (!isAwayTold_) tell_("STATE: +connecting-to-device");
  isAwayTold_ = true;
  if (reason == reason_ || !awaySince_ || Clock::now() - *awaySince_ < times_.tellAway) return;
  if (reason_.empty()) tell_("STATE: +offline-report");
  tell_("INFO: Waiting for the printer at " + name_ + ": " + reason);
  reason_ = reason;
}

void TcpSink::tellBack() {
  if (!reason_.empty()) {
    tell_("STATE: -connecting-to-device,-offline-report");
    tell_("INFO: Connected to the printer at " + name_);
  } else if (isAwayTold_) {
    tell_("STATE: -connecting-to-device");
  }
  isAwayTold_ = false;
  reason_.clear();
}

Progress TcpSink::send(const std::uint8_t* data, std::size_t size, const Patience& patience) {
  if (socket_ < 0) return Progress::kBroken;
  if (acknowledged_ == sent_) progressAt_ = Clock::now();
  while (size > 0) {
    const Woken woken =
        watch_.await(socket_, kPeer | POLLOUT, {soonest(patience, kLook), patience.endsWith});
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (isCut()) return Progress::kBroken;
    if (isStalled()) return broken("it does not answer");
    if (woken == Woken::kTime) {
      if (isOver(patience)) return Progress::kTimedOut;
      continue;
    }
    const ssize_t taken = unbroken([&] {
      return ::send(socket_, data, std::min<std::size_t>(size, kSendBuffer),
                    MSG_DONTWAIT | MSG_NOSIGNAL);
    });
    if (taken < 0) {
      if (errno == EAGAIN) continue;
      if (errno != ENOBUFS) return broken(reasonOf(errno));
      // The system lacks memory, and nothing tells when it has some again.
      const Woken paused = watch_.pause({soonest(patience, kNoMemoryPause), patience.endsWith});
      if (paused == Woken::kStopped) return Progress::kStopped;
      if (isOver(patience)) return Progress::kTimedOut;
      continue;
    }
    data += taken;
    size -= static_cast<std::size_t>(taken);
    sent_ += static_cast<std::uint64_t>(taken);
  }
  return Progress::kDone;
}

Progress TcpSink::awaitAcknowledged(const Patience& patience) {
  if (socket_ < 0) return Progress::kBroken;
  Clock::time_point since = Clock::now();
  for (;;) {
    if (isCut()) return Progress::kBroken;
    const std::uint64_t before = acknowledged_;
    if (isStalled()) return broken("it does not answer");
    if (acknowledged_ == sent_) return Progress::kDone;
    if (acknowledged_ != before) since = Clock::now();
    const Clock::duration step = nextLook(Clock::now() - since);
    const Woken woken = watch_.await(socket_, kPeer, {soonest(patience, step), patience.endsWith});
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (isOver(patience)) return Progress::kTimedOut;
  }
}

// A break takes this page into doubt, and must not take the one before with it: that has to be read
// first. A printer's system tells of its room where it acknowledges bytes, not where the printer
// reads them: so the end of a page is kept back, and each of its bytes asks.
Progress TcpSink::settle(const std::uint8_t* data, std::size_t size, const Patience& patience) {
  constexpr std::size_t kQuestions = 32;
  const std::uint64_t end = sent_ + size;
  const auto sendUpTo = [&](std::uint64_t to) {
    return send(data + size - (end - sent_), to - sent_, patience);
  };
  sample();
  const bool asks = !isPreviousRead(end) && end - proven_ <= 2 * windows_.mostHidden();
  Progress progress = sendUpTo(asks ? end - std::min(size, kQuestions) : end);
  if (progress == Progress::kDone) progress = awaitAcknowledged(patience);
  const Clock::time_point since = Clock::now();
  Clock::time_point askedAt = since;
  while (progress == Progress::kDone && !isPreviousRead(end) &&
         Clock::now() < since + times_.previousPage) {
    const Clock::duration step = nextLook(Clock::now() - since);
    const Woken woken = watch_.await(socket_, kPeer, {soonest(patience, step), patience.endsWith});
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (isCut()) return Progress::kBroken;
    sample();
    if (isOver(patience)) return Progress::kTimedOut;
    if (sent_ < end && Clock::now() >= askedAt + times_.previousPage / kQuestions) {
      askedAt = Clock::now();
      progress = sendUpTo(sent_ + 1);
    }
  }
  if (progress == Progress::kDone) progress = sendUpTo(end);
  return progress == Progress::kDone ? awaitAcknowledged(patience) : progress;
}

// Surely, where a page that ends at `end` is long enough to show it; else as far as shows.
bool TcpSink::isPreviousRead(std::uint64_t end) const {
  if (end - proven_ > windows_.mostHidden()) return read_ >= proven_;
  return acknowledged_ - std::min(acknowledged_, windows_.shownUnread()) >= proven_;
}

Progress TcpSink::prove(const Patience& patience) {
  const Progress progress = awaitAcknowledged(patience);
  if (progress == Progress::kDone) proven_ = sent_;
  return progress;
}

// A printer that closes in order has read what it had: a system resets where bytes are left unread.
// One that never closes must not hold up the next job.
Progress TcpSink::finish(const Patience& patience) {
  if (socket_ < 0) return Progress::kDone;
  static_cast<void>(shutdown(socket_, SHUT_WR));
  const Patience farewell = {soonest(patience, times_.farewell), patience.endsWith};
  for (;;) {
    const Heard heard = hear();
    if (heard == Heard::kReset) return broken(problem_);
    if (heard == Heard::kEnd) {
      read_ = sent_;
      pause_ = {};
      hangUp();
      return Progress::kDone;
    }
    if (watch_.await(socket_, kPeer, farewell) == Woken::kReady) continue;
    if (hear() == Heard::kReset) return broken(problem_);
    const bool isStopped = watch_.isStopped(patience);
    hangUp();
    return isStopped ? Progress::kStopped : Progress::kDone;
  }
}

void TcpSink::drop() {
  if (socket_ >= 0) {
    // The printer sees a reset and forgets the page.
    const linger atOnce = {1, 0};
    static_cast<void>(setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce));
  }
  hangUp();
  sent_ = proven_ = acknowledged_ = read_ = base_ = 0;
}

// Takes in whatever the printer says: unread words would turn our end of the connection into a
// reset, which can destroy what the printer has not yet read.
TcpSink::Heard TcpSink::hear() {
  std::array<char, 2048> text = {};
  constexpr int kAtMost = 16;  // a chatterer must not keep us from sending
  for (int i = 0; i < kAtMost; ++i) {
    const ssize_t size =
        unbroken([&] { return recv(socket_, text.data(), text.size(), MSG_DONTWAIT); });
    if (size == 0) return Heard::kEnd;
    if (size < 0) {
      if (errno == EAGAIN) return Heard::kNothing;
      problem_ = reasonOf(errno);
      return Heard::kReset;
    }
    note(text.data(), static_cast<std::size_t>(size));
  }
  return Heard::kNothing;
}

void TcpSink::note(const char* text, std::size_t size) {
  constexpr int kMostNotes = 3;
  constexpr std::size_t kShown = 80;
  if (++notes_ > kMostNotes) return;
  tell_("DEBUG: the printer says " + printable({text, std::min(size, kShown)}));
}

// A label printer that closes in the middle of a page has a problem.
bool TcpSink::isCut() {
  const Heard heard = hear();
  if (heard == Heard::kNothing) return false;
  const bool isEnd = heard == Heard::kEnd;
  static_cast<void>(broken(isEnd ? "it closed the connection" : problem_, isEnd));
  return true;
}

// A printer that breaks every connection, as one may that serves somebody else, is asked ever more
// seldom. One that has closed in order has read what it acknowledged.
Progress TcpSink::broken(const std::string& problem, bool isEnd) {
  sample();
  if (isEnd) read_ = acknowledged_;
  const auto longer = std::max<Clock::duration>(2 * pause_, times_.firstPause);
  pause_ = read_ > base_ ? Clock::duration::zero()
                         : std::min<Clock::duration>(longer, times_.longestPause);
  problem_ = problem;
  if (told_ != Stall::kNone) tell_("STATE: -offline-report");
  hangUp();
  return Progress::kBroken;
}

void TcpSink::sample() {
  if (socket_ < 0) return;
  last_ = sampleTcp(socket_);
  windows_.note(last_);
  acknowledged_ = std::max(acknowledged_, sent_ - std::min(sent_ - base_, last_.out));
  const std::uint64_t unread = windows_.mostUnread();
  read_ = std::max(read_, acknowledged_ - std::min(acknowledged_ - base_, unread));
}

// Tells when nothing goes on; true where the printer shall be given up for that.
bool TcpSink::isStalled() {
  const std::uint64_t before = acknowledged_;
  sample();
  if (acknowledged_ != before || acknowledged_ == sent_) {
    progressAt_ = Clock::now();
    if (told_ != Stall::kNone) {
      tell_("STATE: -offline-report");
      tell_("INFO: The printer at " + name_ + " takes data again");
      told_ = Stall::kNone;
    }
    return false;
  }
  if (Clock::now() - progressAt_ < times_.noProgress) return false;
  const Stall stall = last_.isSilent ? Stall::kSilent : Stall::kFull;
  if (stall == told_) return false;
  if (stall == Stall::kSilent && inClass_) return true;
  if (told_ == Stall::kNone) tell_("STATE: +offline-report");
  told_ = stall;
  tell_(stall == Stall::kSilent
            ? "INFO: The printer at " + name_ + " does not answer"
            : "INFO: The printer takes no more data; is it out of paper or paused?");
  return false;
}

void TcpSink::hangUp() {
  if (socket_ >= 0) close(std::exchange(socket_, -1));
}

}  // namespace kestra::delivery
