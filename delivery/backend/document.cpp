// One copy is read where it lies; more are written into a pipe one after the other.
#include "delivery/backend/document.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "filter/base/unbroken.h"

#include "filter/base/file.h"

namespace kestra::delivery {
namespace {

[[noreturn]] void writeCopies(std::FILE* file, int copies, int output) {
  std::signal(SIGPIPE, SIG_DFL);  // nobody reads any more
  std::array<char, BUFSIZ> block = {};
  for (int copy = 0; copy < copies; ++copy) {
    std::rewind(file);
    for (std::size_t size = std::fread(block.data(), 1, block.size(), file); size > 0;
         size = std::fread(block.data(), 1, block.size(), file)) {
      if (!writeAll(output, block.data(), size)) std::exit(EXIT_FAILURE);
    }
  }
  std::exit(EXIT_SUCCESS);
}

std::string cannot(const std::string& path) {
  return "The document " + path + " cannot be read: " + std::strerror(errno) + ".";
}

}  // namespace

std::string readDocument(const std::string& path, int copies) {
  const FilePtr file = openRegularFile(path.c_str());
  if (file == nullptr) return cannot(path);
  if (copies <= 1) return dup2(fileno(file.get()), STDIN_FILENO) < 0 ? cannot(path) : "";
  std::array<int, 2> ends = {-1, -1};
  if (pipe(ends.data()) != 0) return cannot(path);
  const pid_t process = fork();
  if (process == 0) {
    close(ends[0]);
    writeCopies(file.get(), copies, ends[1]);
  }
  const bool isReady = process > 0 && dup2(ends[0], STDIN_FILENO) == STDIN_FILENO;
  std::string problem = isReady ? "" : cannot(path);
  close(ends[0]);
  close(ends[1]);
  return problem;
}

}  // namespace kestra::delivery
