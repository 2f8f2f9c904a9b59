// Finds the writers as the system lists them: by the pipe that their standard output is.
#include "delivery/core/upstream.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace kestra::delivery {

namespace fs = std::filesystem;

void endWriters(int pipe) {
  struct stat wanted = {};
  if (fstat(pipe, &wanted) != 0 || !S_ISFIFO(wanted.st_mode)) return;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator("/proc", none)) {
    const pid_t process = std::atoi(entry.path().filename().c_str());
    if (process <= 1 || process == getpid()) continue;
    struct stat output = {};
    const std::string path = entry.path().string() + "/fd/1";
    if (stat(path.c_str(), &output) != 0) continue;
    if (output.st_dev == wanted.st_dev && output.st_ino == wanted.st_ino) kill(process, SIGKILL);
  }
}

}  // namespace kestra::delivery
