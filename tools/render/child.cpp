// Starts, stops and awaits child processes.
//
// Each child is the head of a process group, because renderers start programs of their own: a
// signal to the group reaches those as well.
#include "tools/render/child.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace kestra {
namespace {

constexpr std::array<int, 3> kInterrupts = {SIGINT, SIGTERM, SIGHUP};
constexpr int kCannotExecute = 127;
constexpr int kSignalBase = 128;  // as shells count a death by signal
constexpr auto kPause = std::chrono::milliseconds(10);
constexpr int kPatience = 200;  // pauses before a child that ignores the signal is killed

std::atomic<int> sSignal{0};

// The children that run, for the signal handler; 0 is a free place.
std::array<std::atomic<pid_t>, 32> sChildren = {};

void stopChildren(int signal) {
  for (const std::atomic<pid_t>& child : sChildren) {
    const pid_t pid = child.load();
    if (pid > 0) kill(-pid, signal);
  }
}

void onInterrupt(int signal) {
  const int before = errno;
  sSignal.store(signal);
  stopChildren(SIGTERM);
  errno = before;
}

bool remember(pid_t pid) {
  for (std::atomic<pid_t>& child : sChildren) {
    pid_t nobody = 0;
    if (child.compare_exchange_strong(nobody, pid)) return true;
  }
  return false;
}

void forget(pid_t pid) {
  for (std::atomic<pid_t>& child : sChildren) {
    pid_t expected = pid;
    if (child.compare_exchange_strong(expected, 0)) return;
  }
}

sigset_t interruptSet() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : kInterrupts) sigaddset(&set, signal);
  return set;
}

// Only in the child: signals as a fresh process has them, a group of its own.
void becomeChild(const sigset_t& mask) {
  setpgid(0, 0);
  for (const int signal : kInterrupts) std::signal(signal, SIG_DFL);
  std::signal(SIGPIPE, SIG_DFL);
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

// Only in the child.
void connect(int descriptor, int flags, int target) {
  const int source = descriptor >= 0 ? descriptor : open("/dev/null", flags | O_CLOEXEC);
  if (source < 0 || dup2(source, target) < 0) _exit(kCannotExecute);
}

#if defined(KESTRA_COVERAGE)
extern "C" int __llvm_profile_write_file();
#endif

// A build that counts covered lines would forget those of a child, which ends without the usual
// clearing up.
void countLines() {
#if defined(KESTRA_COVERAGE)
  static_cast<void>(__llvm_profile_write_file());
#endif
}

}  // namespace

void catchInterrupts() {
  struct sigaction action = {};
  action.sa_handler = onInterrupt;  // no restart: a blocked call has to return
  action.sa_mask = interruptSet();
  for (const int signal : kInterrupts) {
    struct sigaction before = {};
    // What whoever started us ignores stays ignored, as with nohup.
    if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
    sigaction(signal, &action, nullptr);
  }
}

int interruptSignal() { return sSignal.load(); }

void endByInterrupt() {
  const int signal = interruptSignal();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::_Exit(kSignalBase + signal);
}

Child::~Child() {
  if (!running()) return;
  kill(-pid_, SIGTERM);
  wait();
}

Result<void> Child::run(const std::function<int()>& body) {
  std::fflush(nullptr);  // or the child would write what is waiting a second time
  const sigset_t interrupts = interruptSet();
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, &interrupts, &mask);
  const pid_t pid = fork();
  if (pid == 0) {
    becomeChild(mask);
    const int status = body();
    countLines();
    _exit(status);
  }
  const int reason = errno;
  if (pid > 0) {
    setpgid(pid, pid);  // here too: a signal may come before the child's own call
    if (remember(pid)) {
      pid_ = pid;
    } else {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
    }
  }
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  if (pid_ <= 0) {
    return Problem{std::string("no process can be started: ") +
                   (pid < 0 ? std::strerror(reason) : "too many run already")};
  }
  if (interruptSignal() != 0) kill(-pid_, SIGTERM);  // it came just before
  return {};
}

Result<void> Child::start(const Program& program) {
  std::vector<std::string> words = program.words;
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  return run([&] {
    connect(program.input, O_RDONLY, STDIN_FILENO);
    connect(program.output, O_WRONLY, STDOUT_FILENO);
    connect(program.messages, O_WRONLY, STDERR_FILENO);
    for (const auto& [name, value] : program.environment) {
      setenv(name.c_str(), value.c_str(), 1);
    }
    execv(program.path.c_str(), argv.data());
    return kCannotExecute;
  });
}

int Child::wait() {
  if (!running()) return 0;
  siginfo_t info = {};
  int rounds = 0;
  for (;;) {
    // The process stays known to the system until the handler can no longer reach for its number.
    const int waitFlags = WEXITED | WNOWAIT | (interruptSignal() != 0 ? WNOHANG : 0);
    info.si_pid = 0;
    const int result = waitid(P_PID, static_cast<id_t>(pid_), &info, waitFlags);
    if (result == 0 && info.si_pid == pid_) break;
    if (result < 0 && errno != EINTR) break;
    if (result == 0) {
      std::this_thread::sleep_for(kPause);
      if (++rounds == kPatience) kill(-pid_, SIGKILL);
    }
  }
  forget(pid_);
  int status = 0;
  if (waitpid(pid_, &status, 0) != pid_) status = 0;
  pid_ = 0;
  return WIFSIGNALED(status) ? kSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string endWords(int status) {
  if (status > kSignalBase) return "signal " + std::to_string(status - kSignalBase);
  return "status " + std::to_string(status);
}

}  // namespace kestra
