// The command lines of the tools, from one table each.
//
// A wrong line must end before a file is touched or paper is spent, with a sentence that says what
// to type, in every tool in the same words.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "filter/base/result.h"

namespace kestra {

/// Takes the value of an option. Gives back what is wanted instead, for example "the name of a
/// file", or an empty text where the value is good.
using TakeValue = std::function<std::string(const std::string& value)>;

/// An option without a value.
struct Switch {
  const char* name;
  bool* place;
  bool value = true;  ///< what it stores
};

/// An option with a value: "--name VALUE" or "--name=VALUE", "-n VALUE" or "-nVALUE". `take` gets
/// an empty value where the line ends too soon.
struct ValueOption {
  const char* name;
  TakeValue take;
};

/// What a command line may hold. A switch goes before an option of its name, which then is reached
/// with "=" alone.
struct CommandLine {
  std::vector<Switch> switches;
  std::vector<ValueOption> options;
  /// Takes a word that is no option. Words that start with "-" are among them where they have no
  /// other letter or stand behind "--". None: the tool wants no such words, and no "--" either.
  std::function<Result<void>(const std::string& word)> takeWord = {};
};

/// Takes the words from left to right up to the first that makes no sense.
/// @return one sentence about that word
[[nodiscard]] Result<void> takeWords(const std::vector<std::string>& words,
                                     const CommandLine& line);

/// @return ", not "VALUE"", or an empty text for an empty value
[[nodiscard]] std::string notText(const std::string& value);

/// Stores a text that must not be empty.
[[nodiscard]] TakeValue textInto(std::string& place, const char* wanted);

/// Stores the name of one of the two printers.
[[nodiscard]] TakeValue modelInto(std::string& place);

}  // namespace kestra
