// Reads frames with every length checked: what is sent must be what the header announces.
#include "delivery/core/page.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "delivery/core/digest.h"
#include "filter/base/unbroken.h"

namespace kestra::delivery {
namespace {

constexpr std::array<std::uint8_t, 5> kCommandStart = {0x1B, 0x73, 0x01, 0x00, 0x00};
constexpr std::array<std::uint8_t, 3> kLabelBlock = {'S', 'I', 'Z'};
constexpr std::array<std::uint8_t, 4> kRasterBlock = {0x1D, 0x76, 0x30, 0x00};

// Where the fields of a frame are, in bytes from its start.
constexpr std::size_t kRasterBlockAt = 14;
constexpr std::size_t kRecordBytesAt = 18;
constexpr std::size_t kRowsAt = 20;

// The filter makes no larger records; whoever plants some shall not have our memory.
constexpr std::uint64_t kMostRecords = std::uint64_t{512} << 20;

std::size_t littleEndian16(const std::uint8_t* bytes) {
  return static_cast<std::size_t>(bytes[0]) | static_cast<std::size_t>(bytes[1]) << 8;
}

// Closes a descriptor at the end of a scope.
struct Descriptor {
  int number;
  explicit Descriptor(int opened) : number(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number >= 0) close(number);
  }
};

ReadPage none(const std::string& path, const std::string& why) { return {{}, path + ": " + why}; }

}  // namespace

std::size_t commandPrefix(const std::uint8_t* bytes, std::size_t size) {
  const std::size_t fixed = std::min(size, kCommandStart.size());
  const auto differs = std::mismatch(bytes, bytes + fixed, kCommandStart.begin()).first - bytes;
  const auto same = static_cast<std::size_t>(differs);
  return same < fixed ? same : std::min(size, kCommandBytes);
}

std::size_t Page::endOfRow(std::size_t sent) const {
  const std::size_t rows = kCommandBytes + kFrameHeaderBytes;
  if (sent <= rows || recordBytes == 0) return std::min(rows, bytes.size());
  const std::size_t begun = (sent - rows + recordBytes - 1) / recordBytes;
  return std::min(rows + begun * recordBytes, bytes.size());
}

ReadPage readPage(const std::string& path, const Command& command) {
  const Descriptor file(
      open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  if (file.number < 0) {
    return none(path, errno == ELOOP ? "it is a link, not a page frame" : std::strerror(errno));
  }
  struct stat status = {};
  if (fstat(file.number, &status) != 0) return none(path, std::strerror(errno));
  if (!S_ISREG(status.st_mode)) return none(path, "it is no file");
  if (geteuid() != 0 && status.st_uid != geteuid() && status.st_uid != 0) {
    return none(path, "it belongs to somebody else");
  }

  ReadPage read;
  read.page.bytes.resize(kCommandBytes + kFrameHeaderBytes);
  std::copy(command.begin(), command.end(), read.page.bytes.begin());
  const auto size = static_cast<std::uint64_t>(status.st_size);
  const std::uint8_t* header = &read.page.bytes[kCommandBytes];
  if (size < kFrameHeaderBytes ||
      !readAll(file.number, &read.page.bytes[kCommandBytes], kFrameHeaderBytes)) {
    return none(path, "too short for a page frame");
  }
  if (!std::equal(kLabelBlock.begin(), kLabelBlock.end(), header) ||
      !std::equal(kRasterBlock.begin(), kRasterBlock.end(), header + kRasterBlockAt)) {
    return none(path, "it is no page frame");
  }
  read.page.recordBytes = littleEndian16(header + kRecordBytesAt);
  const std::uint64_t announced =
      kFrameHeaderBytes +
      std::uint64_t{read.page.recordBytes} * std::uint64_t{littleEndian16(header + kRowsAt)};
  if (announced != size) {
    return none(path, "the frame announces " + std::to_string(announced) + " bytes and has " +
                          std::to_string(size));
  }
  if (announced > kFrameHeaderBytes + kMostRecords) return none(path, "too large for a page frame");
  read.page.bytes.resize(kCommandBytes + size);
  if (!readAll(file.number, &read.page.bytes[kCommandBytes + kFrameHeaderBytes],
               size - kFrameHeaderBytes)) {
    return none(path, "it cannot be read to its end");
  }
  read.page.digest = frameDigest(&read.page.bytes[kCommandBytes], size);
  if (read.page.digest.empty()) return none(path, "its digest cannot be computed");
  return read;
}

}  // namespace kestra::delivery
