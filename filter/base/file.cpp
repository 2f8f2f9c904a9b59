// Opens files in shared folders without being led astray by what somebody planted there.
#include "filter/base/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kestra {

FilePtr openPrivateFile(const char* path) {
  constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
  const int descriptor =
      open(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, kOwnerOnly);
  if (descriptor < 0) return nullptr;

  struct stat status = {};
  const bool ours = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                    status.st_uid == geteuid() && status.st_nlink == 1;
  if (!ours) {
    close(descriptor);
    errno = EPERM;
    return nullptr;
  }
  std::FILE* file = nullptr;
  // A file that is empty already is not cut: some file systems write out a cut file as a whole when
  // it is closed, and the page would wait for the disk.
  if (fchmod(descriptor, kOwnerOnly) == 0 &&
      (status.st_size == 0 || ftruncate(descriptor, 0) == 0)) {
    file = fdopen(descriptor, "wb+");
  }
  if (file == nullptr) close(descriptor);
  return FilePtr(file);
}

FilePtr openRegularFile(const char* path) {
  const int descriptor = open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (descriptor < 0) return nullptr;
  struct stat status = {};
  std::FILE* file = nullptr;
  if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) file = fdopen(descriptor, "rb");
  if (file == nullptr) close(descriptor);
  return FilePtr(file);
}

bool isTrustedFolder(const char* path) {
  struct stat status = {};
  return lstat(path, &status) == 0 && S_ISDIR(status.st_mode) &&
         (status.st_uid == geteuid() || status.st_uid == 0);
}

void openMissingStandardStreams() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) >= 0) continue;
    // The lowest free number is this one, as all below it are open.
    static_cast<void>(open("/dev/null", O_RDWR));
  }
}

}  // namespace kestra
