// Looks at the file with the print system's eyes: owner, mode and folder decide.
#include "delivery/sinks/inner_program.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>

namespace kestra::delivery {
namespace {

constexpr char kDeviceUri[] = "DEVICE_URI=";

bool isTrusted(const struct stat& status) {
  return (status.st_uid == 0 || status.st_uid == geteuid()) &&
         (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// What the print system gave us, and another device.
std::vector<std::string> environmentFor(const std::string& inner) {
  const std::string own = kDeviceUri;
  std::vector<std::string> environment;
  for (char** one = environ; *one != nullptr; ++one) {
    const std::string variable = *one;
    if (variable.compare(0, own.size(), own) != 0) environment.push_back(variable);
  }
  environment.push_back(own + inner);
  return environment;
}

}  // namespace

Result<InnerProgram> findInnerProgram(const std::string& serverBin, const DeviceUri& uri,
                                      const InnerJob& job,
                                      const std::optional<UserAndGroup>& account) {
  const std::string name = "The program \"" + uri.scheme + "\" of the print system ";
  // The scheme was checked when the address was read; a name that leaves the folder is no scheme.
  if (!uri.isGood() || uri.scheme.empty() || uri.scheme.find('/') != std::string::npos ||
      uri.scheme.front() == '.' || uri.scheme == "kestra" || serverBin.empty() ||
      serverBin.front() != '/') {
    return Problem{"The device address names no program of the print system."};
  }
  InnerProgram program;
  program.scheme = uri.scheme;
  std::array<char, PATH_MAX> real = {};
  const std::string path = serverBin + "/backend/" + uri.scheme;
  if (realpath(path.c_str(), real.data()) == nullptr) {
    return Problem{name + "is not installed (" + path + ")."};
  }
  program.path = real.data();
  struct stat file = {};
  struct stat folder = {};
  const std::string folderPath = program.path.substr(0, program.path.rfind('/') + 1);
  if (stat(program.path.c_str(), &file) != 0 || stat(folderPath.c_str(), &folder) != 0 ||
      !S_ISREG(file.st_mode) || (file.st_mode & S_IXUSR) == 0) {
    return Problem{name + "cannot be executed (" + path + ")."};
  }
  if (!isTrusted(file) || !isTrusted(folder)) {
    return Problem{name + "could have been changed by another user than root (" + path + ")."};
  }
  program.needsRoot = (file.st_mode & (S_IWGRP | S_IXGRP | S_IWOTH | S_IXOTH)) == 0;
  if (access(program.path.c_str(), X_OK) != 0) {
    return Problem{name + "can be started by root alone (" + path + ")."};
  }
  program.words = {publicText(uri.inner), job.id, job.user, job.title, "1", job.options};
  program.environment = environmentFor(uri.inner);
  program.account = account;
  return program;
}

}  // namespace kestra::delivery
