// Reads the command line of kestra-proof.
//
// A wrong line must end before any file is touched, with a sentence that says what to type.
#ifndef TOOLS_PROOF_ARGUMENTS_H_
#define TOOLS_PROOF_ARGUMENTS_H_

#include <string>
#include <vector>

namespace kestra {

enum class InputKind { kFrame, kPageCounter, kCommand };

struct Input {
  InputKind kind = InputKind::kFrame;
  std::string path;  // "-" is standard input, for commands only
};

struct Arguments {
  bool help = false;
  bool version = false;
  int dpi = 203;                 // dots per inch, horizontal and vertical
  std::string output;            // -o, empty where not given
  std::string output_directory;  // --output-dir, empty where not given
  std::vector<Input> inputs;     // in the order of the command line
};

// Fills `arguments`. Returns false and one sentence in `problem` for a line that makes no sense.
[[nodiscard]] bool parseArguments(const std::vector<std::string>& words, Arguments& arguments,
                                  std::string& problem);

// The text of --help.
const char* helpText();

}  // namespace kestra

#endif  // TOOLS_PROOF_ARGUMENTS_H_
