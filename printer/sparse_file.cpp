// Finds the blank blocks of a file and writes what lies between them.
#include "printer/sparse_file.h"

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "filter/base/unbroken.h"

namespace kestra {
namespace {

// As most file systems have it; where blocks are larger or there are no holes, the system fills in
// the zeros.
constexpr std::size_t kFileBlock = 4096;
constexpr unsigned char kBlank[kFileBlock] = {};

bool writeAt(int descriptor, std::size_t offset, const unsigned char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written =
        unbroken([&] { return pwrite(descriptor, data, size, static_cast<off_t>(offset)); });
    if (written <= 0) return false;
    const auto done = static_cast<std::size_t>(written);
    offset += done;
    data += done;
    size -= done;
  }
  return true;
}

}  // namespace

bool writeSparse(int descriptor, std::size_t offset, const unsigned char* data, std::size_t size) {
  std::size_t waiting = 0;  // bytes from here on are not written yet
  for (std::size_t at = 0; at < size;) {
    const std::size_t next = at + std::min(kFileBlock - (offset + at) % kFileBlock, size - at);
    if (next - at == kFileBlock && std::memcmp(data + at, kBlank, kFileBlock) == 0) {
      if (!writeAt(descriptor, offset + waiting, data + waiting, at - waiting)) return false;
      waiting = next;
    }
    at = next;
  }
  if (!writeAt(descriptor, offset + waiting, data + waiting, size - waiting)) return false;
  const bool endsBlank = waiting == size;
  return !endsBlank || ftruncate(descriptor, static_cast<off_t>(offset + size)) == 0;
}

}  // namespace kestra
