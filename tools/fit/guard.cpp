// Signals are waited for, not handled: nothing of the guard runs but when there is something to do.
#include "tools/fit/guard.h"

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "filter/base/unbroken.h"

namespace kestra {
namespace {

int guard(pid_t work, const sigset_t& awaited) {
  bool isCancelled = false;
  int status = 0;
  pid_t ended = 0;
  while (ended == 0) {
    // A cancel that came before the work's end is told before it, too.
    if (unbroken([&] { return sigwaitinfo(&awaited, nullptr); }) == SIGTERM) {
      isCancelled = true;
      kill(work, SIGTERM);
    }
    ended = waitpid(work, &status, WNOHANG);
  }
  if (ended < 0) return EXIT_FAILURE;
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (!isCancelled) {
    std::fprintf(stderr,
                 "ERROR: The program that fits the pages was ended by signal %d; the rest of the "
                 "job may be missing.\n",
                 WTERMSIG(status));
  }
  // Never by a signal: the print system would take it for done.
  return EXIT_FAILURE;
}

}  // namespace

std::optional<int> guardWork() {
  sigset_t awaited;
  sigset_t before;
  sigemptyset(&awaited);
  sigaddset(&awaited, SIGTERM);
  sigaddset(&awaited, SIGCHLD);
  // Ignored, the end of the work would not be told.
  std::signal(SIGCHLD, SIG_DFL);
  sigprocmask(SIG_BLOCK, &awaited, &before);
  const pid_t work = fork();
  if (work > 0) return guard(work, awaited);
  sigprocmask(SIG_SETMASK, &before, nullptr);
  return std::nullopt;
}

}  // namespace kestra
