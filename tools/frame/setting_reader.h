// Reads the short records beside a page frame: the print-setting command and the page counter.
//
// The command tells the print head how fast to move and how much to heat before each page; the
// counter tells which number the next page of a print queue gets.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "filter/base/result.h"

namespace kestra {

/// What one print-setting command says.
struct SentSetting {
  std::uint8_t speedCode = 0;  ///< 0 is the slowest; two less than the job's PrintSpeed from 2 on
  std::uint8_t darkness = 0;   ///< 0 light, 1 middle, 2 dark
};

/// The commands of a job, one per page in order; `problem` is one sentence where the bytes are not
/// a whole number of good commands, and the commands before the bad one are kept.
struct ParsedSettings {
  std::vector<SentSetting> settings;
  std::string problem;
};

/// Takes everything the filter sent to the printer.
[[nodiscard]] ParsedSettings parsePrintSettings(const std::vector<std::uint8_t>& bytes);

/// By the names of the options: "darkness Middle, PrintSpeed 4"
[[nodiscard]] std::string describe(const SentSetting& setting);

/// As the bytes have it: "speed code 2, darkness code 1"
[[nodiscard]] std::string describeCodes(const SentSetting& setting);

/// Takes the bytes of a whole counter file.
[[nodiscard]] Result<std::uint16_t> parsePageCounter(const std::vector<std::uint8_t>& bytes);

}  // namespace kestra
