// Record locks of fcntl(2): they end with their process, and they name it.
#include "delivery/core/lock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kestra::delivery {
namespace {

struct flock wholeFile() {
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

}  // namespace

Lock::~Lock() {
  if (descriptor_ >= 0) close(descriptor_);
}

Result<void> Lock::open(const std::string& path) {
  constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
  descriptor_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kOwnerOnly);
  if (descriptor_ < 0) return Problem{path + ": " + std::strerror(errno)};
  return {};
}

bool Lock::take() {
  struct flock lock = wholeFile();
  return fcntl(descriptor_, F_SETLK, &lock) == 0;
}

// On a full disk a mark may not come about: then a soft reset is left out that is rarely needed.
void Lock::mark(bool isMarked) {
  [[maybe_unused]] const int done = ftruncate(descriptor_, isMarked ? 1 : 0);
}

bool Lock::isMarked() const {
  struct stat status = {};
  return fstat(descriptor_, &status) == 0 && status.st_size > 0;
}

pid_t Lock::holder() const {
  struct flock lock = wholeFile();
  if (fcntl(descriptor_, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) return 0;
  return lock.l_pid;
}

}  // namespace kestra::delivery
