// The system itself ends the filters with this program, whatever ends it: no handler has to run.
#include "tools/size/pipeline.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

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
  const bool endsWithParent = prctl(PR_SET_PDEATHSIG, SIGTERM) == 0;
  // The parent may have ended before the request; nobody would end this one then.
  if (getppid() != parent) _exit(EXIT_FAILURE);
  if (endsWithParent && dup2(input, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0) {
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

struct Running {
  pid_t process;         // -1: it could not be started, or has ended
  int output;            // a second hold on its pipe to the next one, or -1
  int status = kFailed;  // as waitpid tells it
};

// The next one sees the end of the document when the filter's own end is closed, too.
void letGo(Running* one) {
  if (one->output >= 0) close(std::exchange(one->output, -1));
}

std::vector<Running> startAll(const std::vector<Filter>& filters) {
  std::vector<Running> row;
  int input = STDIN_FILENO;
  for (std::size_t i = 0; i < filters.size(); ++i) {
    std::array<int, 2> pipe = {-1, STDOUT_FILENO};
    const bool isLast = i + 1 == filters.size();
    const bool hasPipe = isLast || pipe2(pipe.data(), O_CLOEXEC) == 0;
    const pid_t process = hasPipe ? start(filters[i], input, pipe[1]) : -1;
    row.push_back({process, hasPipe && !isLast ? pipe[1] : -1});
    if (process < 0) {
      say("ERROR", "Unable to start filter \"" + filters[i].path + "\": " + std::strerror(errno));
      letGo(&row.back());
    } else {
      say("DEBUG", "Started filter " + filters[i].path + " (PID " + std::to_string(process) + ")");
    }
    if (input != STDIN_FILENO) close(input);
    input = pipe[0];
  }
  return row;
}

// The last one first, and by force: it must not take the end of a filter that was killed for the
// end of the document. What delivery then finds is a filter that was killed, and has the job made
// anew.
void endBehind(std::size_t one, const std::vector<Running>& row) {
  if (one + 1 == row.size()) return;
  const pid_t last = row.back().process;
  siginfo_t info;
  if (last > 0 && kill(last, SIGKILL) == 0) {
    static_cast<void>(
        unbroken([&] { return waitid(P_PID, static_cast<id_t>(last), &info, WEXITED | WNOWAIT); }));
  }
  for (std::size_t i = one + 1; i + 1 < row.size(); ++i) {
    if (row[i].process > 0) kill(row[i].process, SIGTERM);
  }
}

}  // namespace

bool wasKilled(int status) {
  return WIFSIGNALED(status) && (WTERMSIG(status) == SIGKILL || WTERMSIG(status) == SIGTERM);
}

int runFilters(const std::vector<Filter>& filters) {
  // Ignored, the end of one would not be told before all have ended.
  std::signal(SIGCHLD, SIG_DFL);
  std::vector<Running> row = startAll(filters);
  bool isCut = false;
  int status = 0;
  for (pid_t ended = 0; (ended = unbroken([&] { return wait(&status); })) > 0;) {
    const auto one = std::find_if(row.begin(), row.end(),
                                  [&](const Running& other) { return other.process == ended; });
    if (one == row.end()) continue;
    one->process = -1;
    one->status = status;
    const std::string& path = filters[static_cast<std::size_t>(one - row.begin())].path;
    if (status != 0) say("DEBUG", path + " " + endWords(status));
    if (wasKilled(status) && !isCut) {
      isCut = true;
      say("ERROR", "The filter \"" + path + "\" was ended by signal " +
                       std::to_string(WTERMSIG(status)) + " before the end of the document.");
      endBehind(static_cast<std::size_t>(one - row.begin()), row);
    }
    letGo(&*one);
  }
  int result = 0;
  for (Running& one : row) {
    letGo(&one);
    // The last in the row: those before it may only have lost their reader.
    if (one.status != 0) result = one.status;
  }
  return result;
}

}  // namespace kestra
