// Basenames for the usage text, bounded copies for text fields: a text from a job never runs over
// the end of its field.
#include "filter/base/text.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace kestra {

const char* wrenPathGetBasename(const char* path) {
  if (path == nullptr) return nullptr;
  const char* slash = std::strrchr(path, '/');
  const char* backslash = std::strrchr(path, '\\');
  if (slash == nullptr && backslash == nullptr) return path;
  if (slash == nullptr) return backslash + 1;
  if (backslash == nullptr) return slash + 1;
  return std::max(slash, backslash, std::less<>()) + 1;
}

char* wrenStrCpy(char* dst, const char* src, std::size_t len) {
  const std::size_t copied = strnlen(src, len);
  std::memcpy(dst, src, copied);
  std::memset(dst + copied, 0, len - copied);
  dst[len - 1] = '\0';
  return dst;
}

}  // namespace kestra
