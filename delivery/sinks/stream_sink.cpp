// Writes in small pieces and only where there is room: the descriptor may be shared, so that its
// flags are not ours to change.
#include "delivery/sinks/stream_sink.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
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

// A pipe that can be written to has room for so many bytes.
constexpr std::size_t kPiece = 4096;

Clock::time_point soonest(const Patience& patience, Clock::duration time) {
  return std::min(patience.until, Clock::now() + time);
}

}  // namespace

StreamSink::StreamSink(int descriptor, std::string name, Watch& watch, Tell tell)
    : name_(std::move(name)), watch_(watch), tell_(std::move(tell)), descriptor_(descriptor) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  learnKind();
}

StreamSink::StreamSink(Place place, std::string path, Watch& watch, Tell tell)
    : place_(place), path_(std::move(path)), name_(path_), watch_(watch), tell_(std::move(tell)) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

StreamSink::~StreamSink() { hangUp(); }

void StreamSink::learnKind() {
  struct stat status = {};
  if (fstat(descriptor_, &status) != 0) return;
  kind_ = S_ISFIFO(status.st_mode)   ? Kind::kPipe
          : S_ISSOCK(status.st_mode) ? Kind::kSocket
          : S_ISREG(status.st_mode)  ? Kind::kFile
                                     : Kind::kDevice;
}

// -1 with errno where the place cannot be opened now.
int StreamSink::openPlace() {
  if (place_ == Place::kFile) {
    const int anew = wasMade_ ? O_APPEND : O_TRUNC;
    constexpr mode_t kMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
    return ::open(path_.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | anew,
                  kMode);
  }
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (path_.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return -1;
  }
  path_.copy(address.sun_path, path_.size());
  const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (connection < 0) return -1;
  // The call takes every kind of address as the generic one.
  if (connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
    return connection;
  }
  const int error = errno;
  close(connection);
  errno = error;
  return -1;
}

Progress StreamSink::open(Before /*before*/, const Patience& patience) {
  if (descriptor_ >= 0) return Progress::kDone;
  if (path_.empty()) {
    if (problem_.empty()) problem_ = "The way to " + name_ + " is closed.";
    isOver_ = true;
  }
  if (isOver_) return Progress::kHopeless;
  bool isTold = false;
  for (;;) {
    descriptor_ = openPlace();
    if (descriptor_ >= 0) {
      learnKind();
      wasMade_ = true;
      wasReset_ = false;
      if (isTold) tell_("STATE: -connecting-to-device");
      return Progress::kDone;
    }
    const int error = errno;
    // Nobody reads a FIFO yet, a socket is not there yet or busy.
    const bool isAway = error == ENXIO || error == EAGAIN || error == EINTR || error == EBUSY ||
                        (place_ == Place::kUnix && (error == ENOENT || error == ECONNREFUSED));
    problem_ = "Cannot write to " + name_ + ": " +
               std::strerror(error);  // NOLINT(concurrency-mt-unsafe): one thread
    if (!isAway) return Progress::kHopeless;
    if (!isTold) {
      tell_("STATE: +connecting-to-device");
      tell_("INFO: Waiting for somebody who reads " + name_);
      isTold = true;
    }
    constexpr milliseconds kPause{100};
    const Woken woken = watch_.pause({soonest(patience, kPause), patience.endsWith});
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (Clock::now() >= patience.until) return Progress::kTimedOut;
  }
}

Progress StreamSink::send(const std::uint8_t* data, std::size_t size, const Patience& patience) {
  if (descriptor_ < 0) return Progress::kBroken;
  while (size > 0) {
    const Woken woken = watch_.await(descriptor_, POLLOUT, patience);
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (woken == Woken::kTime) return Progress::kTimedOut;
    const std::size_t piece = std::min(size, kPiece);
    const ssize_t taken = unbroken([&] {
      return kind_ == Kind::kSocket ? ::send(descriptor_, data, piece, MSG_DONTWAIT | MSG_NOSIGNAL)
                                    : write(descriptor_, data, piece);
    });
    if (taken < 0) {
      if (errno == EAGAIN) continue;
      return broken(errno);
    }
    data += taken;
    size -= static_cast<std::size_t>(taken);
    sent_ += static_cast<std::uint64_t>(taken);
  }
  note();
  return Progress::kDone;
}

// Bytes that the other end has not read.
std::size_t StreamSink::waiting() const {
  int count = 0;
  if (kind_ == Kind::kPipe) static_cast<void>(ioctl(descriptor_, FIONREAD, &count));
  if (kind_ == Kind::kSocket) static_cast<void>(ioctl(descriptor_, SIOCOUTQ, &count));
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void StreamSink::note() {
  if (descriptor_ < 0) return;
  const std::uint64_t left = waiting();
  // What a local socket's other end had not read is gone with it, and then nothing waits any more.
  int error = 0;
  socklen_t size = sizeof error;
  if (kind_ == Kind::kSocket && getsockopt(descriptor_, SOL_SOCKET, SO_ERROR, &error, &size) == 0 &&
      error != 0) {
    wasReset_ = true;
  }
  if (!wasReset_) read_ = std::max(read_, sent_ - std::min(sent_, left));
}

Progress StreamSink::settle(const std::uint8_t* data, std::size_t size, const Patience& patience) {
  const Progress progress = send(data, size, patience);
  return progress == Progress::kDone ? prove(patience) : progress;
}

Progress StreamSink::prove(const Patience& patience) {
  if (descriptor_ < 0) return Progress::kBroken;
  const Clock::time_point since = Clock::now();
  for (;;) {
    note();
    if (read_ == sent_) return Progress::kDone;
    pollfd other = {descriptor_, POLLRDHUP, 0};
    if (poll(&other, 1, 0) > 0 && (other.revents & (POLLERR | POLLHUP | POLLRDHUP)) != 0) {
      return broken(EPIPE);
    }
    const Clock::duration step = nextLook(Clock::now() - since);
    const Woken woken = watch_.pause({soonest(patience, step), patience.endsWith});
    if (woken == Woken::kStopped) return Progress::kStopped;
    if (Clock::now() >= patience.until) return Progress::kTimedOut;
  }
}

Progress StreamSink::finish(const Patience& /*patience*/) {
  if (descriptor_ < 0) return Progress::kDone;
  if (kind_ == Kind::kFile && fsync(descriptor_) != 0 && errno != EINVAL && errno != EROFS) {
    return broken(errno);
  }
  // A given descriptor's end is its owner's to say.
  if (!path_.empty()) hangUp();
  return Progress::kDone;
}

void StreamSink::drop() {
  hangUp();
  sent_ = read_ = 0;
}

Progress StreamSink::broken(int error) {
  if (error == ECONNRESET) wasReset_ = true;
  note();
  const bool isEnd = error == EPIPE || error == ECONNRESET;
  problem_ = isEnd ? "Nobody reads " + name_ + " any more."
                   : "Cannot write to " + name_ + ": " +
                         std::strerror(error);  // NOLINT(concurrency-mt-unsafe): one thread
  // A full disk or a broken device is nothing that another attempt could mend.
  isOver_ = !isEnd || path_.empty();
  hangUp();
  return isEnd ? Progress::kBroken : Progress::kHopeless;
}

void StreamSink::hangUp() {
  const int descriptor = std::exchange(descriptor_, -1);
  if (descriptor >= 0 && !path_.empty()) close(descriptor);
}

}  // namespace kestra::delivery
