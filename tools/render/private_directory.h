// A directory that nobody else can look into and that vanishes with its object.
//
// Pages under way may show anything people print, and the filter writes to fixed names.
#pragma once

#include <string>

#include "filter/base/result.h"

namespace kestra {

class PrivateDirectory {
 public:
  PrivateDirectory() = default;
  ~PrivateDirectory();  ///< removes it with all that is in it
  PrivateDirectory(const PrivateDirectory&) = delete;
  PrivateDirectory& operator=(const PrivateDirectory&) = delete;

  /// Makes it, mode 0700, below TMPDIR (/tmp where that is not set).
  [[nodiscard]] Result<void> make();

  /// Its absolute name; empty before `make`.
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// Moves a file, also to another file system. Returns whether it arrived; then it is gone here.
bool moveFile(const std::string& from, const std::string& to);

}  // namespace kestra
