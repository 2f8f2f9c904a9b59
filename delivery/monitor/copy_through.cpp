// Seven bytes a page: nothing faster than a plain loop is needed.
#include "delivery/monitor/copy_through.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>

namespace kestra::delivery {
namespace {

constexpr std::size_t kBlock = 65536;  // what a pipe holds

bool writeAll(int output, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(output, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    data += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace

void copyThrough(int input, int output) {
  std::array<char, kBlock> block = {};
  while (true) {
    const ssize_t size = read(input, block.data(), block.size());
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0 || !writeAll(output, block.data(), static_cast<std::size_t>(size))) return;
  }
}

}  // namespace kestra::delivery
