// A loop around poll: signals, actions by hand, clocks, the next connection, the next bytes.
//
// Reads stop at the ends of labels and at the bytes that faults are planned for: what a fault
// leaves unread is left in the system's buffer, as a printer that fails leaves it. Longer than most
// files, because every action needs the loop's state.
#include "tools/paper/printer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace kestra::paper {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr std::size_t kMostRead = 65536;
constexpr double kMillimetresPerInch = 25.4;
constexpr double kStepSeconds = 0.01;  // of paper at a time
constexpr auto kFillTime = std::chrono::milliseconds(300);
constexpr auto kLongestDrain = std::chrono::seconds(1);
constexpr int kDied = 3;
constexpr std::uint64_t kFar = UINT64_MAX;

std::chrono::steady_clock::duration duration(double seconds) {
  return std::chrono::duration_cast<std::chrono::steady_clock::duration>(Seconds(seconds));
}

std::uint64_t unreadBytes(int descriptor) {
  int bytes = 0;  // as it stays where there is no buffer
  static_cast<void>(ioctl(descriptor, FIONREAD, &bytes));
  return static_cast<std::uint64_t>(bytes);
}

// The bytes of a label of `size` that make `percent` of it; at least one.
std::uint64_t share(std::uint64_t size, unsigned percent) {
  return std::max<std::uint64_t>(1, (size * percent + 99) / 100);
}

}  // namespace

Printer::Printer(const PrinterSettings& settings, Recorder& recorder, Journal& journal)
    : settings_(settings),
      recorder_(recorder),
      journal_(journal),
      parser_(recorder, settings.rules),
      listener_(settings.source, settings.buffer),
      faults_(settings.faults),
      buffer_(kMostRead),
      speed_(settings.speed) {}

Printer::~Printer() {
  for (const int descriptor : keptOpen_) close(descriptor);
  for (const int descriptor : {signals_, control_}) {
    if (descriptor > STDIN_FILENO) close(descriptor);
  }
  if (controlMade_) unlink(settings_.control.c_str());
}

Result<void> Printer::run() {
  if (Result<void> started = start(); !started) return started;
  while (!over_) step();
  finish();
  return {};
}

Result<void> Printer::start() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGTERM, SIGINT, SIGUSR1}) {
    std::signal(signal, SIG_DFL);  // an ignored signal would never arrive
    sigaddset(&set, signal);
  }
  sigprocmask(SIG_BLOCK, &set, nullptr);
  signals_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
  started_ = lastByte_ = nextRead_ = Clock::now();
  if (Result<void> opened = openControl(); !opened) return opened;
  if (settings_.source.isSocket()) {
    if (Result<void> opened = listener_.open(); !opened) return opened;
    const std::string address = listener_.address();
    JsonLine line("ready", wallClock());
    line.text("address", address).number("port", listener_.source().port);
    journal_.line(line);
    journal_.say("listening on " + address);
    if (Result<void> written = writeReadyFile(); !written) return written;
  } else {
    const std::string& path = settings_.source.path;
    connection_ =
        path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat found = {};
    if (connection_ >= 0 && fstat(connection_, &found) == 0 && S_ISDIR(found.st_mode)) {
      errno = EISDIR;
      close(connection_);
      connection_ = -1;
    }
    if (connection_ < 0) return Problem{path + " cannot be read: " + std::strerror(errno)};
    recorder_.opened();
  }
  fireDue();
  return {};
}

Result<void> Printer::openControl() {
  const std::string& path = settings_.control;
  if (path.empty()) return {};
  if (path == "-") {
    control_ = STDIN_FILENO;
    return {};
  }
  controlMade_ = mkfifo(path.c_str(), 0600) == 0;
  // Opened for writing too: it does not end when a writer goes.
  control_ = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  struct stat found = {};
  if (control_ >= 0 && fstat(control_, &found) == 0 && S_ISFIFO(found.st_mode)) return {};
  return Problem{path + " cannot be used for control: " +
                 (control_ >= 0 ? "it is no FIFO" : std::strerror(errno))};
}

