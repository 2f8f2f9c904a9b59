// File reading with a size limit, picture names and the guard over the inputs.
//
// The guard compares files, not names, so that a link to a waiting page is recognised as well.
#include "tools/proof/files.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "filter/base/file.h"
#include "tools/proof/png_chunks.h"

namespace kestra::proof {
namespace {

// 65535 rows of 65535 bytes and the 22 bytes before them.
constexpr std::uint64_t kLargestFrame = std::uint64_t{65535} * 65535 + 22;

// Whether `path` leads to the very file that `status` describes.
bool isFile(const std::string& path, const struct stat& status) {
  struct stat other = {};
  return stat(path.c_str(), &other) == 0 && other.st_dev == status.st_dev &&
         other.st_ino == status.st_ino;
}

// Whether the file is a proof of `document`, or of any where that is empty.
Result<void> isProofOf(const std::string& path, const std::string& document) {
  const std::vector<PngChunk> chunks = chunksBeforePixels(path);
  const std::string instead =
      "; name another picture with --output or --output-dir, or write over it with --force";
  if (pngText(chunks, "Software") != kProgram) {
    return Problem{path + " is there already and was not made by kestra-proof" + instead};
  }
  const std::string made = pngText(chunks, "Title");
  if (document.empty() || made == document) return {};
  return Problem{path + " is there already and shows another document, " + made + instead};
}

}  // namespace

Result<std::vector<std::uint8_t>> readFile(const std::string& path) {
  const bool standardInput = path == "-";
  struct stat status = {};
  if (!standardInput && stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    return Problem{"is a directory, give the files in it"};
  }
  const FilePtr opened(standardInput ? nullptr : std::fopen(path.c_str(), "rb"));
  std::FILE* file = standardInput ? stdin : opened.get();
  if (file == nullptr) return Problem{std::string("cannot be read: ") + std::strerror(errno)};
  std::vector<std::uint8_t> bytes;
  std::array<std::uint8_t, 65536> block = {};
  for (std::size_t got = block.size(); got == block.size();) {
    got = std::fread(block.data(), 1, block.size(), file);
    bytes.insert(bytes.end(), block.data(), block.data() + got);
    if (bytes.size() > kLargestFrame) {
      return Problem{"is larger than any page frame (" + std::to_string(kLargestFrame) + " bytes)"};
    }
  }
  if (std::ferror(file) == 0) return Result<std::vector<std::uint8_t>>(std::move(bytes));
  return Problem{std::string("cannot be read: ") + std::strerror(errno)};
}

std::string stem(const std::string& path) { return std::filesystem::path(path).stem(); }

std::string picturePath(const Arguments& arguments, const std::string& name) {
  if (!arguments.output.empty()) return arguments.output;
  const std::string& directory = arguments.outputDirectory;
  return (directory.empty() ? "" : directory + "/") + name + ".png";
}

WriteGuard::WriteGuard(const Arguments& arguments)
    : force_(arguments.force), named_(!arguments.output.empty()) {
  for (const Input& input : arguments.inputs) inputs_.push_back(input.path);
  if (!arguments.ppd.empty()) inputs_.push_back(arguments.ppd);
}

Result<void> WriteGuard::mayWriteFile(const std::string& path) const {
  struct stat target = {};
  if (stat(path.c_str(), &target) != 0) return {};  // not there, or the writer will say why
  if (!S_ISREG(target.st_mode)) {
    return Problem{path + " is no ordinary file; name a picture file"};
  }
  for (const std::string& input : inputs_) {
    if (isFile(input, target)) {
      return Problem{path +
                     " is an input and is not written over; name another picture with --output"};
    }
  }
  for (const std::string& picture : written_) {
    if (isFile(picture, target)) {
      return Problem{"two pages would become the picture " + path +
                     "; proof the documents one by one with --output or --output-dir"};
    }
  }
  return {};
}

Result<void> WriteGuard::mayWrite(const std::string& path, const std::string& document) const {
  Result<void> may = mayWriteFile(path);
  std::error_code ignored;
  if (!may || force_ || !std::filesystem::exists(path, ignored)) return may;
  return isProofOf(path, named_ ? "" : std::filesystem::path(document).filename());
}

Result<void> makeNewDirectory(const std::string& path) {
  std::error_code error;
  if (std::filesystem::exists(path, error) &&
      !(std::filesystem::is_directory(path, error) && std::filesystem::is_empty(path, error))) {
    return Problem{path + " is there already; name a new or an empty directory"};
  }
  std::filesystem::create_directories(path, error);
  if (error) return Problem{path + " cannot be made: " + error.message()};
  return {};
}

}  // namespace kestra::proof
