// A file read whole, a folder that vanishes with its object, a file younger than another.
// Why: what a program leaves is compared byte for byte, and no test may leave anything.
#pragma once

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <tuple>

namespace kestra::testing_support {

/// All bytes of a file; none where it cannot be read.
inline std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// A new empty folder, removed with all that is in it at the end of the scope.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(
      const std::filesystem::path& parent = std::filesystem::temp_directory_path())
      : path_(parent / "kestra-test-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) std::abort();
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// Waits until files and pipes that are made from then on are younger than those that are there:
/// they know the time in ticks. None is younger than the exact clock says.
inline void awaitTick() {
  timespec exact = {};
  timespec ticks = {};
  clock_gettime(CLOCK_REALTIME, &exact);
  do {
    clock_gettime(CLOCK_REALTIME_COARSE, &ticks);
  } while (std::tie(ticks.tv_sec, ticks.tv_nsec) <= std::tie(exact.tv_sec, exact.tv_nsec));
}

}  // namespace kestra::testing_support
