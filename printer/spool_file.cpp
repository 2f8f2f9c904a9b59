// Writes spool files beside their final name and moves them there at once, so that a full disk or a
// cancelled job leaves no half page and no half counter behind.
#include "printer/spool_file.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "filter/base/file.h"

namespace kestra {

SpoolFile::SpoolFile(const std::string& folder) : path_(folder + "/.part_XXXXXX") {
  if (!isTrustedFolder(folder.c_str())) return;
  descriptor_ = mkostemp(path_.data(), O_CLOEXEC);  // mode 0600
  isHidden_ = isOpen();
}

SpoolFile::~SpoolFile() {
  if (isOpen()) close(descriptor_);
  if (isHidden_) unlink(path_.c_str());
}

bool SpoolFile::write(const void* data, std::size_t size) {
  const char* rest = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = ::write(descriptor_, rest, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    rest += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

bool SpoolFile::write(const void* first, std::size_t firstSize, const void* second,
                      std::size_t secondSize) {
  // The system takes bytes that it only reads through pointers to writable ones.
  const std::array<iovec, 2> parts = {iovec{const_cast<void*>(first), firstSize},
                                      iovec{const_cast<void*>(second), secondSize}};
  ssize_t written = -1;
  do {
    written = writev(descriptor_, parts.data(), static_cast<int>(parts.size()));
  } while (written < 0 && errno == EINTR);
  if (written < 0) return false;
  // What a full or slow disk did not take at once follows piece by piece, or fails with a reason.
  const auto done = static_cast<std::size_t>(written);
  const std::size_t fromFirst = std::min(done, firstSize);
  const std::size_t fromSecond = done - fromFirst;
  return write(static_cast<const char*>(first) + fromFirst, firstSize - fromFirst) &&
         (fromSecond == secondSize ||
          write(static_cast<const char*>(second) + fromSecond, secondSize - fromSecond));
}

bool SpoolFile::publishAs(const std::string& path) {
  return link(path_.c_str(), path.c_str()) == 0;  // the hidden name goes with the object
}

bool SpoolFile::replace(const std::string& path) {
  if (std::rename(path_.c_str(), path.c_str()) != 0) return false;
  isHidden_ = false;
  return true;
}

}  // namespace kestra
