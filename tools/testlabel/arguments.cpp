// Turns the words of the command line into what to draw and where to send it.
//
// Checks that need no printer description are made here.
#include "tools/testlabel/arguments.h"

#include <cstddef>
#include <functional>
#include <locale>
#include <sstream>

namespace kestra::testlabel {
namespace {

struct Option {
  const char* name;
  std::function<std::string(const std::string&)> take;  // what is wanted instead, or nothing
};

std::function<std::string(const std::string&)> into(std::string& place, const char* wanted) {
  return [&place, wanted](const std::string& value) {
    place = value;
    return value.empty() ? std::string(wanted) : std::string();
  };
}

/// "Darkness" or "Brightness=-20,0,20".
std::string takeSteps(const std::string& value, Arguments& arguments) {
  const std::size_t equals = value.find('=');
  arguments.stepped = value.substr(0, equals);
  arguments.steps.clear();
  std::istringstream list(equals == std::string::npos ? "" : value.substr(equals + 1));
  for (std::string one; std::getline(list, one, ',');) arguments.steps.push_back(one);
  const bool empty = equals != std::string::npos && arguments.steps.empty();
  return arguments.stepped.empty() || empty
             ? "an option, for example Darkness, or Brightness=-20,0,20"
             : "";
}

std::vector<Option> options(Arguments& arguments) {
  return {
      {"-d", into(arguments.queue, "the name of a queue; lpstat -e lists them")},
      {"--output", into(arguments.output, "the name of the PDF to write")},
      {"--ppd", into(arguments.ppd, "the file of a printer description")},
      {"--model",
       [&](const std::string& value) {
         arguments.model = value;
         return value == "label" || value == "stencil"
                    ? std::string()
                    : "label (4-inch label printer) or stencil (A4 stencil printer)";
       }},
      {"--size",
       [&](const std::string& value) {
         arguments.size = value;
         return pageSizeOf(value).empty()
                    ? "a label's width and height, for example 100x50mm or 4x6in"
                    : std::string();
       }},
      {"--steps", [&](const std::string& value) { return takeSteps(value, arguments); }},
      {"-o",
       [&](const std::string& value) {
         arguments.options.push_back(value);
         return value.find('=') == std::string::npos
                    ? "a job option NAME=VALUE; the name of a file goes behind --output"
                    : std::string();
       }},
  };
}

/// Whether `word` is that option, and its value: behind "=", behind a short name, or the next word.
bool isOption(const std::string& word, const std::string& name,
              const std::vector<std::string>& words, std::size_t& next, std::string& value) {
  value.clear();
  if (word == name) {
    if (next < words.size()) value = words[next++];
    return true;
  }
  const std::string start = name.size() > 2 ? name + "=" : name;
  if (word.compare(0, start.size(), start) != 0) return false;
  value = word.substr(start.size());
  return true;
}

std::string takeWord(const std::string& word, const std::vector<std::string>& words,
                     std::size_t& next, Arguments& arguments) {
  if (word == "--help" || word == "-h") {
    arguments.help = true;
    return {};
  }
  if (word == "--version") {
    arguments.version = true;
    return {};
  }
  std::string value;
  for (const Option& option : options(arguments)) {
    if (!isOption(word, option.name, words, next, value)) continue;
    const std::string wanted = option.take(value);
    if (wanted.empty()) return {};
    return std::string(option.name) + " wants " + wanted +
           (value.empty() ? "" : ", not \"" + value + "\"");
  }
  return word[0] == '-' ? "unknown option " + word
                        : "no document is wanted here, and \"" + word + "\" is none of the options";
}

std::string contradiction(const Arguments& arguments) {
  if (arguments.queue.empty() == arguments.output.empty()) {
    return "give -d QUEUE to print a test label, or --output FILE.pdf to write one";
  }
  if (!arguments.queue.empty() && (!arguments.model.empty() || !arguments.ppd.empty())) {
    return "a queue has a model and a printer description of its own; leave --model and --ppd out";
  }
  if (!arguments.model.empty() && !arguments.ppd.empty()) {
    return "give --model or --ppd, not both: a model stands for its printer description";
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

bool parseArguments(const std::vector<std::string>& words, Arguments& arguments,
                    std::string& problem) {
  problem.clear();
  for (std::size_t next = 0; next < words.size() && problem.empty();) {
    const std::string& word = words[next++];
    problem = word.empty() ? "an empty word" : takeWord(word, words, next, arguments);
  }
  if (problem.empty() && !arguments.help && !arguments.version) problem = contradiction(arguments);
  return problem.empty();
}

}  // namespace kestra::testlabel
