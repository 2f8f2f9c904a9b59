// Builds frames from the protocol's table, byte by byte.
#include "tests/delivery/core/frames.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace kestra::delivery::testing_support {

Bytes frameOf(std::uint8_t dots, std::size_t rows, std::uint16_t pageNumber) {
  const auto low = static_cast<std::uint8_t>(rows & 0xFF);
  const auto high = static_cast<std::uint8_t>(rows >> 8);
  Bytes bytes = {'S',
                 'I',
                 'Z',
                 1,
                 8,
                 0,
                 low,
                 high,
                 16,
                 0,
                 0,
                 0,
                 static_cast<std::uint8_t>(pageNumber & 0xFF),
                 static_cast<std::uint8_t>(pageNumber >> 8),
                 0x1D,
                 0x76,
                 0x30,
                 0x00,
                 3,
                 0,
                 low,
                 high};
  for (std::size_t y = 0; y < rows; ++y) {
    const auto row = static_cast<std::uint8_t>(dots + y);
    bytes.push_back(static_cast<std::uint8_t>(__builtin_popcount(row)));
    bytes.push_back(0);
    bytes.push_back(row);
  }
  return bytes;
}

std::string frameName(int page, int job, int sequence) {
  char name[64];
  std::snprintf(name, sizeof name, "page_%04d_jobid_%06d_%04d.dat", page, job, sequence);
  return name;
}

void publish(const std::string& path, const Bytes& bytes) {
  const std::string hidden = path + ".part";
  std::ofstream(hidden, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  std::filesystem::rename(hidden, path);
}

Bytes bytesOf(const std::string& path) {
  const std::string text = kestra::testing_support::readFile(path);
  return {text.begin(), text.end()};
}

Bytes labelOf(const Bytes& frame, const Command& command) {
  Bytes label(command.begin(), command.end());
  label.insert(label.end(), frame.begin(), frame.end());
  return label;
}

}  // namespace kestra::delivery::testing_support
