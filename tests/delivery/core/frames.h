// Small labels as the filter stores them, and a folder that is gone after the test.
// Why: tests of delivery look at bytes and files, not at pictures.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "delivery/core/page.h"
#include "tests/support/files.h"

namespace kestra::delivery::testing_support {

using Bytes = std::vector<std::uint8_t>;

/// A frame of `rows` rows of 3 bytes (count, dots), all dots of row y being `dots` + y.
Bytes frameOf(std::uint8_t dots, std::size_t rows = 4, std::uint16_t pageNumber = 1);

/// "page_0001_jobid_000012_0000.dat"
std::string frameName(int page, int job, int sequence = 0);

/// Writes a file in one piece; it appears whole under its name, as the filter's frames do.
void publish(const std::string& path, const Bytes& bytes);

Bytes bytesOf(const std::string& path);

/// The command, then the frame.
Bytes labelOf(const Bytes& frame, const Command& command = kUsualCommand);

class Folder : public kestra::testing_support::TemporaryFolder {
 public:
  std::string operator/(const std::string& name) const { return path() + "/" + name; }
};

}  // namespace kestra::delivery::testing_support
