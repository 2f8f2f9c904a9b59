// One child between pipes; its words go into a memory file.
// Why: a test that gives it more than a pipe holds must not wait for itself.
#include "tests/fit/fit_program.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>

namespace kestra::fit_tests {

FitProgram::FitProgram(const std::vector<std::string>& arguments,
                       const std::optional<std::string>& ppd, const std::string& output,
                       const std::function<void()>& prepare) {
  std::signal(SIGPIPE, SIG_IGN);
  std::array<int, 2> in{};
  std::array<int, 2> out{};
  messages_ = memfd_create("messages", MFD_CLOEXEC);
  if (pipe2(in.data(), O_CLOEXEC) != 0 || pipe2(out.data(), O_CLOEXEC) != 0) std::abort();
  child_ = fork();
  if (child_ == 0) {
    setpgid(0, 0);
    alarm(60);
    const int target = output.empty() ? out[1] : open(output.c_str(), O_WRONLY);
    dup2(in[0], 0);
    dup2(target, 1);
    dup2(messages_, 2);
    std::signal(SIGPIPE, SIG_DFL);
    if (ppd) {
      setenv("PPD", ppd->c_str(), 1);
    } else {
      unsetenv("PPD");
    }
    std::vector<std::string> words = {"kestrafit"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    prepare();
    execv(KESTRA_FIT, argv.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  input_ = in[1];
  output_ = out[0];
}

FitProgram::~FitProgram() {
  if (child_ > 0) {
    kill(child_, SIGKILL);
    await();
  }
  endOfInput();
  stopReading();
  close(messages_);
}

pid_t FitProgram::worker() const {
  const std::string pid = std::to_string(child_);
  std::ifstream children("/proc/" + pid + "/task/" + pid + "/children");
  pid_t found = -1;
  return children >> found ? found : -1;
}

bool FitProgram::give(const std::string& bytes) const {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t put = write(input_, bytes.data() + done, bytes.size() - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<std::size_t>(put);
  }
  return true;
}

void FitProgram::endOfInput() {
  if (input_ >= 0) close(input_);
  input_ = -1;
}

std::string FitProgram::take(std::size_t size) const {
  std::string bytes;
  std::array<char, 65536> buffer{};
  while (bytes.size() < size) {
    const ssize_t got = read(output_, buffer.data(), std::min(buffer.size(), size - bytes.size()));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    bytes.append(buffer.data(), static_cast<std::size_t>(got));
  }
  return bytes;
}

void FitProgram::stopReading() {
  if (output_ >= 0) close(output_);
  output_ = -1;
}

bool FitProgram::outputHasEnded() const {
  pollfd end = {output_, 0, 0};
  return poll(&end, 1, 0) == 1 && (end.revents & POLLHUP) != 0;
}

FitEnd FitProgram::await() {
  FitEnd end;
  int status = 0;
  while (waitpid(child_, &status, 0) < 0 && errno == EINTR) {
  }
  child_ = -1;
  if (WIFEXITED(status)) end.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) end.signal = WTERMSIG(status);
  std::array<char, 65536> buffer{};
  const ssize_t got = pread(messages_, buffer.data(), buffer.size(), 0);
  if (got > 0) end.messages.assign(buffer.data(), static_cast<std::size_t>(got));
  return end;
}

std::vector<std::string> jobWords(const std::string& file) {
  std::vector<std::string> words = {"42", "user", "title", "1", ""};
  if (!file.empty()) words.push_back(file);
  return words;
}

}  // namespace kestra::fit_tests
