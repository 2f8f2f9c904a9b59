// Parts of a write or read are followed by the rest.
#include "filter/base/unbroken.h"

#include <unistd.h>

namespace kestra {

bool writeAll(int descriptor, const void* data, std::size_t size) {
  const char* at = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = unbroken([&] { return write(descriptor, at, size); });
    if (written <= 0) return false;
    at += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

bool readAll(int descriptor, void* data, std::size_t size) {
  char* at = static_cast<char*>(data);
  while (size > 0) {
    const ssize_t got = unbroken([&] { return read(descriptor, at, size); });
    if (got <= 0) return false;
    at += got;
    size -= static_cast<std::size_t>(got);
  }
  return true;
}

}  // namespace kestra
