// A spool of the test's own: a temporary folder becomes the current one, because the paths linked
// into these tests are relative to it, so that no page of a test reaches the system's spool.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/files.h"

namespace kestra {

using Bytes = std::vector<std::uint8_t>;
using Names = std::vector<std::string>;

inline Bytes readBytes(const std::filesystem::path& path) {
  const std::string text = testing_support::readFile(path);
  return Bytes(text.begin(), text.end());
}

inline void writeBytes(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary);
  for (const std::uint8_t byte : bytes) file.put(static_cast<char>(byte));
}

/// Sorted names of everything in a folder, hidden names included; none where it does not exist.
inline Names namesIn(const std::filesystem::path& folder) {
  Names names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

/// Gives each test an empty spool and takes it away again.
class SpoolTest : public testing::Test {
 protected:
  const std::string kTmp = "var/spool/cups/tmp";
  const std::string kData = kTmp + "/kcv6data";

  void SetUp() override {
    std::filesystem::current_path(place());
    std::filesystem::create_directories(kTmp);
    std::filesystem::create_directories("tmp");
  }

  void TearDown() override { std::filesystem::current_path(home_); }

  std::filesystem::path place() const { return place_.path(); }
  void makeDataFolder() const { std::filesystem::create_directories(kData); }

 private:
  const std::filesystem::path home_ = std::filesystem::current_path();
  const testing_support::TemporaryFolder place_{home_};
};

}  // namespace kestra
