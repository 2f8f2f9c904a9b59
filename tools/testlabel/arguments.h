// Reads the command line of kestra-testlabel.
//
// A wrong line must end before paper is spent, with a sentence that says what to type.
#pragma once

#include <string>
#include <vector>

#include "filter/base/result.h"

namespace kestra::testlabel {

struct Arguments {
  bool help = false;
  bool version = false;
  std::string queue;                 ///< -d
  std::string output;                ///< --output
  std::string model;                 ///< --model
  std::string ppd;                   ///< --ppd
  std::string size;                  ///< --size as given
  std::vector<std::string> options;  ///< the words behind each -o
  std::string stepped;               ///< the option of --steps
  std::vector<std::string> steps;    ///< its values as given; empty: the usual ones
};

/// @return one sentence for a line that makes no sense
[[nodiscard]] Result<Arguments> parseArguments(const std::vector<std::string>& words);

/// "100x50mm", "4x6in" as the PageSize of a job, "Custom.100x50mm"; an empty text for anything
/// else.
[[nodiscard]] std::string pageSizeOf(const std::string& size);

/// @return the text of --help
[[nodiscard]] const char* helpText();

}  // namespace kestra::testlabel
