// All that can be checked without looking at a file is checked here.
#include "delivery/tool/arguments.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

#include "delivery/tool/words.h"

namespace kestra::delivery {
namespace {

constexpr int kSlowest = 2, kFastest = 6;  // PrintSpeed of the printer descriptions
constexpr int kLongestWait = 7 * 24 * 3600;

struct VerbName {
  const char* name;
  Verb verb;
};
constexpr std::array<VerbName, 4> kVerbs = {{{"list", Verb::kList},
                                             {"show", Verb::kShow},
                                             {"send", Verb::kSend},
                                             {"forget", Verb::kForget}}};

const char* nameOf(Verb verb) {
  for (const VerbName& one : kVerbs) {
    if (one.verb == verb) return one.name;
  }
  return "";
}

// A whole number, digits only, at most six of them.
std::optional<int> numberOf(const std::string& text, int least, int most) {
  if (text.empty() || text.size() > 6 ||
      text.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  const int value = std::stoi(text);
  return value >= least && value <= most ? std::optional<int>(value) : std::nullopt;
}

// An option; `take` stores its value, or says what is possible. Without `wanted` it has no value.
struct Option {
  const char* name;
  std::optional<Verb> only;  // of this verb alone
  bool hasValue;
  std::function<std::string(const std::string& value)> take;
};

Option switchOf(const char* name, std::optional<Verb> only, std::function<void()> turnOn) {
  return {name, only, false, [turnOn = std::move(turnOn)](const std::string&) {
            turnOn();
            return std::string();
          }};
}

std::string takeDarkness(const std::string& value, Arguments& arguments) {
  const std::array<const char*, 3> names = {"Light", "Middle", "Dark"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (value == names[i]) arguments.darkness = static_cast<int>(i);
  }
  return arguments.darkness ? "" : "Light, Middle or Dark";
}

std::string takeDoubt(const std::string& value, Arguments& arguments) {
  const std::optional<Doubt> doubt = doubtOfWord(value);
  // Nobody holds what is sent by hand: whoever sends it sees what happens.
  if (!doubt || *doubt == Doubt::kHold) return "again or skip";
  arguments.doubt = *doubt;
  return "";
}

std::vector<Option> optionsInto(Arguments& arguments) {
  return {
      switchOf("--help", {}, [&] { arguments.verb = Verb::kHelp; }),
      switchOf("--version", {}, [&] { arguments.verb = Verb::kVersion; }),
      switchOf("--json", Verb::kList, [&] { arguments.isJson = true; }),
      switchOf("--frames", Verb::kForget, [&] { arguments.withFrames = true; }),
      switchOf("--all", Verb::kSend, [&] { arguments.sendsAll = true; }),
      switchOf("--verbose", Verb::kSend, [&] { arguments.isVerbose = true; }),
      switchOf("-v", Verb::kSend, [&] { arguments.isVerbose = true; }),
      {"--doubt", Verb::kSend, true,
       [&](const std::string& value) { return takeDoubt(value, arguments); }},
      {"--darkness", Verb::kSend, true,
       [&](const std::string& value) { return takeDarkness(value, arguments); }},
      {"--speed", Verb::kSend, true,
       [&](const std::string& value) {
         arguments.speed = numberOf(value, kSlowest, kFastest);
         return std::string(arguments.speed ? "" : "a whole number from 2 (slow) to 6");
       }},
      {"--wait", Verb::kSend, true,
       [&](const std::string& value) {
         const std::optional<int> seconds = numberOf(value, 0, kLongestWait);
         if (seconds) arguments.wait = *seconds;
         return std::string(seconds ? "" : "a whole number of seconds, at most a week");
       }},
      {"--root", std::nullopt, true,
       [&](const std::string& value) {
         arguments.root = value;
         return std::string(value.empty() ? "the name of a folder" : "");
       }},
  };
}

// A word that looks like a path is a frame; a job's number or key has neither '/' nor '.'.
bool isFrame(const std::string& word) {
  return word.find('/') != std::string::npos || word.find('.') != std::string::npos;
}

Result<void> takeSendWords(const std::vector<std::string>& words, Arguments& arguments) {
  if (words.size() < 2) {
    return Problem{
        "send needs page frames or a job, and where to: socket://HOST, unix:PATH, a file, -"};
  }
  arguments.target = words.back();
  arguments.frames.assign(words.begin(), words.end() - 1);
  if (arguments.frames.size() > 1 || isFrame(arguments.frames.front())) return {};
  arguments.job = arguments.frames.front();
  arguments.frames.clear();
  return {};
}

Result<void> takeWords(const std::vector<std::string>& words, Arguments& arguments) {
  if (arguments.verb == Verb::kSend) return takeSendWords(words, arguments);
  const bool needsJob = arguments.verb == Verb::kShow || arguments.verb == Verb::kForget;
  if (words.size() == (needsJob ? 1U : 0U)) {
    if (needsJob) arguments.job = words.front();
    return {};
  }
  return Problem{std::string(nameOf(arguments.verb)) +
                 (needsJob ? " needs one job: its number, its key or the start of that"
                           : " needs no other words")};
}

// What is left of the command line.
struct Rest {
  std::vector<std::string> words;
  std::vector<std::pair<std::string, Verb>> only;  // options that are of one verb alone
};

// One option and the value behind it. Moves `at` to its last word.
Result<void> takeOption(const std::vector<std::string>& words, std::size_t& at,
                        const std::vector<Option>& options, Rest& rest) {
  const std::size_t equals =
      words[at].rfind("--", 0) == 0 ? words[at].find('=') : std::string::npos;
  const std::string name = words[at].substr(0, equals);
  for (const Option& option : options) {
    if (name != option.name) continue;
    const bool isBehind = option.hasValue && equals == std::string::npos;
    if (isBehind && at + 1 == words.size()) return Problem{name + " needs a value"};
    if (!option.hasValue && equals != std::string::npos) return Problem{name + " has no value"};
    std::string value;
    if (option.hasValue) value = isBehind ? words[++at] : words[at].substr(equals + 1);
    const std::string wanted = option.take(value);
    if (!wanted.empty()) {
      std::string sentence = name;
      sentence.append(" can be ").append(wanted).append(", not \"").append(harmless(value));
      return Problem{sentence.append("\"")};
    }
    if (option.only) rest.only.emplace_back(name, *option.only);
    return {};
  }
  return Problem{"There is no option " + harmless(name)};
}

}  // namespace

Result<Arguments> parseArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  std::optional<Verb> verb;
  const std::vector<Option> options = optionsInto(arguments);
  Rest rest;
  bool areOptionsOver = false;
  for (std::size_t at = 0; at < words.size(); ++at) {
    const std::string& word = words[at];
    if (!areOptionsOver && word == "--") {
      areOptionsOver = true;
    } else if (!areOptionsOver && word.size() > 1 && word[0] == '-') {
      const Result<void> taken = takeOption(words, at, options, rest);
      if (!taken) return Problem{taken.problem()};
      // Whoever asks how it is used need not know how it is used.
      if (word == "--help" || word == "--version") return arguments;
    } else if (verb) {
      rest.words.push_back(word);
    } else {
      for (const VerbName& one : kVerbs) {
        if (word == one.name) verb = one.verb;
      }
      if (!verb) return Problem{"\"" + harmless(word) + "\" is not list, show, send or forget"};
    }
  }
  if (!verb) return Problem{"What shall be done is missing: list, show, send or forget"};
  arguments.verb = *verb;
  for (const auto& [name, only] : rest.only) {
    if (only != *verb) return Problem{name + " is for " + nameOf(only)};
  }
  if (const auto taken = takeWords(rest.words, arguments); !taken) return Problem{taken.problem()};
  return arguments;
}

Command chosenCommand(const Arguments& arguments, Command command) {
  constexpr std::size_t kSpeedAt = 5, kDarknessAt = 6;
  if (arguments.speed) command[kSpeedAt] = static_cast<std::uint8_t>(*arguments.speed - 2);
  if (arguments.darkness) command[kDarknessAt] = static_cast<std::uint8_t>(*arguments.darkness);
  return command;
}

}  // namespace kestra::delivery
