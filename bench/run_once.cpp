// Runs a command once and says how long it took, how much processor time and how much memory.
//
// The clock starts right before the process and stops with its end, in a program so small that its
// own memory does not show in the peak of the command.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

// Standard input, output and error of the command lead nowhere: what a print system does with them
// is no part of the filter's time.
bool startQuietly(pid_t* child, char* argv[]) {
  posix_spawn_file_actions_t quiet;
  if (posix_spawn_file_actions_init(&quiet) != 0) return false;
  bool good = posix_spawn_file_actions_addopen(&quiet, 0, "/dev/null", O_RDONLY, 0) == 0;
  good = good && posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0) == 0;
  good = good && posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", O_WRONLY, 0) == 0;
  good = good && posix_spawn(child, argv[0], &quiet, nullptr, argv, environ) == 0;
  posix_spawn_file_actions_destroy(&quiet);
  return good;
}

double milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc < 2) {
    std::fprintf(stderr,
                 "Usage: %s COMMAND [ARGUMENT...]\n"
                 "Prints wall ms, processor ms, peak memory in KiB, exit status.\n",
                 argv[0]);
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  if (!startQuietly(&child, argv + 1)) {
    std::fprintf(stderr, "%s: cannot start %s\n", argv[0], argv[1]);
    return 1;
  }
  int status = 0;
  rusage used = {};
  if (wait4(child, &status, 0, &used) != child) return 1;
  const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - start;
  std::printf("%.4f %.4f %ld %d\n", wall.count(),
              milliseconds(used.ru_utime) + milliseconds(used.ru_stime), used.ru_maxrss,
              WIFEXITED(status) ? WEXITSTATUS(status) : -1);
  return 0;
}
