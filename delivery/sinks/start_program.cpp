// Between fork and exec only calls that are safe there; whatever needs memory is ready before.
#include "delivery/sinks/start_program.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <vector>

#include "delivery/sinks/count_lines.h"
#include "filter/base/unbroken.h"

namespace kestra::delivery {
namespace {

constexpr int kBack = 3;
constexpr int kSide = 4;
constexpr int kFirstOther = 5;
// Above the numbers that are given out.
constexpr int kAside = 10;

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  // The system's call only reads them.
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

bool takeRights(const InnerProgram& program) {
  if (geteuid() != 0 || !program.account) return true;
  const gid_t group = program.account->group;
  if (setgroups(1, &group) != 0 || setgid(group) != 0) return false;
  return program.needsRoot || setuid(program.account->user) == 0;
}

bool takeDescriptors(const InnerEnds& ends) {
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  const std::array<std::array<int, 2>, 5> places = {{{ends.input, STDIN_FILENO},
                                                     {null, STDOUT_FILENO},
                                                     {ends.log, STDERR_FILENO},
                                                     {ends.back, kBack},
                                                     {ends.side, kSide}}};
  std::array<int, 5> aside = {};
  for (std::size_t i = 0; i < places.size(); ++i) {
    aside[i] = fcntl(places[i][0], F_DUPFD_CLOEXEC, kAside);
    if (aside[i] < 0) return false;
  }
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (dup2(aside[i], places[i][1]) < 0) return false;
  }
  return close_range(kFirstOther, ~0U, CLOSE_RANGE_CLOEXEC) == 0;
}

void takeSignals() {
  for (const int one :
       {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2, SIGCHLD}) {
    static_cast<void>(std::signal(one, SIG_DFL));
  }
  sigset_t none;
  sigemptyset(&none);
  static_cast<void>(sigprocmask(SIG_SETMASK, &none, nullptr));
}

}  // namespace

StartedProgram startProgram(const InnerProgram& program, const InnerEnds& ends) {
  const std::vector<char*> words = pointersTo(program.words);
  const std::vector<char*> environment = pointersTo(program.environment);
  // Closed by a start that works, else it says why not.
  std::array<int, 2> report = {-1, -1};
  if (pipe2(report.data(), O_CLOEXEC) != 0) return {-1, errno};
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process == 0) {
    const int answer = fcntl(report[1], F_DUPFD_CLOEXEC, kAside);
    static_cast<void>(setpgid(0, 0));
    if (takeRights(program) && takeDescriptors(ends) && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 &&
        getppid() == parent) {
      takeSignals();
      countLines();
      execve(program.path.c_str(), words.data(), environment.data());
    }
    const int error = errno == 0 ? ECHILD : errno;
    static_cast<void>(!write(answer, &error, sizeof error));
    _exit(EXIT_FAILURE);
  }
  const int forkError = process < 0 ? errno : 0;
  close(report[1]);
  if (process < 0) {
    close(report[0]);
    return {-1, forkError};
  }
  static_cast<void>(setpgid(process, process));  // here too: a signal may follow at once
  int error = 0;
  const ssize_t size = unbroken([&] { return read(report[0], &error, sizeof error); });
  close(report[0]);
  if (size == 0) return {process, 0};
  static_cast<void>(unbroken([&] { return waitpid(process, nullptr, 0); }));
  return {-1, error};
}

}  // namespace kestra::delivery
