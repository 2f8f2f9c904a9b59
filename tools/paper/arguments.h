// Reads the command line of kestra-paper.
//
// A wrong line ends before anybody listens, with a sentence that says what to type.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "filter/base/result.h"
#include "tools/paper/fault_script.h"
#include "tools/paper/printer.h"

namespace kestra::paper {

struct Arguments {
  bool help = false;
  bool version = false;
  bool quiet = false;
  bool list = false;               ///< prints what came as a list
  bool digest = false;             ///< the inputs are page frames to be listed
  bool allowTorn = false;          ///< torn labels do not fail the verdict
  bool anyOrder = false;           ///< labels out of order do not fail the verdict
  std::uint64_t allowTwice = 0;    ///< so many repeats do not fail it
  std::uint64_t allowUnknown = 0;  ///< so many whole labels that are not in the list do not
  std::string expect;              ///< file of the labels that should come; empty: none
  std::string came;    ///< file of the labels that came, instead of a source; empty: none
  std::string output;  ///< folder for pictures; empty: none
  std::string log;     ///< file for JSON lines; empty: standard output
  std::vector<std::string> scripts;  ///< files with faults
  std::vector<std::string> inputs;   ///< the source, or page frames
  PrinterSettings printer;
};

/// @return one sentence for a line that makes no sense
[[nodiscard]] Result<Arguments> parseArguments(const std::vector<std::string>& words);

/// The text of --help.
[[nodiscard]] const char* helpText();

}  // namespace kestra::paper
