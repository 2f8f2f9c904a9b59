// Starts a program as a person would from a shell and brings back what it said.
// Why: jobs are printed with lp and lpadmin themselves, so that their options are tested too.
#pragma once

#include <string>
#include <vector>

#include "tests/support/files.h"

namespace kestra::cups_tests {

struct Said {
  int status = -1;   ///< exit status; 128 and more: the signal that ended it, plus 128
  std::string text;  ///< standard output and standard error
};

struct Command {
  std::vector<std::string> words;
  std::vector<std::string> environment;  ///< "NAME=value", added to this process's
  std::string input = "/dev/null";       ///< files
  std::string output;                    ///< standard output only; empty: into Said
};

/// Waits for its end; after 60 seconds the program is ended.
Said runCommand(const Command& command);

/// As above; a status other than 0 fails the current test.
std::string mustRun(const std::vector<std::string>& words);

using testing_support::readFile;
void writeFile(const std::string& path, const std::string& bytes, unsigned mode = 0644);

}  // namespace kestra::cups_tests
