// Turns the words of the command line into what to draw and where to send it.
//
// Checks that need no printer description are made here.
#include "tools/testlabel/arguments.h"

#include <cstddef>
#include <locale>
#include <sstream>

#include "tools/base/command_line.h"

namespace kestra::testlabel {
namespace {

/// "Darkness" or "Brightness=-20,0,20".
std::string takeSteps(const std::string& value, Arguments& arguments) {
  const std::size_t equals = value.find('=');
  arguments.stepped = value.substr(0, equals);
  arguments.steps.clear();
  std::istringstream list(equals == std::string::npos ? "" : value.substr(equals + 1));
  for (std::string one; std::getline(list, one, ',');) arguments.steps.push_back(one);
  const bool empty = equals != std::string::npos && arguments.steps.empty();
  return arguments.stepped.empty() || empty
             ? "an option, for example Darkness, or Brightness=-20,0,20" + notText(value)
             : std::string();
}

std::vector<ValueOption> options(Arguments& arguments) {
  return {
      {"-d", textInto(arguments.queue, "the name of a queue; lpstat -e lists them")},
      {"--output", textInto(arguments.output, "the name of the PDF to write")},
      {"--ppd", textInto(arguments.ppd, "the file of a printer description")},
      {"--model", modelInto(arguments.model)},
      {"--size",
       [&](const std::string& value) {
         arguments.size = value;
         return pageSizeOf(value).empty()
                    ? "a label's width and height, for example 100x50mm or 4x6in" + notText(value)
                    : std::string();
       }},
      {"--steps", [&](const std::string& value) { return takeSteps(value, arguments); }},
      {"-o",
       [&](const std::string& value) {
         arguments.options.push_back(value);
         return value.find('=') == std::string::npos
                    ? "a job option NAME=VALUE; the name of a file goes behind --output" +
                          notText(value)
                    : std::string();
       }},
  };
}

Result<void> contradiction(const Arguments& arguments) {
  if (arguments.queue.empty() == arguments.output.empty()) {
    return Problem{"give -d QUEUE to print a test label, or --output FILE.pdf to write one"};
  }
  if (!arguments.queue.empty() && (!arguments.model.empty() || !arguments.ppd.empty())) {
    return Problem{
        "a queue has a model and a printer description of its own; leave --model and --ppd out"};
  }
  if (!arguments.model.empty() && !arguments.ppd.empty()) {
    return Problem{"give --model or --ppd, not both: a model stands for its printer description"};
  }
  return {};
}

}  // namespace

std::string pageSizeOf(const std::string& size) {
  std::istringstream words(size);
  words.imbue(std::locale::classic());
  double width = 0;
  double height = 0;
  char by = 0;
  std::string unit;
  if (!(words >> width >> by >> height >> unit) || by != 'x' || !words.eof()) return {};
  if (!(width > 0 && height > 0) || (unit != "mm" && unit != "in" && unit != "cm")) return {};
  return "Custom." + size;
}

Result<Arguments> parseArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  const std::vector<Switch> switches = {
      {"--help", &arguments.help}, {"-h", &arguments.help}, {"--version", &arguments.version}};
  Result<void> good = takeWords(words, {switches, options(arguments)});
  if (good && !arguments.help && !arguments.version) good = contradiction(arguments);
  if (!good) return Problem{good.problem()};
  return arguments;
}

}  // namespace kestra::testlabel
