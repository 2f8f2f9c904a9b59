// Runs the program with all the channels that the print system would give it, and listens to each
// of them: a channel that nobody reads stops the program.
#include "delivery/sinks/backend_sink.h"

#include <cups/backend.h>
#include <cups/sidechannel.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "filter/base/unbroken.h"

namespace kestra::delivery {
namespace {

using std::chrono::milliseconds;

// How often a wait looks at what no descriptor tells.
constexpr milliseconds kLook{200};

Clock::time_point soonest(const Patience& patience, Clock::duration time) {
  return std::min(patience.until, Clock::now() + time);
}

Patience part(const Patience& patience, Clock::duration time) {
  return {soonest(patience, time), patience.endsWith};
}

bool isOver(const Patience& patience) { return Clock::now() >= patience.until; }

void closeEnd(int& descriptor) {
  if (descriptor >= 0) close(std::exchange(descriptor, -1));
}

}  // namespace

BackendSink::BackendSink(std::string scheme, std::unique_ptr<Starter> starter, bool inClass,
                         Watch& watch, Tell tell, const BackendTimes& times)
    : scheme_(std::move(scheme)),
      starter_(std::move(starter)),
      inClass_(inClass),
      watch_(watch),
      tell_(std::move(tell)),
      times_(times),
      counts_(scheme_ == "usb"),
      pause_(times.firstPause) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

BackendSink::~BackendSink() { terminate(); }

Progress BackendSink::open(Before before, const Patience& patience) {
  if (isHopeless_) return Progress::kHopeless;
  if (isRunning_) {
    hear();
    if (!end_) return Progress::kDone;
    return afterEnd();
  }
  if (inClass_ && notBefore_) return Progress::kBroken;
  if (notBefore_) {
    const Patience rest = {std::min(*notBefore_, patience.until), patience.endsWith};
    if (watch_.pause(rest) == Woken::kStopped) return Progress::kStopped;
    if (isOver(patience)) return Progress::kTimedOut;
  }
  return start(before, patience);
}

Progress BackendSink::start(Before before, const Patience& patience) {
  InnerEnds ends;
  const bool hasChannels = makeChannels(ends);
  const int error = hasChannels ? starter_->start(ends) : errno;
  for (int* one : {&ends.input, &ends.log, &ends.back, &ends.side}) closeEnd(*one);
  if (error != 0) {
    hangUp();
    problem_ = "The program \"" + scheme_ + "\" of the print system cannot be started: " +
               std::strerror(error);  // NOLINT(concurrency-mt-unsafe): one thread
    // Too many processes or files are no fault of the program's.
    const bool isShort = error == EAGAIN || error == ENOMEM || error == EMFILE || error == ENFILE ||
                         error == EBUSY || error == ETIMEDOUT;
    if (isShort) return broken(problem_);
    isHopeless_ = true;
    return Progress::kHopeless;
  }
  isRunning_ = true;
  isInputOver_ = hasCounted_ = isConnecting_ = false;
  end_.reset();
  lines_ = {};
  base_ = sent_;
  counted_ = 0;
  countedAt_ = Clock::now();
  for (const int one : {log_, back_, starter_->descriptor()}) {
    watch_.add(one, [this] { hear(); });
  }
  if (before != Before::kTornPage) return Progress::kDone;
  if (scheme_ == "usb") return makeForget(patience);
  // A wire without connections: only the bytes themselves tell the printer where a label ends.
  if (scheme_ == "serial" || scheme_ == "parallel") warnOfTornPage();
  return Progress::kDone;
}

bool BackendSink::makeChannels(InnerEnds& ends) {
  std::array<int, 2> input = {-1, -1};
  std::array<int, 2> log = {-1, -1};
  std::array<int, 2> back = {-1, -1};
  std::array<int, 2> side = {-1, -1};
  const bool isGood = pipe2(input.data(), O_CLOEXEC) == 0 && pipe2(log.data(), O_CLOEXEC) == 0 &&
                      pipe2(back.data(), O_CLOEXEC) == 0 &&
                      socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, side.data()) == 0;
  const int error = errno;
  ends = {input[0], log[1], back[1], side[1]};
  input_ = input[1];
  log_ = log[0];
  back_ = back[0];
  side_ = side[0];
  for (const int one : {input_, log_, back_}) {
    // Each end of a pipe has flags of its own: the program's stay as they are.
    if (one >= 0) static_cast<void>(fcntl(one, F_SETFL, fcntl(one, F_GETFL) | O_NONBLOCK));
  }
  errno = error;
  return isGood;
}

