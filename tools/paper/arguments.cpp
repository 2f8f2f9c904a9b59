// Turns the words of the command line into settings.
//
// All checks that need no file are made here, so a run either is as asked or does not start.
#include "tools/paper/arguments.h"

#include <cstdlib>

#include "tools/base/command_line.h"

namespace kestra::paper {
namespace {

constexpr double kLargestSeconds = 1e6;
constexpr double kFastest = 10000;  // mm a second
constexpr std::uint64_t kLargestDpi = 9999;
constexpr std::uint64_t kLargestBuffer = std::uint64_t{1} << 28;
constexpr std::uint64_t kLargestCount = 1'000'000'000;

// A whole number from `least` to `most`.
template <typename Number>
TakeValue numberInto(Number& place, std::uint64_t least, std::uint64_t most) {
  return [&place, least, most](const std::string& value) {
    const bool digits = !value.empty() && value.size() <= 12 &&
                        value.find_first_not_of("0123456789") == std::string::npos;
    const std::uint64_t number = digits ? std::strtoull(value.c_str(), nullptr, 10) : 0;
    if (!digits || number < least || number > most) {
      return "a whole number from " + std::to_string(least) + " to " + std::to_string(most) +
             notText(value);
    }
    place = static_cast<Number>(number);
    return std::string();
  };
}

// A number with or without a point.
template <typename Place>
TakeValue decimalInto(Place& place, double most, const char* wanted) {
  return [&place, most, wanted](const std::string& value) {
    char* end = nullptr;
    const bool digits = !value.empty() && value.size() <= 15 &&
                        value.find_first_not_of("0123456789.") == std::string::npos;
    const double number = digits ? std::strtod(value.c_str(), &end) : 0;
    if (!digits || *end != '\0' || number > most) return wanted + notText(value);
    place = number;
    return std::string();
  };
}

std::vector<ValueOption> valueOptions(Arguments& arguments) {
  PrinterSettings& printer = arguments.printer;
  return {
      {"--ready", textInto(printer.readyFile, "the name of a file")},
      {"--speed", decimalInto(printer.speed, kFastest, "mm a second, 0 for as fast as it comes")},
      {"--dpi", numberInto(printer.dpi, 1, kLargestDpi)},
      {"--buffer", numberInto(printer.buffer, 1, kLargestBuffer)},
      {"--output", textInto(arguments.output, "the name of a folder")},
      {"--log", textInto(arguments.log, "the name of a file")},
      {"--fault",
       [&](const std::string& value) {
         const auto fault = parseFault(value);
         if (fault) printer.faults.push_back(*fault);
         return fault ? std::string() : "WHEN ACTION: " + fault.problem();
       }},
      {"--script",
       [&](const std::string& value) {
         arguments.scripts.push_back(value);
         return std::string(value.empty() ? "the name of a file" : "");
       }},
      {"--control", textInto(printer.control, "the name of a FIFO, or - for standard input")},
      {"--expect", textInto(arguments.expect, "the name of a file")},
      {"--came", textInto(arguments.came, "the name of a file")},
      {"--allow-twice", numberInto(arguments.allowTwice, 0, kLargestCount)},
      {"--allow-unknown", numberInto(arguments.allowUnknown, 0, kLargestCount)},
      {"--labels", numberInto(printer.labels, 1, kLargestCount)},
      {"--for", decimalInto(printer.runFor, kLargestSeconds, "a number of seconds")},
      {"--idle", decimalInto(printer.idleFor, kLargestSeconds, "a number of seconds")},
  };
}

std::vector<Switch> switches(Arguments& arguments) {
  PrinterSettings& printer = arguments.printer;
  return {{"--help", &arguments.help},
          {"-h", &arguments.help},
          {"--version", &arguments.version},
          {"--quiet", &arguments.quiet},
          {"-q", &arguments.quiet},
          {"--list", &arguments.list},
          {"--digest", &arguments.digest},
          {"--allow-torn", &arguments.allowTorn},
          {"--any-order", &arguments.anyOrder},
          {"--any-count", &printer.rules.countsWanted, false},
          {"--no-command", &printer.rules.commandWanted, false},
          {"--keep-state", &printer.keepState}};
}

// What does not fit together. Reads the source.
Result<void> contradiction(Arguments& arguments) {
  PrinterSettings& printer = arguments.printer;
  if (arguments.digest) {
    if (arguments.inputs.empty()) return Problem{"--digest wants page frames"};
    return {};
  }
  if (!arguments.came.empty()) {
    if (!arguments.inputs.empty()) return Problem{"give a source or --came, not both"};
    if (arguments.expect.empty()) return Problem{"--came needs --expect: nothing to judge by"};
    return {};
  }
  if (arguments.inputs.empty()) return Problem{"no source given: tcp:PORT, unix:PATH, - or a file"};
  if (arguments.inputs.size() != 1) {
    return Problem{"one source only, " + std::to_string(arguments.inputs.size()) + " are given"};
  }
  const auto source = parseSource(arguments.inputs[0]);
  if (!source) return Problem{source.problem()};
  printer.source = *source;
  if (printer.control == "-" && source->path == "-") {
    return Problem{"--control and the source cannot both be standard input"};
  }
  if (!printer.readyFile.empty() && !source->isSocket()) {
    return Problem{"--ready is for tcp: and unix:, nobody connects to a file"};
  }
  if (arguments.list && !arguments.expect.empty()) {
    return Problem{"give --list or --expect, not both"};
  }
  return {};
}

}  // namespace

Result<Arguments> parseArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  const auto takeInput = [&](const std::string& word) -> Result<void> {
    arguments.inputs.push_back(word);
    return {};
  };
  Result<void> good = takeWords(words, {switches(arguments), valueOptions(arguments), takeInput});
  if (good && !arguments.help && !arguments.version) good = contradiction(arguments);
  if (!good) return Problem{good.problem()};
  return arguments;
}

}  // namespace kestra::paper
