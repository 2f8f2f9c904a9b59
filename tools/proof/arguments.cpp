// Turns the words of the command line into options and a list of inputs.
//
// All checks that need no file are made here, so a page is either proofed as asked or not at all.
#include "tools/proof/arguments.h"

#include <cstddef>

#include "tools/base/command_line.h"
#include "tools/crop/crop_document.h"

namespace kestra::proof {
namespace {

constexpr unsigned kLargestDpi = 9999;
constexpr unsigned kLargestScale = 16;

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// A whole number from 1 to `largest`, digits only; 0 for anything else.
unsigned parseNumber(const std::string& text, unsigned largest) {
  if (text.empty() || text.size() > 4) return 0;
  unsigned value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return 0;
    value = value * 10 + static_cast<unsigned>(c - '0');
  }
  return value <= largest ? value : 0;
}

std::vector<ValueOption> valueOptions(Arguments& arguments) {
  return {
      {"--dpi",
       [&](const std::string& value) {
         arguments.dpi = static_cast<int>(parseNumber(value, kLargestDpi));
         arguments.dpiGiven = true;
         return arguments.dpi > 0 ? std::string()
                                  : "a number from 1 to " + std::to_string(kLargestDpi) +
                                        ", for example 203 or 300" + notText(value);
       }},
      {"--scale",
       [&](const std::string& value) {
         arguments.scale = parseNumber(value, kLargestScale);
         return arguments.scale > 0
                    ? std::string()
                    : "a whole number from 1 to " + std::to_string(kLargestScale) + notText(value);
       }},
      {"--model", modelInto(arguments.model)},
      {"--ppd", textInto(arguments.ppd, "the file of a printer description")},
      {"--crop",  // with a value: alone it is a switch
       [&](const std::string& value) {
         arguments.crop = true;
         arguments.cropPlace = value;
         return crop::parseHandPlace(value)
                    ? std::string()
                    : "a place in mm from the page's upper left corner, --crop=X,Y or "
                      "--crop=X,Y,WIDTH,HEIGHT" +
                          notText(value);
       }},
      {"--detail",
       [&](const std::string& value) {
         arguments.detail = parseDetail(value);
         return arguments.detail ? std::string()
                                 : "a place in mm from the page's upper left corner, "
                                   "X,Y,WIDTH,HEIGHT, or all" +
                                       notText(value);
       }},
      {"--keep", textInto(arguments.keep, "the name of a new directory")},
      {"--output-dir", textInto(arguments.outputDirectory, "the name of a directory")},
      {"--output",
       [&](const std::string& value) {
         arguments.output = value;
         return value.empty() || value == "-"
                    ? std::string("the name of the picture to write, for example page.png")
                    : std::string();
       }},
      {"--command",
       [&](const std::string& value) {
         if (value.empty()) {
           return std::string("a file with print-setting commands, or - for standard input");
         }
         arguments.inputs.push_back({InputKind::kCommand, value});
         return std::string();
       }},
      {"-o",
       [&](const std::string& value) {
         if (value.find('=') == std::string::npos && endsWith(value, ".png")) {
           return "a job option NAME=VALUE; name the picture with --output " + value;
         }
         if (endsWith(value, "=?") && value.find(' ') == std::string::npos) {
           arguments.asked.push_back(value.substr(0, value.size() - 2));
           return std::string();
         }
         arguments.options.push_back(value);
         return value.empty()
                    ? std::string("a job option NAME=VALUE, for example HalftoneType=Tattoo")
                    : std::string();
       }},
  };
}

std::vector<Switch> switches(Arguments& arguments) {
  return {{"--help", &arguments.help},       {"-h", &arguments.help},
          {"--version", &arguments.version}, {"--compare", &arguments.compare},
          {"--margins", &arguments.margins}, {"--json", &arguments.json},
          {"--quiet", &arguments.quiet},     {"-q", &arguments.quiet},
          {"--verbose", &arguments.verbose}, {"-v", &arguments.verbose},
          {"--force", &arguments.force},     {"--crop", &arguments.crop}};
}

// What does not fit together.
Result<void> contradiction(const Arguments& arguments) {
  std::size_t documents = 0;
  for (const Input& input : arguments.inputs) {
    documents += input.kind == InputKind::kDocument ? 1U : 0U;
  }
  if (arguments.inputs.empty() && arguments.asked.empty()) return Problem{"no document given"};
  if (!arguments.output.empty() && !arguments.outputDirectory.empty()) {
    return Problem{"give --output or --output-dir, not both"};
  }
  if (!arguments.output.empty() && documents != 1 && arguments.asked.empty()) {
    return Problem{"--output names one picture but there are " + std::to_string(documents) +
                   " documents; use --output-dir DIR"};
  }
  if (arguments.quiet && arguments.verbose) return Problem{"give --quiet or --verbose, not both"};
  if (arguments.detail && !arguments.compare) return Problem{"--detail is for --compare"};
  if (!arguments.model.empty() && !arguments.ppd.empty()) {
    return Problem{"give --model or --ppd, not both: a model stands for its printer description"};
  }
  return {};
}

}  // namespace

Result<Arguments> parseArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  const auto takeInput = [&](const std::string& word) -> Result<void> {
    if (word == "-") {
      return Problem{"a document cannot be read from standard input; give its file name"};
    }
    const bool counter = endsWith(word, ".pgc");
    arguments.inputs.push_back({counter ? InputKind::kPageCounter : InputKind::kDocument, word});
    return {};
  };
  Result<void> good = takeWords(words, {switches(arguments), valueOptions(arguments), takeInput});
  if (good && !arguments.help && !arguments.version) good = contradiction(arguments);
  if (!good) return Problem{good.problem()};
  return arguments;
}

}  // namespace kestra::proof
