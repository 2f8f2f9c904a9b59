// Starts and reaps: no program stays behind, and none as a dead entry in the process list.
#include "delivery/sinks/starter.h"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <utility>

namespace kestra::delivery {

DirectStarter::DirectStarter(InnerProgram program) : program_(std::move(program)) {}

DirectStarter::~DirectStarter() {
  if (process_ > 0) {
    static_cast<void>(kill(-process_, SIGKILL));
    static_cast<void>(waitpid(process_, nullptr, 0));
  }
  if (end_ >= 0) close(end_);
}

int DirectStarter::start(const InnerEnds& ends) {
  // One that could not be ended in time may have ended since.
  static_cast<void>(end());
  if (process_ > 0) return EBUSY;
  const StartedProgram started = startProgram(program_, ends);
  if (started.process < 0) return started.error;
  process_ = started.process;
  if (end_ >= 0) close(end_);
  end_ = static_cast<int>(syscall(SYS_pidfd_open, process_, 0));  // closed in what we start
  if (end_ >= 0) return 0;
  const int error = errno;
  signal(SIGKILL);
  static_cast<void>(waitpid(std::exchange(process_, -1), nullptr, 0));
  return error;
}

std::optional<int> DirectStarter::end() {
  int status = 0;
  if (process_ < 0 || waitpid(process_, &status, WNOHANG) != process_) return std::nullopt;
  process_ = -1;
  return status;
}

// Until it is reaped the number is its own.
void DirectStarter::signal(int number) {
  if (process_ > 0) static_cast<void>(kill(-process_, number));
}

}  // namespace kestra::delivery
