// Namespaces for a whole test program, and a directory for machines that allow none.
// Why: with a process namespace the kernel itself ends the print server, however a test ends.
#include "tests/cups/private_machine.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

#include "tests/support/isolation.h"

namespace kestra::cups_tests {

namespace fs = std::filesystem;

namespace {

Machine sMachine;

// In the child: the parent's own /proc must stay as it is.
std::string mountPrivatePlaces() {
  if (::unshare(CLONE_NEWNS) != 0 ||
      ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    return std::string("private mounts: ") + std::strerror(errno);
  }
  // Debuggers and sanitizers look themselves up in /proc; some containers refuse this, and then
  // all others still work.
  (void)::mount("proc", "/proc", "proc", 0, nullptr);
  if (::mount("tmpfs", "/var/spool", "tmpfs", 0, "mode=0755") != 0 ||
      ::mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") != 0) {
    return std::string("private spool and /tmp: ") + std::strerror(errno);
  }
  fs::create_directories("/var/spool/cups/tmp");
  return "";
}

int waitFor(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  std::fprintf(stderr, "the tests ended with signal %d\n", WTERMSIG(status));
  return 1;
}

// The child is the first process of the namespace: when it ends, or when this process does, the
// kernel ends every process in it.
int runInNamespaces(const std::function<int()>& body) {
  sMachine.obstacle = testing_support::unshareAsOwnUser(CLONE_NEWNET | CLONE_NEWPID);
  if (!sMachine.obstacle.empty()) return body();
  const pid_t child = ::fork();
  // No exit handlers here: this process did nothing, and a leak check at its end could not start
  // its helper, which would belong to the namespace that is gone.
  if (child != 0) ::_exit(waitFor(child));
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  sMachine.obstacle = mountPrivatePlaces();
  std::exit(body());
}

pid_t sBody = -1;

void endBody(int) { ::kill(sBody, SIGKILL); }

// The user that runs filters must be able to walk into the directory, so it cannot lie below a
// build directory in somebody's home.
int runInDirectory(const std::function<int()>& body) {
  std::string root = "/tmp/kestra-cups-XXXXXX";
  if (::mkdtemp(root.data()) == nullptr) {
    sMachine.obstacle = "no directory can be made in /tmp";
    return body();
  }
  ::chmod(root.c_str(), 0755);
  fs::create_directories(root + "/var/spool/cups/tmp");
  fs::create_directories(root + "/tmp");
  ::chmod((root + "/tmp").c_str(), 01777);
  sMachine.root = root + "/";
  sBody = ::fork();
  if (sBody == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::exit(body());
  }
  // An interrupt ends the tests but not this process: the directory is removed in any case.
  std::signal(SIGINT, endBody);
  std::signal(SIGTERM, endBody);
  const int result = waitFor(sBody);
  // A server whose tests were interrupted needs a moment to end, and may write until then.
  std::error_code problem;
  for (int i = 0; i < 20; ++i) {
    fs::remove_all(root, problem);
    if (result == 0 && !problem) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return result;
}

}  // namespace

const Machine& thisMachine() { return sMachine; }

int runInPrivateMachine(const std::function<int()>& body) {
  if (testing_support::currentIsolation() == testing_support::Isolation::kNamespace) {
    return runInNamespaces(body);
  }
  return runInDirectory(body);
}

}  // namespace kestra::cups_tests
