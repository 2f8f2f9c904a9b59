// Keeps page numbers running across the jobs of a queue.
#include "printer/page_counter.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>

#include "filter/base/file.h"
#include "filter/base/spool_paths.h"
#include "printer/spool_file.h"

namespace kestra {
namespace {

// Empty for a queue name that would lead to another folder.
std::string markerPath(const char* queue) {
  if (std::strchr(queue, '/') != nullptr) return {};
  return std::string(spool_paths::kDataDir) + "/" + queue + ".pgc";
}

}  // namespace

void readPageCounter(const char* queue, std::uint16_t* counter) {
  if (!isTrustedFolder(spool_paths::kDataDir)) return;
  const FilePtr file = openRegularFile(markerPath(queue).c_str());
  if (file == nullptr) return;
  std::array<unsigned char, 2> bytes = {static_cast<unsigned char>(*counter & 0xFF),
                                        static_cast<unsigned char>(*counter >> 8)};
  // Of a shorter file the bytes that are there count, so how many came does not matter.
  const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), file.get());
  static_cast<void>(count);
  *counter = static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

void storePageCounter(const char* queue, std::uint16_t counter) {
  const std::string path = markerPath(queue);
  if (path.empty()) return;
  SpoolFile file(spool_paths::kDataDir);
  const std::array<unsigned char, 2> bytes = {static_cast<unsigned char>(counter & 0xFF),
                                              static_cast<unsigned char>(counter >> 8)};
  if (file.isOpen() && file.write(bytes.data(), bytes.size())) {
    static_cast<void>(file.replace(path));
  }
}

}  // namespace kestra