// The printer that has part of a page would take the next one for the rest of it. The request must
// not be answered late, in the middle of the next page: a program that does not answer is started
// anew without it.
Progress BackendSink::makeForget(const Patience& patience) {
  constexpr std::array<unsigned char, 4> kReset = {CUPS_SC_CMD_SOFT_RESET, CUPS_SC_STATUS_NONE, 0,
                                                   0};
  std::array<unsigned char, 64> answer = {};
  ssize_t size = ::send(side_, kReset.data(), kReset.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  Clock::time_point until = Clock::now() + times_.reset;
  bool isAnswered = false;
  while (size > 0 && !end_ && Clock::now() < until) {
    const Woken woken = watch_.await(side_, POLLIN, part(patience, kLook));
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (isOver(patience)) return Progress::kTimedOut;
    // Until the printer is there nobody can answer for it.
    if (isConnecting_) until = Clock::now() + times_.reset;
    if (woken != Woken::kReady) continue;
    size = recv(side_, answer.data(), answer.size(), MSG_DONTWAIT);
    isAnswered = size >= static_cast<ssize_t>(kReset.size());
    break;
  }
  if (end_) return afterEnd();
  if (isAnswered && answer[0] == CUPS_SC_CMD_SOFT_RESET && answer[1] == CUPS_SC_STATUS_OK) {
    return Progress::kDone;
  }
  warnOfTornPage();
  if (isAnswered) return Progress::kDone;
  terminate();
  return start(Before::kNothing, patience);
}

void BackendSink::warnOfTornPage() {
  if (isTornTold_) return;
  tell_(
      "WARNING: The printer could not be made to forget the label that was cut off; if the next "
      "one is spoilt, switch the printer off and on");
  isTornTold_ = true;
}

Progress BackendSink::send(const std::uint8_t* data, std::size_t size, const Patience& patience) {
  if (!isRunning_ || (isInputOver_ && size > 0)) return Progress::kBroken;
  while (size > 0) {
    const Woken woken = watch_.await(input_, POLLOUT, part(patience, kLook));
    if (end_) return afterEnd();
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (woken == Woken::kTime) {
      if (isOver(patience)) return Progress::kTimedOut;
      continue;
    }
    const ssize_t taken = unbroken([&] { return write(input_, data, size); });
    if (taken < 0) {
      if (errno == EAGAIN) continue;
      // It reads no more; its end says why.
      static_cast<void>(awaitEnd({Clock::now() + times_.mercy, Stop::kNone}));
      return end_ ? afterEnd() : broken("the program " + scheme_ + " takes no more data");
    }
    data += taken;
    size -= static_cast<std::size_t>(taken);
    sent_ += static_cast<std::uint64_t>(taken);
    countedAt_ = Clock::now();
  }
  return Progress::kDone;
}

Progress BackendSink::settle(const std::uint8_t* data, std::size_t size, const Patience& patience) {
  const Progress progress = send(data, size, patience);
  return progress == Progress::kDone && counts_ ? awaitCount(patience) : progress;
}

Progress BackendSink::prove(const Patience& patience) {
  if (!isRunning_) return sent_ == proven_ ? Progress::kDone : Progress::kBroken;
  if (counts_) {
    const Progress progress = awaitCount(patience);
    if (progress != Progress::kDone) return progress;
  }
  if (!counts_) {
    const Progress progress = awaitEnd(patience);
    if (progress != Progress::kDone) return progress;
    if (!WIFEXITED(*end_) || WEXITSTATUS(*end_) != CUPS_BACKEND_OK) return afterEnd();
    hangUp();
  }
  proven_ = sent_;
  notBefore_.reset();
  toldProblem_.clear();
  pause_ = times_.firstPause;
  return Progress::kDone;
}

// Gives the counting up, for good, where the program has taken everything and never counts.
Progress BackendSink::awaitCount(const Patience& patience) {
  for (;;) {
    if (base_ + counted_ >= sent_) return Progress::kDone;
    if (end_) return afterEnd();
    const Woken woken = watch_.await(part(patience, kLook));
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (isOver(patience)) return Progress::kTimedOut;
    int waiting = 0;
    const bool isTaken = ioctl(input_, FIONREAD, &waiting) == 0 && waiting == 0;
    if (!hasCounted_ && !isConnecting_ && isTaken && Clock::now() - countedAt_ >= times_.silence) {
      counts_ = false;
      return Progress::kDone;
    }
  }
}

// Says that nothing more comes, and waits.
Progress BackendSink::awaitEnd(const Patience& patience) {
  isInputOver_ = true;
  closeEnd(input_);
  while (!end_) {
    const Woken woken = watch_.await(part(patience, kLook));
    if (end_) break;
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (isOver(patience)) return Progress::kTimedOut;
  }
  hear();
  return Progress::kDone;
}

// The program ended before it was to, or not well.
Progress BackendSink::afterEnd() {
  hear();
  const int status = *end_;
  if (WIFSIGNALED(status)) {
    return broken("the program " + scheme_ + " was ended by signal " +
                  std::to_string(WTERMSIG(status)));
  }
  const int code = WEXITSTATUS(status);
  if (code >= CUPS_BACKEND_AUTH_REQUIRED && code <= CUPS_BACKEND_CANCEL) {
    hangUp();
    isHopeless_ = true;
    innerExit_ = code;
    problem_ = "The program \"" + scheme_ + "\" of the print system ended with status " +
               std::to_string(code);
    return Progress::kHopeless;
  }
  return broken(code == CUPS_BACKEND_OK
                    ? "the program " + scheme_ + " ended before it had the page"
                    : "the program " + scheme_ + " ended with status " + std::to_string(code));
}

Progress BackendSink::broken(const std::string& problem) {
  terminate();
  problem_ = problem;
  notBefore_ = Clock::now() + pause_;
  pause_ = std::min<Clock::duration>(2 * pause_, times_.longestPause);
  if (!inClass_ && problem_ != toldProblem_) {
    tell_("INFO: Trying again until the printer takes the label: " + problem_);
    toldProblem_ = problem_;
  }
  return Progress::kBroken;
}

std::uint64_t BackendSink::surelyRead() const {
  return std::max(proven_, std::min(sent_, base_ + counted_));
}

Progress BackendSink::finish(const Patience& patience) {
  if (!isRunning_) return Progress::kDone;
  const Progress progress = awaitEnd(patience);
  if (progress != Progress::kDone) return progress;
  if (!WIFEXITED(*end_) || WEXITSTATUS(*end_) != CUPS_BACKEND_OK) return afterEnd();
  hangUp();
  return Progress::kDone;
}

void BackendSink::drop() {
  terminate();
  sent_ = proven_ = base_ = counted_ = 0;
}

// Takes in all there is: log lines, what the printer says, the end.
void BackendSink::hear() {
  std::array<char, 4096> text = {};
  // The end first: whatever the program wrote before it is in the channels then.
  if (isRunning_ && !end_) {
    end_ = starter_->end();
    if (end_) watch_.remove(starter_->descriptor());
  }
  constexpr int kAtMost = 64;  // a chatterer must not keep us from everything else
  for (int i = 0; i < kAtMost && log_ >= 0; ++i) {
    const ssize_t size = read(log_, text.data(), text.size());
    if (size < 0) break;
    if (size == 0) {
      forget(log_);
    } else {
      lines_.add({text.data(), static_cast<std::size_t>(size)},
                 [this](const std::string& line) { onLine(line); });
    }
  }
  for (int i = 0; i < kAtMost && back_ >= 0; ++i) {
    const ssize_t size = read(back_, text.data(), text.size());
    if (size < 0) break;
    if (size == 0) forget(back_);
  }
}

void BackendSink::onLine(const std::string& line) {
  if (const auto written = bytesWritten(line)) {
    counted_ += *written;
    hasCounted_ = true;
  }
  if (line.find("STATE:") == 0 && line.find("connecting-to-device") != std::string::npos) {
    isConnecting_ = line.find("+connecting-to-device") != std::string::npos;
    countedAt_ = Clock::now();
  }
  if (const auto text = relayed(line)) tell_(*text);
}

void BackendSink::terminate() {
  if (isRunning_ && !end_) {
    starter_->signal(SIGTERM);
    for (const int number : {SIGKILL, 0}) {
      const Clock::time_point until = Clock::now() + times_.mercy;
      while (!end_ && Clock::now() < until) {
        static_cast<void>(watch_.await({until, Stop::kNone}));
        hear();
      }
      if (end_) break;
      if (number != 0) starter_->signal(number);
    }
  }
  hangUp();
}

void BackendSink::hangUp() {
  if (isRunning_) watch_.remove(starter_->descriptor());
  isRunning_ = false;
  forget(log_);
  forget(back_);
  closeEnd(input_);
  closeEnd(side_);
}

void BackendSink::forget(int& descriptor) {
  if (descriptor >= 0) watch_.remove(descriptor);
  closeEnd(descriptor);
}

}  // namespace kestra::delivery
