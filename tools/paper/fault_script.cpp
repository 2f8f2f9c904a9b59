// Reads words from left to right: the moment, the action, what the action needs.
//
// A word too many is an error, not ignored: a test whose fault never happens would pass.
#include "tools/paper/fault_script.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace kestra::paper {
namespace {

using Words = std::vector<std::string>;

constexpr double kLargestNumber = 1e6;
constexpr std::size_t kMostDigits = 15;

Words wordsOf(const std::string& text) {
  std::istringstream stream(text);
  Words words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

std::string joined(const Words& words, std::size_t from, std::size_t to) {
  std::string text;
  for (std::size_t i = from; i < to; ++i) text += (i > from ? " " : "") + words[i];
  return text;
}

// A plain number of seconds or mm a second: digits and a point.
std::optional<double> decimal(const std::string& word) {
  if (word.empty() || word.size() > kMostDigits) return std::nullopt;
  if (word.find_first_not_of("0123456789.") != std::string::npos) return std::nullopt;
  char* end = nullptr;
  const double value = std::strtod(word.c_str(), &end);
  if (*end != '\0' || value > kLargestNumber) return std::nullopt;
  return value;
}

std::optional<std::uint64_t> whole(const std::string& word) {
  if (word.empty() || word.size() > kMostDigits) return std::nullopt;
  if (word.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
  return std::strtoull(word.c_str(), nullptr, 10);
}

// "41 42" as bytes, where every word is two hex digits.
std::optional<std::string> hexBytes(const Words& words) {
  std::string bytes;
  for (const std::string& word : words) {
    if (word.size() != 2 || word.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
      return std::nullopt;
    }
    bytes += static_cast<char>(std::strtoul(word.c_str(), nullptr, 16));
  }
  return bytes;
}

// What an action takes: numbers wanted, numbers allowed; the last one of those is seconds.
struct Form {
  const char* name;
  ActionKind kind;
  std::size_t wanted;
  std::size_t allowed;
  const char* usage;
};

constexpr std::array<Form, 11> kForms = {{
    {"pause", ActionKind::kPause, 1, 1, "pause SECONDS"},
    {"slow", ActionKind::kSlow, 1, 2, "slow MM_PER_SECOND [SECONDS]"},
    {"close", ActionKind::kClose, 0, 0, "close"},
    {"reset", ActionKind::kReset, 0, 0, "reset"},
    {"reset-unread", ActionKind::kResetUnread, 0, 0, "reset-unread"},
    {"deaf", ActionKind::kDeaf, 0, 1, "deaf [SECONDS]"},
    {"refuse", ActionKind::kRefuse, 1, 1, "refuse SECONDS"},
    {"power-cycle", ActionKind::kPowerCycle, 1, 1, "power-cycle SECONDS"},
    {"no-close", ActionKind::kNoClose, 0, 0, "no-close"},
    {"garbage", ActionKind::kGarbage, 0, 0, "garbage TEXT, or bytes as pairs of hex digits"},
    {"die", ActionKind::kDie, 0, 0, "die"},
}};

Result<Action> actionOf(const Words& words) {
  if (words.empty()) {
    return Problem{
        "no action; known are pause, slow, close, reset, reset-unread, deaf, refuse, "
        "power-cycle, no-close, garbage, die"};
  }
  const Form* form = nullptr;
  for (const Form& known : kForms) {
    if (words[0] == known.name) form = &known;
  }
  if (form == nullptr) return Problem{"unknown action \"" + words[0] + "\""};
  Action action;
  action.kind = form->kind;
  action.text = joined(words, 0, words.size());
  const Words values(words.begin() + 1, words.end());
  bool good = values.size() >= form->wanted && values.size() <= form->allowed;
  if (action.kind == ActionKind::kGarbage) {
    good = !values.empty();
    action.bytes = hexBytes(values).value_or(joined(values, 0, values.size()));
  } else {
    for (std::size_t i = 0; i < values.size() && good; ++i) {
      const std::optional<double> value = decimal(values[i]);
      good = value.has_value();
      if (!good) break;
      if (action.kind == ActionKind::kSlow && i == 0) {
        action.speed = *value;
      } else {
        action.seconds = *value;
      }
    }
  }
  if (good) return action;
  return Problem{"\"" + action.text + "\" is no action; it goes: " + form->usage};
}

struct Moment {
  When when;
  std::size_t words = 1;  // so many it takes at the front
};

Result<Moment> momentOf(const Words& words) {
  static const struct {
    const char* name;
    WhenKind kind;
  } kNames[] = {{"connection", WhenKind::kConnection},
                {"label", WhenKind::kLabel},
                {"after", WhenKind::kAfter},
                {"byte", WhenKind::kByte}};
  Moment moment;
  When& when = moment.when;
  if (!words.empty() && words[0] == "start") {
    when.text = words[0];
    return moment;
  }
  const std::optional<std::uint64_t> number =
      words.size() > 1 ? whole(words[1]) : std::optional<std::uint64_t>();
  for (const auto& known : kNames) {
    if (words.empty() || words[0] != known.name || !number) continue;
    when.kind = known.kind;
    when.number = *number;
    moment.words = 2;
    if (when.kind == WhenKind::kLabel && words.size() > 2 && words[2].back() == '%') {
      const auto percent = whole(words[2].substr(0, words[2].size() - 1));
      if (!percent || *percent > 100) {
        return Problem{"\"" + words[2] + "\" is no share from 0% to 100%"};
      }
      when.percent = static_cast<unsigned>(*percent);
      moment.words = 3;
    }
    when.text = joined(words, 0, moment.words);
    return moment;
  }
  return Problem{
      "\"" + joined(words, 0, words.size()) +
      "\" does not start with start, connection N, label N, label N P%, after N or byte N"};
}

}  // namespace

Result<Action> parseAction(const std::string& text) { return actionOf(wordsOf(text)); }

Result<PlannedFault> parseFault(const std::string& text) {
  const Words words = wordsOf(text);
  const Result<Moment> moment = momentOf(words);
  if (!moment) return Problem{moment.problem()};
  const auto behind = words.begin() + static_cast<std::ptrdiff_t>(moment->words);
  const Result<Action> action = actionOf(Words(behind, words.end()));
  if (!action) return Problem{action.problem()};
  return PlannedFault{moment->when, *action};
}

Result<std::vector<PlannedFault>> parseScript(const std::string& text) {
  std::vector<PlannedFault> faults;
  std::istringstream lines(text);
  std::string line;
  for (std::size_t number = 1; std::getline(lines, line); ++number) {
    const Words words = wordsOf(line);
    if (words.empty() || words[0][0] == '#') continue;
    const Result<PlannedFault> fault = parseFault(line);
    if (!fault) return Problem{"line " + std::to_string(number) + ": " + fault.problem()};
    faults.push_back(*fault);
  }
  return faults;
}

}  // namespace kestra::paper
