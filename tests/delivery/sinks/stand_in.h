// Programs that stand in for those of the print system: shell scripts in a folder of the test's
// own.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "delivery/sinks/inner_program.h"
#include "tests/support/files.h"

namespace kestra::delivery::test {

/// A folder like the print system's, with a folder "backend"; goes with the object.
class ServerBin {
 public:
  ServerBin() {
    // As it is with links followed, and passable for the user of filters.
    path_ = std::filesystem::canonical(folder_.path());
    chmod(path_.c_str(), 0755);
    mkdir((path_ + "/backend").c_str(), 0755);
    chmod((path_ + "/backend").c_str(), 0755);
  }

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }

  /// A script that finds our folder in $D.
  void write(const std::string& name, const std::string& script, mode_t mode = 0755) const {
    const std::string path = path_ + "/backend/" + name;
    std::ofstream(path) << "#!/bin/sh\nD=" << path_ << "\n" << script << "\n";
    chmod(path.c_str(), mode);
  }
  [[nodiscard]] std::string text(const std::string& name) const {
    return kestra::testing_support::readFile(file(name));
  }
  /// The program of a scheme, ready to be started.
  [[nodiscard]] InnerProgram program(
      const std::string& uri, const std::optional<UserAndGroup>& account = std::nullopt) const {
    const auto found = findInnerProgram(path_, parseDeviceUri("kestra:" + uri),
                                        {"17", "anna", "a title", "a=1 b"}, account);
    EXPECT_TRUE(found) << found.problem();
    return found ? *found : InnerProgram{};
  }

 private:
  kestra::testing_support::TemporaryFolder folder_;
  std::string path_;
};

inline std::size_t openDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& one : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

}  // namespace kestra::delivery::test
