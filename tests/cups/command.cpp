// One child, its words collected through a pipe, its life limited by an alarm that exec keeps.
// Why: a program that hangs must fail its test and not the whole run.
#include "tests/cups/command.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>

namespace kestra::cups_tests {

namespace {

[[noreturn]] void become(const Command& command, int words) {
  ::alarm(60);
  const int input = ::open(command.input.c_str(), O_RDONLY);
  const int output =
      command.output.empty() ? words : ::open(command.output.c_str(), O_WRONLY | O_CREAT, 0644);
  if (input < 0 || output < 0) ::_exit(126);
  ::dup2(input, 0);
  ::dup2(output, 1);
  ::dup2(words, 2);
  for (const auto& setting : command.environment) {
    const std::size_t equals = setting.find('=');
    ::setenv(setting.substr(0, equals).c_str(), setting.substr(equals + 1).c_str(), 1);
  }
  std::vector<std::string> copy = command.words;
  std::vector<char*> argv;
  for (auto& word : copy) argv.push_back(word.data());
  argv.push_back(nullptr);
  ::execvp(argv[0], argv.data());
  ::_exit(127);
}

}  // namespace

Said runCommand(const Command& command) {
  Said said;
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return said;
  const pid_t child = ::fork();
  if (child == 0) become(command, ends[1]);
  ::close(ends[1]);
  std::array<char, 4096> buffer{};
  for (;;) {
    const ssize_t count = ::read(ends[0], buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    said.text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  ::close(ends[0]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  said.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return said;
}

std::string mustRun(const std::vector<std::string>& words) {
  Command command;
  command.words = words;
  const Said said = runCommand(command);
  if (said.status != 0) {
    std::string line;
    for (const auto& word : words) line += word + " ";
    ADD_FAILURE() << line << "ended with " << said.status << ": " << said.text;
  }
  return said.text;
}

void writeFile(const std::string& path, const std::string& bytes, unsigned mode) {
  std::ofstream out(path, std::ios::binary);
  out << bytes;
  out.close();
  if (!out.good() || ::chmod(path.c_str(), mode) != 0) ADD_FAILURE() << "cannot write " << path;
}

}  // namespace kestra::cups_tests
