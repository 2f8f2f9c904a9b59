// The system's calls under their own names (64: files of any size): the program finds these before
// the library's.
#include "tests/delivery/core/disk_faults.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace kestra::delivery::testing_support {
namespace {

DiskFaults* faults = nullptr;  // the test's

int refuse(int error) {
  errno = error;
  return -1;
}

}  // namespace

DiskFaults::DiskFaults() { faults = this; }
DiskFaults::~DiskFaults() { faults = nullptr; }

extern "C" int fdatasync(int descriptor) {
  if (faults != nullptr) {
    if (faults->goodFlushes && *faults->goodFlushes == 0) return refuse(EIO);
    if (faults->goodFlushes) --*faults->goodFlushes;
    ++faults->flushes;
  }
  return static_cast<int>(syscall(SYS_fdatasync, descriptor));
}

extern "C" int ftruncate64(int descriptor, off64_t size) noexcept {
  if (faults != nullptr && !faults->canCut) return refuse(EIO);
  return static_cast<int>(syscall(SYS_ftruncate, descriptor, size));
}

extern "C" int fallocate64(int descriptor, int mode, off64_t start, off64_t size) {
  if (faults != nullptr && !faults->hasRoom) return refuse(ENOSPC);
  return static_cast<int>(syscall(SYS_fallocate, descriptor, mode, start, size));
}

}  // namespace kestra::delivery::testing_support
