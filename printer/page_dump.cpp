// Names and writes the frame files of the spool's data folder.
#include "printer/page_dump.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "filter/base/log.h"
#include "filter/base/spool_paths.h"
#include "printer/spool_file.h"

namespace kestra {
namespace {

constexpr mode_t kOwnerOnlyFolder = 0700;

using FramePath = std::array<char, 260>;

FramePath framePath(unsigned short pageNumber, int jobNumber, int sequence) {
  FramePath path = {};
  std::snprintf(path.data(), path.size(), "%s/page_%04d_jobid_%06d_%04d.dat", spool_paths::kDataDir,
                pageNumber, jobNumber, sequence);
  return path;
}

void makeDataFolder() {
  if (access(spool_paths::kDataDir, F_OK) != 0) {
    static_cast<void>(mkdir(spool_paths::kDataDir, kOwnerOnlyFolder));
  }
}

}  // namespace

std::string DumpPageToFile(unsigned short pageNumber, int jobNumber, const unsigned char* data,
                           long size) {
  if (size == 0) return {};
  return DumpPageToFile(pageNumber, jobNumber, data, size, nullptr, 0);
}

std::string DumpPageToFile(unsigned short pageNumber, int jobNumber, const unsigned char* header,
                           long headerSize, const unsigned char* rest, long restSize) {
  makeDataFolder();

  SpoolFile file(spool_paths::kDataDir);
  if (!file.isOpen()) return {};
  bool stored = file.write(header, static_cast<std::size_t>(headerSize), rest,
                           static_cast<std::size_t>(restSize));
  FramePath path = {};
  if (stored) {
    int sequence = 0;
    do {
      path = framePath(pageNumber, jobNumber, sequence++);
      stored = file.publishAs(path.data());
    } while (!stored && errno == EEXIST);
  }
  if (!stored) {
    wrenLogCommon(kLogError,
                  "DumpPageToFile: page %d of job %d could not be stored in %s: %s. The page is "
                  "lost; make room there and print it again.",
                  pageNumber, jobNumber, spool_paths::kDataDir, std::strerror(errno));
    return {};
  }
  wrenLogCommon(kLogDebug, "DumpPageToFile: dumped the page data to file:%s, size:%d", path.data(),
                static_cast<int>(headerSize + restSize));
  return path.data();
}

}  // namespace kestra