Result<void> Printer::writeReadyFile() const {
  const std::string& path = settings_.readyFile;
  if (path.empty()) return {};
  const Source& source = listener_.source();
  const std::string text =
      (source.kind == SourceKind::kTcp ? std::to_string(source.port) : source.path) + "\n";
  const std::string temporary = path + ".part" + std::to_string(getpid());
  const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  bool good = file >= 0 && writeAll(file, text);
  if (file >= 0) good = close(file) == 0 && good;
  good = good && std::rename(temporary.c_str(), path.c_str()) == 0;
  if (good) return {};
  Problem problem = {path + " cannot be written: " + std::strerror(errno)};
  unlink(temporary.c_str());
  return problem;
}

void Printer::step() {
  wait();
  takeSignals();
  if (over_) return;
  takeControl();
  if (connection_ < 0) acceptNext();
  readSome();
  checkClocks();
}

bool Printer::reading(Moment now) const {
  return connection_ >= 0 && !deaf_ && !pausedUntil_ && !resetAt_ && now >= nextRead_;
}

bool Printer::nothingUnread() const { return connection_ < 0 || unreadBytes(connection_) == 0; }

void Printer::wait() {
  const Moment now = Clock::now();
  std::optional<Moment> until;
  const auto consider = [&](const std::optional<Moment>& moment) {
    if (moment && (!until || *moment < *until)) until = moment;
  };
  for (const auto& moment : {deafUntil_, pausedUntil_, slowUntil_, refusingUntil_, resetAt_}) {
    consider(moment);
  }
  if (connection_ >= 0 && nextRead_ > now) consider(nextRead_);
  if (settings_.runFor) consider(started_ + duration(*settings_.runFor));
  if (settings_.idleFor && recorder_.begun() > 0) {
    consider(std::max(lastByte_ + duration(*settings_.idleFor), now + duration(kStepSeconds)));
  }
  int patience = -1;  // milliseconds
  if (until) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*until - now).count();
    constexpr std::int64_t kLongest = 60000;
    patience = static_cast<int>(std::clamp<std::int64_t>(left, 0, kLongest));
  }
  const bool isReading = reading(now);
  const bool watchEnd = deaf_ && settings_.source.isSocket();
  const auto wanted = static_cast<short>(isReading ? POLLIN : (watchEnd ? POLLRDHUP : 0));
  std::array<pollfd, 4> polled = {{
      {signals_, POLLIN, 0},
      {control_, POLLIN, 0},
      {connection_ < 0 ? listener_.descriptor() : -1, POLLIN, 0},
      {wanted != 0 ? connection_ : -1, wanted, 0},
  }};
  if (poll(polled.data(), polled.size(), patience) <= 0) return;
  const bool ended = (polled[3].revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
  if (ended && watchEnd && !isReading) {
    const std::uint64_t unread = unreadBytes(connection_);
    close(connection_);
    endConnection((polled[3].revents & POLLERR) != 0 ? "reset" : "end", unread);
  }
}

