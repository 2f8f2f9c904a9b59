// Makes and removes the directory of a proof.
//
// Removal is tried more than once: a renderer that was just stopped may still drop a file.
#include "tools/render/private_directory.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <thread>

namespace kestra {
namespace {

constexpr int kAttempts = 20;
constexpr auto kPause = std::chrono::milliseconds(25);

}  // namespace

PrivateDirectory::~PrivateDirectory() {
  if (path_.empty()) return;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
    if (!std::filesystem::exists(path_, error)) return;
    std::this_thread::sleep_for(kPause);
  }
}

Result<void> PrivateDirectory::make() {
  const char* wanted = std::getenv("TMPDIR");
  const std::string above = wanted != nullptr && *wanted != '\0' ? wanted : "/tmp";
  std::error_code error;
  std::string pattern = std::filesystem::absolute(above, error).string() + "/kestra-proof-XXXXXX";
  if (error || mkdtemp(pattern.data()) == nullptr) {
    return Problem{"no directory can be made in " + above + ": " + std::strerror(errno) +
                   "; set TMPDIR to a place with room"};
  }
  path_ = pattern;
  return {};
}

bool moveFile(const std::string& from, const std::string& to) {
  std::error_code error;
  std::filesystem::rename(from, to, error);
  if (!error) return true;
  std::filesystem::copy_file(from, to, error);
  if (error) return false;
  std::filesystem::remove(from, error);
  return true;
}

}  // namespace kestra
