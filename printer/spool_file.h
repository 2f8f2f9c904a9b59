// Files that others pick up out of the spool: they appear whole under their name, or not at all.
#pragma once

#include <cstddef>
#include <string>

namespace kestra {

/// A file under way into a folder. It is written without a name, on systems that cannot do that
/// under a hidden one, and gets its final name only when it is whole; what was not published
/// vanishes. Readable by its owner alone.
class SpoolFile {
 public:
  /// Starts a file in a folder that belongs to us or to the administrator; `isOpen` tells whether
  /// that worked.
  /// @param nameless  false: as on systems that cannot hold a file without a name
  explicit SpoolFile(const std::string& folder, bool nameless = true);
  ~SpoolFile();
  SpoolFile(const SpoolFile&) = delete;
  SpoolFile& operator=(const SpoolFile&) = delete;

  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }

  /// Writes all bytes; false, with `errno` set, where not all of them can be stored.
  [[nodiscard]] bool write(const void* data, std::size_t size);

  /// The same for bytes that lie in two places.
  [[nodiscard]] bool write(const void* first, std::size_t firstSize, const void* second,
                           std::size_t secondSize);

  /// Gives the file a name that no other file has.
  /// @return false with `errno` EEXIST where the name is taken, or another error
  [[nodiscard]] bool publishAs(const std::string& path);

  /// Gives the file a name, in place of a file that may have it.
  [[nodiscard]] bool replace(const std::string& path);

 private:
  std::string path_;  // of the hidden file, if there is one
  int descriptor_ = -1;
  bool isHidden_ = false;  // whether the hidden name is still there to be removed
};

}  // namespace kestra
