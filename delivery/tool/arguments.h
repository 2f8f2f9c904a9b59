// Reads the command line of kestra-delivery. A wrong line ends before anything is touched, with a
// sentence that says what to type.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "delivery/core/doubt.h"
#include "delivery/core/page.h"
#include "filter/base/result.h"

namespace kestra::delivery {

enum class Verb { kHelp, kVersion, kList, kShow, kSend, kForget };

struct Arguments {
  Verb verb = Verb::kHelp;
  std::string job;                  ///< number, key or its start; of show, forget, and send
  std::vector<std::string> frames;  ///< of send, where it is no job
  std::string target;               ///< of send
  bool isJson = false;              ///< of list
  bool withFrames = false;          ///< of forget
  bool sendsAll = false;            ///< of send: labels that came as well
  bool isVerbose = false;           ///< of send
  Doubt doubt = Doubt::kAgain;      ///< of send
  std::optional<int> speed;         ///< of send: as in PrintSpeed
  std::optional<int> darkness;      ///< of send: as in the setting command
  std::optional<long> wait;         ///< of send: seconds for a printer that is away; none: for ever
  std::optional<std::string> root;  ///< put in front of all places
};

/// @return a problem for a line that makes no sense
[[nodiscard]] Result<Arguments> parseArguments(const std::vector<std::string>& words);

/// The setting command with what the command line chose.
[[nodiscard]] Command chosenCommand(const Arguments& arguments, Command command);

/// The text of --help.
[[nodiscard]] const char* helpText();

}  // namespace kestra::delivery
