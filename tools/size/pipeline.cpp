// The system itself ends the filters with this program, whatever ends it: no handler has to run.
#include "tools/size/pipeline.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "filter/base/unbroken.h"

namespace kestra {
namespace {

constexpr int kFailed = EXIT_FAILURE << 8;  // as waitpid tells an exit status

void say(const char* level, const std::string& text) {
  std::fputs((std::string(level) + ": " + text + "\n").c_str(), stderr);
}

// The process's number, or -1. Input and output stay the caller's.
pid_t start(const Filter& filter, int input, int output) {
  std::vector<char*> words;
  words.reserve(filter.words.size() + 1);
  // The system's call only reads them.
  for (const std::string& word : filter.words) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process != 0) return process;
  // The parent may have ended before the request; nobody would end this one then.
  if (prctl(PR_SET_PDEATHSIG, SIGTERM) == 0 && getppid() == parent &&
      dup2(input, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0) {
    execv(filter.path.c_str(), words.data());
  }
  say("ERROR", "Unable to start filter \"" + filter.path + "\": " + std::strerror(errno));
  std::fflush(stderr);
  _exit(EXIT_FAILURE);
}

std::string endWords(int status) {
  if (WIFSIGNALED(status)) return "crashed on signal " + std::to_string(WTERMSIG(status));
  return "stopped with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

int runFilters(const std::vector<Filter>& filters) {
  std::vector<pid_t> running;
  int result = 0;
  int input = STDIN_FILENO;
  for (std::size_t i = 0; i < filters.size(); ++i) {
    std::array<int, 2> pipe = {-1, STDOUT_FILENO};
    const bool isLast = i + 1 == filters.size();
    const bool hasPipe = isLast || pipe2(pipe.data(), O_CLOEXEC) == 0;
    const pid_t process = hasPipe ? start(filters[i], input, pipe[1]) : -1;
    if (process < 0) {
      say("ERROR", "Unable to start filter \"" + filters[i].path + "\": " + std::strerror(errno));
    } else {
      say("DEBUG", "Started filter " + filters[i].path + " (PID " + std::to_string(process) + ")");
    }
    running.push_back(process);
    if (input != STDIN_FILENO) close(input);
    if (hasPipe && !isLast) close(pipe[1]);
    input = pipe[0];
  }
  for (std::size_t i = 0; i < running.size(); ++i) {
    int status = kFailed;
    if (running[i] > 0) {
      static_cast<void>(unbroken([&] { return waitpid(running[i], &status, 0); }));
    }
    if (status == 0) continue;
    // The last in the row: those before it may only have lost their reader.
    result = status;
    if (running[i] > 0) say("DEBUG", filters[i].path + " " + endWords(status));
  }
  return result;
}

}  // namespace kestra
