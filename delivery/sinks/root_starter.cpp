// A request is one letter, and the program's four descriptors where it asks for a start. No text of
// a request is read, so that whoever has taken over a sender gains nothing but a printer.
#include "delivery/sinks/root_starter.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "delivery/sinks/count_lines.h"
#include "filter/base/unbroken.h"

namespace kestra::delivery {
namespace {

constexpr char kStart = 's';
constexpr char kTerminate = 't';
constexpr char kKill = 'k';
constexpr std::size_t kEnds = 4;
constexpr int kAnswerMilliseconds = 10000;
constexpr int kMercyMilliseconds = 1000;

// What goes back; one machine, one byte order.
struct Answer {
  bool isEnd = false;  // else the answer to a request for a start
  int value = 0;       // wait status, or error
};

using Ends = std::array<int, kEnds>;
// Room for the descriptors and their header.
using Control = std::array<char, CMSG_SPACE(sizeof(Ends))>;

struct Request {
  bool isOver = false;
  char what = 0;
  Ends ends = {-1, -1, -1, -1};
};

Request receive(int socket) {
  Request request;
  alignas(cmsghdr) Control control = {};
  iovec letter = {&request.what, 1};
  msghdr message = {};
  message.msg_iov = &letter;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  request.isOver = unbroken([&] { return recvmsg(socket, &message, MSG_CMSG_CLOEXEC); }) <= 0;
  const cmsghdr* header = CMSG_FIRSTHDR(&message);
  if (header != nullptr && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS) {
    const std::size_t bytes = header->cmsg_len - CMSG_LEN(0);
    std::memcpy(request.ends.data(), CMSG_DATA(header), std::min(bytes, sizeof request.ends));
  }
  return request;
}

void answer(int socket, const Answer& words) {
  static_cast<void>(send(socket, &words, sizeof words, MSG_NOSIGNAL | MSG_DONTWAIT));
}

}  // namespace

void serveStarts(int socket, const InnerProgram& program) {
  DirectStarter starter(program);
  bool isRunning = false;
  for (;;) {
    std::array<pollfd, 2> polled = {pollfd{socket, POLLIN, 0},
                                    pollfd{isRunning ? starter.descriptor() : -1, POLLIN, 0}};
    if (unbroken([&] { return poll(polled.data(), polled.size(), -1); }) < 0) break;
    if (const std::optional<int> status = starter.end()) {
      isRunning = false;
      answer(socket, {true, *status});
    }
    if (polled[0].revents == 0) continue;
    const Request request = receive(socket);
    if (request.what == kStart) {
      const bool isWhole = request.ends.back() >= 0;
      const int error =
          isWhole
              ? starter.start({request.ends[0], request.ends[1], request.ends[2], request.ends[3]})
              : EBADF;
      isRunning = isRunning || error == 0;
      answer(socket, {false, error});
    }
    if (request.what == kTerminate) starter.signal(SIGTERM);
    if (request.what == kKill) starter.signal(SIGKILL);
    for (const int one : request.ends) {
      if (one >= 0) close(one);
    }
    if (request.isOver) break;
  }
  if (!isRunning) return;
  starter.signal(SIGTERM);
  pollfd end = {starter.descriptor(), POLLIN, 0};
  static_cast<void>(poll(&end, 1, kMercyMilliseconds));  // the starter's own end kills it
}

RootStarter::~RootStarter() { close(socket_); }

int RootStarter::start(const InnerEnds& ends) {
  const Ends given = {ends.input, ends.log, ends.back, ends.side};
  alignas(cmsghdr) Control control = {};
  char what = kStart;
  iovec letter = {&what, 1};
  msghdr message = {};
  message.msg_iov = &letter;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof given);
  std::memcpy(CMSG_DATA(header), given.data(), sizeof given);
  if (sendmsg(socket_, &message, MSG_NOSIGNAL) != 1) return errno;
  for (;;) {
    pollfd polled = {socket_, POLLIN, 0};
    if (unbroken([&] { return poll(&polled, 1, kAnswerMilliseconds); }) <= 0) return ETIMEDOUT;
    Answer words;
    if (recv(socket_, &words, sizeof words, MSG_DONTWAIT) != sizeof words) return ECONNRESET;
    if (words.isEnd) continue;  // of a program that was given up
    isRunning_ = words.value == 0;
    return words.value;
  }
}

std::optional<int> RootStarter::end() {
  if (!isRunning_) return std::nullopt;
  Answer words;
  const ssize_t size = unbroken([&] { return recv(socket_, &words, sizeof words, MSG_DONTWAIT); });
  if (size < 0 && errno == EAGAIN) return std::nullopt;
  if (size == sizeof words && !words.isEnd) return std::nullopt;
  isRunning_ = false;
  // Without its starter the program does not live on either.
  return size == sizeof words ? words.value : SIGKILL;
}

void RootStarter::signal(int number) {
  if (!isRunning_) return;
  const char what = number == SIGKILL ? kKill : kTerminate;
  static_cast<void>(send(socket_, &what, 1, MSG_NOSIGNAL | MSG_DONTWAIT));
}

std::unique_ptr<Starter> forkRootStarter(const InnerProgram& program) {
  std::array<int, 2> ends = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return nullptr;
  const pid_t process = fork();
  if (process < 0) {
    const int error = errno;
    close(ends[0]);
    close(ends[1]);
    errno = error;
    return nullptr;
  }
  if (process > 0) {
    close(ends[1]);
    return std::make_unique<RootStarter>(ends[0]);
  }
  for (const int one : {SIGHUP, SIGINT, SIGTERM, SIGPIPE}) {
    static_cast<void>(std::signal(one, SIG_IGN));
  }
  static_cast<void>(setsid());
  // The socket comes first, the null device takes the place of the job's streams.
  constexpr int kSocket = 3;
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  const int aside = fcntl(ends[1], F_DUPFD_CLOEXEC, kSocket + 1);
  if (null < 0 || aside < 0) _exit(EXIT_FAILURE);
  const int null2 = fcntl(null, F_DUPFD_CLOEXEC, kSocket + 1);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (dup2(null2, standard) < 0) _exit(EXIT_FAILURE);
  }
  if (dup3(aside, kSocket, O_CLOEXEC) < 0) _exit(EXIT_FAILURE);
  closefrom(kSocket + 1);
  serveStarts(kSocket, program);
  countLines();
  _exit(EXIT_SUCCESS);
}

}  // namespace kestra::delivery
