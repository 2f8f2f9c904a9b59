// Frames in the filter's folder that no job takes care of any more.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace kestra::delivery {

using FileIdentity = std::pair<dev_t, ino_t>;

struct LeftFrame {
  std::string path;
  std::uint64_t bytes = 0;
  timespec made = {};
};

/// The frames of one job number.
struct LeftJob {
  int number = 0;
  std::vector<LeftFrame>
      frames;  ///< in the order in which they appeared, which is that of printing

  [[nodiscard]] std::uint64_t bytes() const;
  /// When the newest was made, seconds since 1970.
  [[nodiscard]] long long newest() const;
};

/// What a job leaves out: the files that it keeps, and its frames while it is printed.
struct CaredFor {
  std::set<int> running;        ///< numbers of jobs that are printed now
  std::set<FileIdentity> kept;  ///< files that delivery has as well
};

/// @param folder  the filter's; need not be there
/// @return by number; regular files of this process's user with a frame's name
[[nodiscard]] std::vector<LeftJob> leftOverFrames(const std::string& folder,
                                                  const CaredFor& caredFor = {});

}  // namespace kestra::delivery