void Printer::takeSignals() {
  signalfd_siginfo info = {};
  while (read(signals_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    if (info.ssi_signo == SIGUSR1) {
      forgetLabel("soft reset");
    } else {
      over_ = true;
    }
  }
}

void Printer::takeControl() {
  if (control_ < 0) return;
  pollfd polled = {control_, POLLIN, 0};
  if (poll(&polled, 1, 0) <= 0) return;
  std::array<char, 4096> bytes = {};
  const ssize_t got = read(control_, bytes.data(), bytes.size());
  if (got <= 0) {
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (control_ > 0) close(control_);
    control_ = -1;
    return;
  }
  controlText_.append(bytes.data(), static_cast<std::size_t>(got));
  for (std::size_t end = 0; (end = controlText_.find('\n')) != std::string::npos;) {
    const std::string line = controlText_.substr(0, end);
    controlText_.erase(0, end + 1);
    if (const auto action = parseAction(line)) {
      act(*action, "control");
    } else if (const auto fault = parseFault(line)) {
      faults_.push_back(*fault);
      fireDue();
    } else {
      const std::string problem = "control: " + action.problem();
      journal_.complain(problem);
      journal_.line(JsonLine("problem", wallClock()).text("problem", problem));
    }
  }
}

void Printer::checkClocks() {
  const Moment now = Clock::now();
  const auto passed = [&](std::optional<Moment>& moment) {
    if (!moment || now < *moment) return false;
    moment.reset();
    return true;
  };
  if (passed(pausedUntil_)) nextRead_ = now;
  if (passed(deafUntil_)) deaf_ = false;
  if (passed(slowUntil_)) speed_ = settings_.speed;
  if (passed(refusingUntil_) && !listener_.listenAgain()) {
    refusingUntil_ = now + duration(kStepSeconds);
  }
  if (passed(resetAt_)) resetNow("reset by printer, unread");
  if (settings_.labels > 0 && recorder_.counters().whole >= settings_.labels) over_ = true;
  if (settings_.runFor && now >= started_ + duration(*settings_.runFor)) over_ = true;
  if (settings_.idleFor && recorder_.begun() > 0 && nothingUnread() && !pausedUntil_ &&
      !refusingUntil_ && now >= lastByte_ + duration(*settings_.idleFor)) {
    over_ = true;
  }
}

void Printer::acceptNext() {
  connection_ = listener_.accept();
  if (connection_ < 0) return;
  lastByte_ = Clock::now();
  if (!settings_.keepState) {
    endOfStream();
  } else {
    parser_.countFromZero();
  }
  recorder_.opened();
  fireDue();
}

// Bytes that may be read before a fault that is still to come could be due; those that are due have
// fired.
std::uint64_t Printer::bytesToFault() const {
  std::uint64_t least = kFar;
  for (const PlannedFault& fault : faults_) {
    const When& when = fault.when;
    if (when.kind == WhenKind::kByte) {
      const std::uint64_t came = recorder_.counters().bytes;
      least = std::min(least, when.number - came);
    } else if (when.kind == WhenKind::kLabel || when.kind == WhenKind::kAfter) {
      least = std::min(least, parser_.bytesToBoundary());
      const bool isThis = when.kind == WhenKind::kLabel && when.number == recorder_.begun();
      const std::optional<std::uint64_t> size = parser_.labelSize();
      if (isThis && size) {
        least = std::min(least, share(*size, when.percent) - parser_.labelBytes());
      }
    }
  }
  return least;
}

void Printer::readSome() {
  const Moment now = Clock::now();
  if (!reading(now)) return;
  // Outside of rows nothing is printed; the last byte of a label is the last one read for it, so
  // that its time is its own.
  const bool inRows = parser_.rowBytes() > 0;
  std::uint64_t most = std::min<std::uint64_t>(kMostRead, bytesToFault());
  if (!parser_.searching()) most = std::min(most, parser_.bytesToBoundary());
  const std::size_t rowBytes = parser_.rowBytes();
  if (inRows && speed_ > 0) {
    const double bytesPerSecond =
        speed_ / kMillimetresPerInch * settings_.dpi * static_cast<double>(rowBytes);
    const auto piece = static_cast<std::uint64_t>(bytesPerSecond * kStepSeconds);
    most = std::min(most, std::max<std::uint64_t>(1, piece));
  }
  const std::uint64_t before = recorder_.counters().bytes;
  const Ended ended = readOnce(static_cast<std::size_t>(most));
  const std::uint64_t came = recorder_.counters().bytes - before;
  if (came > 0) {
    if (inRows && speed_ > 0) hurry(static_cast<std::size_t>(came), rowBytes);
    fireDue();
  }
  if (ended == Ended::kNo) return;
  if (noClose_ && ended == Ended::kAtEnd) {
    keptOpen_.push_back(connection_);
  } else if (connection_ > 0) {
    close(connection_);
  }
  endConnection(ended == Ended::kAtEnd ? "end" : "reset", 0);
}

// The paper needs its time for what was just read.
void Printer::hurry(std::size_t bytes, std::size_t rowBytes) {
  const double rows = static_cast<double>(bytes) / static_cast<double>(rowBytes);
  const double seconds = rows / settings_.dpi * kMillimetresPerInch / speed_;
  const Moment now = Clock::now();
  // A late wake-up is caught up with; a pause for want of bytes is not.
  const Moment from = now - nextRead_ < duration(2 * kStepSeconds) ? nextRead_ : now;
  nextRead_ = from + duration(seconds);
}

Printer::Ended Printer::readOnce(std::size_t most) {
  if (!settings_.source.isSocket()) {
    // A file blocks where a socket would not.
    pollfd polled = {connection_, POLLIN, 0};
    if (poll(&polled, 1, 0) <= 0) return Ended::kNo;
  }
  const ssize_t got = read(connection_, buffer_.data(), most);
  if (got > 0) {
    const auto bytes = static_cast<std::size_t>(got);
    lastByte_ = Clock::now();
    recorder_.read(bytes);
    parser_.feed(buffer_.data(), bytes);
    return Ended::kNo;
  }
  if (got == 0) return Ended::kAtEnd;
  if (errno == EAGAIN || errno == EINTR) return Ended::kNo;
  return Ended::kByReset;
}

bool Printer::isDue(const When& when) const {
  const std::uint64_t begun = recorder_.begun();
  switch (when.kind) {
    case WhenKind::kStart:
      return true;
    case WhenKind::kConnection:
      return connection_ >= 0 && recorder_.counters().connections >= when.number;
    case WhenKind::kAfter:
      return recorder_.counters().whole >= when.number;
    case WhenKind::kByte:
      return recorder_.counters().bytes >= when.number;
    case WhenKind::kLabel:
      break;
  }
  if (begun != when.number) return begun > when.number;
  if (when.percent == 0 || parser_.labelBytes() == 0) return begun > 0;  // begun, or ended already
  const std::optional<std::uint64_t> size = parser_.labelSize();
  return size && parser_.labelBytes() >= share(*size, when.percent);
}

void Printer::fireDue() {
  for (std::size_t i = 0; i < faults_.size();) {
    if (!isDue(faults_[i].when)) {
      ++i;
      continue;
    }
    const PlannedFault fault = faults_[i];
    faults_.erase(faults_.begin() + static_cast<std::ptrdiff_t>(i));
    act(fault.action, fault.when.text);
    i = 0;  // what was read by the action may have made others due
  }
}

void Printer::act(const Action& action, const std::string& why) {
  journal_.line(JsonLine("action", wallClock())
                    .text("action", action.text)
                    .text("why", why)
                    .number("connection", recorder_.counters().connections)
                    .number("label", recorder_.begun())
                    .number("label_bytes", parser_.labelBytes()));
  journal_.say("now " + action.text + " (" + why + ")");
  const Moment now = Clock::now();
  std::optional<Moment> until;
  if (action.seconds) until = now + duration(*action.seconds);
  switch (action.kind) {
    case ActionKind::kPause:
      pausedUntil_ = until;
      break;
    case ActionKind::kSlow:
      speed_ = action.speed;
      slowUntil_ = until;
      nextRead_ = now;
      break;
    case ActionKind::kClose:
      closeInOrder();
      break;
    case ActionKind::kReset:
      if (connection_ >= 0) {
        // With less room for bytes the window stays shut, and what was acknowledged is soon read.
        const int least = 1;
        setsockopt(connection_, SOL_SOCKET, SO_RCVBUF, &least, sizeof least);
        if (drain(kLongestDrain) == Ended::kNo) resetNow("reset by printer");
      }
      break;
    case ActionKind::kResetUnread:
      if (connection_ >= 0) resetAt_ = now + kFillTime;
      break;
    case ActionKind::kDeaf:
      deaf_ = true;
      deafUntil_ = until;
      break;
    case ActionKind::kRefuse:
      stopListening(*action.seconds);
      if (connection_ >= 0) resetNow("reset by printer");
      break;
    case ActionKind::kPowerCycle:
      stopListening(*action.seconds);
      recorder_.expectCut("power lost");
      parser_.end();
      if (connection_ >= 0) resetNow("power lost");
      break;
    case ActionKind::kNoClose:
      noClose_ = true;
      break;
    case ActionKind::kGarbage:
      if (connection_ >= 0 && settings_.source.isSocket()) {
        static_cast<void>(send(connection_, action.bytes.data(), action.bytes.size(),
                               MSG_NOSIGNAL | MSG_DONTWAIT));
      }
      break;
    case ActionKind::kDie:
      _exit(kDied);
  }
}

// Reads what is there. Ends the connection where its sender did.
Printer::Ended Printer::drain(Clock::duration longest) {
  const Moment until = Clock::now() + longest;
  while (Clock::now() < until) {
    const std::uint64_t before = recorder_.counters().bytes;
    const Ended ended = readOnce(kMostRead);
    if (ended != Ended::kNo) {
      if (connection_ > 0) close(connection_);
      endConnection(ended == Ended::kAtEnd ? "end" : "reset", 0);
      return ended;
    }
    if (recorder_.counters().bytes == before) break;
  }
  return Ended::kNo;
}

void Printer::closeInOrder() {
  if (connection_ < 0) return;
  if (settings_.source.isSocket()) {
    if (drain(kLongestDrain) != Ended::kNo) return;
    // The sender learns of the end first; what it sent until then is still read.
    shutdown(connection_, SHUT_WR);
    if (drain(kLongestDrain) != Ended::kNo) return;
  }
  const std::uint64_t unread = unreadBytes(connection_);
  if (connection_ > 0) close(connection_);
  endConnection("closed by printer", unread);
}

void Printer::resetNow(const char* how) {
  const std::uint64_t unread = unreadBytes(connection_);
  if (settings_.source.kind == SourceKind::kTcp) {
    const linger atOnce = {1, 0};
    setsockopt(connection_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  }
  if (connection_ > 0) close(connection_);
  endConnection(how, unread);
}

void Printer::stopListening(double seconds) {
  if (!settings_.source.isSocket()) return;
  listener_.refuse();
  refusingUntil_ = Clock::now() + duration(seconds);
}

void Printer::endConnection(const char* how, std::uint64_t unread) {
  connection_ = -1;
  resetAt_.reset();
  deaf_ = false;
  deafUntil_.reset();
  nextRead_ = Clock::now();
  if (!settings_.keepState) endOfStream();
  recorder_.closed(how, unread);
  if (!settings_.source.isSocket()) over_ = true;
}

void Printer::endOfStream() {
  recorder_.expectCut("end of connection");
  parser_.end();
  parser_.countFromZero();
}

void Printer::forgetLabel(const char* why) {
  recorder_.expectCut(why);
  parser_.end();
}

// What had come when the end was asked for still counts: what a sender got rid of is not lost
// because the judge was quicker.
void Printer::finish() {
  const bool willing = !deaf_ && !pausedUntil_ && !resetAt_;
  while (willing && settings_.source.isSocket()) {
    if (connection_ < 0) acceptNext();
    if (connection_ < 0 || drain(kLongestDrain) == Ended::kNo) break;
  }
  if (connection_ >= 0) {
    const std::uint64_t unread = settings_.source.isSocket() ? unreadBytes(connection_) : 0;
    if (connection_ > 0) close(connection_);
    endConnection("end of run", unread);
  }
  recorder_.expectCut("end of run");
  parser_.end();
}

}  // namespace kestra::paper
