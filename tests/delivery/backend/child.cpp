// Forks, and reads pipes with a limit, so that a test that goes wrong ends.
#include "tests/delivery/backend/child.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <optional>

#include "delivery/sinks/count_lines.h"

namespace kestra::delivery {
namespace {

constexpr int kLimit = 30000;  // ms
constexpr int kSignalBase = 128;

std::array<int, 2> makePipe() {
  std::array<int, 2> ends = {-1, -1};
  if (pipe(ends.data()) != 0) ADD_FAILURE() << "no pipe can be made";
  return ends;
}

// One byte; nothing at the end.
std::optional<char> nextByte(int descriptor) {
  pollfd one = {descriptor, POLLIN, 0};
  if (poll(&one, 1, kLimit) <= 0) {
    ADD_FAILURE() << "nothing comes, and no end";
    return std::nullopt;
  }
  char byte = 0;
  if (read(descriptor, &byte, 1) != 1) return std::nullopt;
  return byte;
}

}  // namespace

Child::Child(const std::function<int()>& body) {
  const auto output = makePipe();
  const auto messages = makePipe();
  std::fflush(nullptr);
  id_ = fork();
  if (id_ == 0) {
    dup2(output[1], STDOUT_FILENO);
    dup2(messages[1], STDERR_FILENO);
    for (const int end : {output[0], output[1], messages[0], messages[1]}) close(end);
    const int status = body();
    std::fflush(nullptr);
    countLines();
    _exit(status);
  }
  close(output[1]);
  close(messages[1]);
  output_ = output[0];
  messages_ = messages[0];
}

Child::~Child() {
  if (id_ > 0) {
    kill(id_, SIGKILL);
    wait();
  }
  close(output_);
  close(messages_);
}

void Child::signal(int number) const { kill(id_, number); }

std::string Child::rest(int descriptor) {
  std::string text;
  std::array<char, 4096> buffer = {};
  pollfd one = {descriptor, POLLIN, 0};
  while (poll(&one, 1, kLimit) > 0) {
    const ssize_t size = read(descriptor, buffer.data(), buffer.size());
    if (size <= 0) return text;
    text.append(buffer.data(), static_cast<std::size_t>(size));
  }
  ADD_FAILURE() << "the pipe stays open; so far: " << text;
  return text;
}

std::string Child::nextOutput(std::size_t size) {
  std::string text;
  while (text.size() < size) {
    const std::optional<char> byte = nextByte(output_);
    if (!byte) break;
    text += *byte;
  }
  return text;
}

std::string Child::nextMessage() {
  std::string line;
  for (auto byte = nextByte(messages_); byte && *byte != '\n'; byte = nextByte(messages_)) {
    line += *byte;
  }
  return line;
}

int Child::wait() {
  int status = 0;
  while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
  }
  id_ = -1;
  return WIFSIGNALED(status) ? kSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
}

Trace::Trace() {
  const auto ends = makePipe();
  reading_ = ends[0];
  writing_ = ends[1];
}

Trace::~Trace() {
  close(reading_);
  if (writing_ >= 0) close(writing_);
}

void Trace::leave(char mark) const { static_cast<void>(!write(writing_, &mark, 1)); }

char Trace::next() {
  if (writing_ >= 0) close(writing_);
  writing_ = -1;
  return nextByte(reading_).value_or('\0');
}

Folder::Folder() { chmod(path().c_str(), 0755); }

std::string Folder::write(const std::string& name, const std::string& text, mode_t mode) const {
  std::string file = path() + "/" + name;
  std::ofstream(file) << text;
  chmod(file.c_str(), mode);
  return file;
}

}  // namespace kestra::delivery
