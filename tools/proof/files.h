// Reads whole files and decides where a picture may be written.
//
// A proof must never destroy what it shows: pages wait in the spool to be printed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "filter/base/result.h"
#include "tools/proof/arguments.h"

namespace kestra::proof {

/// Reads the file `path`, "-" being standard input.
/// @return why not, as the end of a sentence about it, also for a file larger than any frame
[[nodiscard]] Result<std::vector<std::uint8_t>> readFile(const std::string& path);

/// What a picture says of who made it.
inline constexpr const char* kProgram = "kestra-proof";

/// A file's name without directory and, where there is one, the ending: "a/label.pdf" -> "label".
[[nodiscard]] std::string stem(const std::string& path);

/// The path of a picture: --output as given, else `name` with .png in the output directory.
[[nodiscard]] std::string picturePath(const Arguments& arguments, const std::string& name);

/// Files that must not be written over, and pictures written in this run.
class WriteGuard {
 public:
  explicit WriteGuard(const Arguments& arguments);

  /// @return why not, where `path` is an input, a picture written before in this run, or something
  /// that is no ordinary file. Without --force also where it is no proof, or one of another
  /// document than `document` whose name was not asked for
  [[nodiscard]] Result<void> mayWrite(const std::string& path, const std::string& document) const;

  /// The same for a file that is no picture; whether it is a proof is not asked.
  [[nodiscard]] Result<void> mayWriteFile(const std::string& path) const;

  /// To be told of each picture.
  void wrote(const std::string& path) { written_.push_back(path); }

 private:
  bool force_;
  bool named_;  // by --output
  std::vector<std::string> inputs_;
  std::vector<std::string> written_;
};

/// Makes a directory that the caller has to himself.
/// @return why not, where there is something of that name, an empty directory excepted
[[nodiscard]] Result<void> makeNewDirectory(const std::string& path);

}  // namespace kestra::proof
