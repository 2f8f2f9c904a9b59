// Goes through the words of a command line with the table of a tool beside them.
//
// Neither short names in one word nor shortened long ones are known: what a script was once given
// must not mean something else when an option is added.
#include "tools/base/command_line.h"

#include <cstddef>
#include <optional>

namespace kestra {
namespace {

/// The value that `word` gives the option `name`: behind "=", behind a short name, or the word at
/// `next`, which then is used up. Nothing where `word` is another option.
std::optional<std::string> valueOf(const std::string& name, const std::string& word,
                                   const std::vector<std::string>& words, std::size_t& next) {
  if (word == name) return next < words.size() ? words[next++] : std::string();
  const std::string start = name.size() > 2 ? name + "=" : name;
  if (word.compare(0, start.size(), start) != 0) return std::nullopt;
  return word.substr(start.size());
}

Result<void> takeOption(const std::string& word, const std::vector<std::string>& words,
                        std::size_t& next, const CommandLine& line) {
  for (const Switch& known : line.switches) {
    if (word != known.name) continue;
    *known.place = known.value;
    return {};
  }
  for (const ValueOption& known : line.options) {
    const std::optional<std::string> value = valueOf(known.name, word, words, next);
    if (!value) continue;
    const std::string wanted = known.take(*value);
    if (wanted.empty()) return {};
    return Problem{std::string(known.name) + " wants " + wanted};
  }
  return Problem{"unknown option " + word};
}

Result<void> refuseWord(const std::string& word) {
  if (word.empty()) return Problem{"an empty word"};
  if (word[0] == '-') return Problem{"unknown option " + word};
  return Problem{"no document is wanted here, and \"" + word + "\" is none of the options"};
}

}  // namespace

Result<void> takeWords(const std::vector<std::string>& words, const CommandLine& line) {
  bool options = true;
  for (std::size_t next = 0; next < words.size();) {
    const std::string& word = words[next++];
    Result<void> taken;
    if (!options || word.size() < 2 || word[0] != '-') {
      taken = line.takeWord ? line.takeWord(word) : refuseWord(word);
    } else if (word == "--" && line.takeWord) {
      options = false;
    } else {
      taken = takeOption(word, words, next, line);
    }
    if (!taken) return taken;
  }
  return {};
}

std::string notText(const std::string& value) {
  return value.empty() ? std::string() : ", not \"" + value + "\"";
}

TakeValue textInto(std::string& place, const char* wanted) {
  return [&place, wanted](const std::string& value) {
    place = value;
    return value.empty() ? std::string(wanted) : std::string();
  };
}

TakeValue modelInto(std::string& place) {
  return [&place](const std::string& value) {
    place = value;
    return value == "label" || value == "stencil"
               ? std::string()
               : "label (4-inch label printer) or stencil (A4 stencil printer)" + notText(value);
  };
}

}  // namespace kestra
