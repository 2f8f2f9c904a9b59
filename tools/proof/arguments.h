// Reads the command line of kestra-proof.
//
// A wrong line must end before any file is touched, with a sentence that says what to type.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "filter/base/result.h"
#include "tools/proof/detail.h"

namespace kestra::proof {

enum class InputKind { kDocument, kPageCounter, kCommand };

struct Input {
  InputKind kind = InputKind::kDocument;
  std::string path;  ///< "-" is standard input, for commands only
};

struct Arguments {
  bool help = false;
  bool version = false;
  bool compare = false;
  bool margins = false;
  bool crop = false;      ///< --crop, with or without a place
  std::string cropPlace;  ///< "X,Y" or "X,Y,WIDTH,HEIGHT" in mm; empty: to be found
  bool json = false;
  bool quiet = false;
  bool verbose = false;
  bool force = false;  ///< pictures of others may be written over
  int dpi = 203;       ///< dots per inch of frames, horizontal and vertical
  bool dpiGiven = false;
  unsigned scale = 1;                ///< pixels per dot
  std::string model;                 ///< empty where not given
  std::string ppd;                   ///< empty where not given
  std::optional<Detail> detail;      ///< --detail, nothing where not given
  std::vector<std::string> options;  ///< the words behind each -o
  std::vector<std::string> asked;    ///< options whose values are asked for: -o NAME=?
  std::string output;                ///< --output, empty where not given
  std::string outputDirectory;       ///< --output-dir, empty where not given
  std::string keep;                  ///< --keep, empty where not given
  std::vector<Input> inputs;         ///< in the order of the command line
};

/// @return one sentence for a line that makes no sense
[[nodiscard]] Result<Arguments> parseArguments(const std::vector<std::string>& words);

/// @return the text of --help
[[nodiscard]] const char* helpText();

}  // namespace kestra::proof
