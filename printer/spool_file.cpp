// Writes spool files without a name, or beside their final one, and gives them that name at once,
// so that a full disk or a cancelled job leaves no half page and no half counter behind.
#include "printer/spool_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "filter/base/file.h"
#include "filter/base/unbroken.h"

namespace kestra {
namespace {

// The system's own way to a file that has no name.
std::string pathOf(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

// A file that vanishes with its last descriptor; -1 where folder or system cannot do that.
int openNameless(const std::string& folder) {
#if defined(O_TMPFILE)
  constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
  const int descriptor = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kOwnerOnly);
  if (descriptor >= 0 && access(pathOf(descriptor).c_str(), F_OK) == 0) return descriptor;
  if (descriptor >= 0) close(descriptor);
#endif
  return -1;
}

}  // namespace

SpoolFile::SpoolFile(const std::string& folder, bool nameless) : path_(folder + "/.part_XXXXXX") {
  if (!isTrustedFolder(folder.c_str())) return;
  if (nameless) descriptor_ = openNameless(folder);
  if (isOpen()) return;
  descriptor_ = mkostemp(path_.data(), O_CLOEXEC);  // mode 0600
  isHidden_ = isOpen();
}

SpoolFile::~SpoolFile() {
  if (isOpen()) close(descriptor_);
  if (isHidden_) unlink(path_.c_str());
}

bool SpoolFile::write(const void* data, std::size_t size) {
  return writeAll(descriptor_, data, size);
}

bool SpoolFile::write(const void* first, std::size_t firstSize, const void* second,
                      std::size_t secondSize) {
  // The system takes bytes that it only reads through pointers to writable ones.
  const std::array<iovec, 2> parts = {iovec{const_cast<void*>(first), firstSize},
                                      iovec{const_cast<void*>(second), secondSize}};
  const ssize_t written =
      unbroken([&] { return writev(descriptor_, parts.data(), static_cast<int>(parts.size())); });
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
  const std::string from = isHidden_ ? path_ : pathOf(descriptor_);
  // A hidden name goes with the object.
  return linkat(AT_FDCWD, from.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

bool SpoolFile::replace(const std::string& path) {
  if (!isHidden_) {
    // Only a file with a name can take the place of another.
    path_.replace(path_.rfind('_') + 1, std::string::npos, std::to_string(getpid()));
    static_cast<void>(unlink(path_.c_str()));  // of an earlier process that had our number
    if (!publishAs(path_)) return false;
    isHidden_ = true;
  }
  if (std::rename(path_.c_str(), path.c_str()) != 0) return false;
  isHidden_ = false;
  return true;
}

}  // namespace kestra
