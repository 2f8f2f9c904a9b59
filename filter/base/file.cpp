// Opens diagnostics in shared folders without being led astray by what somebody planted there.
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
  if (fchmod(descriptor, kOwnerOnly) == 0 && ftruncate(descriptor, 0) == 0) {
    file = fdopen(descriptor, "wb+");
  }
  if (file == nullptr) close(descriptor);
  return FilePtr(file);
}

}  // namespace kestra
