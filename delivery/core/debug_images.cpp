// The filter stores two images for each page and cannot be told not to: 300 labels are 600 MB. What
// is removed while a filter still writes to it hurts nothing, as the filter goes on with a file
// that has no name any more.
#include "delivery/core/debug_images.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "delivery/core/settings.h"

namespace kestra::delivery {
namespace {

struct FolderCloser {
  void operator()(DIR* folder) const { closedir(folder); }
};
using FolderPtr = std::unique_ptr<DIR, FolderCloser>;

FolderPtr openFolder(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  DIR* folder = fdopendir(descriptor);
  if (folder == nullptr) close(descriptor);
  return FolderPtr(folder);
}

bool takeStart(std::string_view& text, std::string_view start) {
  if (text.substr(0, start.size()) != start) return false;
  text.remove_prefix(start.size());
  return true;
}

bool takeDigits(std::string_view& text) {
  const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
  text.remove_prefix(end);
  return end > 0;
}

// "origin_2026-11-22_9_5_0_12.bmp": kind, date, time, counter.
bool isImageName(std::string_view name) {
  if (!takeStart(name, "origin_") && !takeStart(name, "dithered_") && !takeStart(name, "prnimg_")) {
    return false;
  }
  for (const char* const behind : {"-", "-", "_", "_", "_", "_", ".bmp"}) {
    if (!takeDigits(name) || !takeStart(name, behind)) return false;
  }
  return name.empty();
}

struct Image {
  std::string name;
  timespec changed;
  std::uint64_t bytes;  // on the disk: blank paper is a hole
};

bool isNewer(const Image& a, const Image& b) {
  if (a.changed.tv_sec != b.changed.tv_sec) return a.changed.tv_sec > b.changed.tv_sec;
  if (a.changed.tv_nsec != b.changed.tv_nsec) return a.changed.tv_nsec > b.changed.tv_nsec;
  return a.name > b.name;
}

std::vector<Image> imagesIn(DIR* folder) {
  constexpr std::uint64_t kBlock = 512;  // the unit of st_blocks, whatever the file system's is
  std::vector<Image> images;
  while (const dirent* entry = readdir(folder)) {
    struct stat status = {};
    const bool isOurs = isImageName(entry->d_name) &&
                        fstatat(dirfd(folder), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                        S_ISREG(status.st_mode) && status.st_nlink == 1 &&
                        status.st_uid == geteuid();
    if (!isOurs) continue;
    images.push_back(
        {entry->d_name, status.st_mtim, static_cast<std::uint64_t>(status.st_blocks) * kBlock});
  }
  return images;
}

}  // namespace

void trimDebugImages(const std::string& folder, std::uint64_t bytes) {
  if (bytes == Settings::kAll) return;
  const FolderPtr opened = openFolder(folder);
  if (opened == nullptr) return;
  std::vector<Image> images = imagesIn(opened.get());
  std::uint64_t total = 0;
  for (const Image& image : images) total += image.bytes;
  if (total <= bytes && bytes > 0) return;

  std::sort(images.begin(), images.end(), isNewer);
  // With none to be kept those go as well that take no room yet.
  while (!images.empty() && (total > bytes || bytes == 0)) {
    total -= images.back().bytes;
    unlinkat(dirfd(opened.get()), images.back().name.c_str(), 0);
    images.pop_back();
  }
}

}  // namespace kestra::delivery
