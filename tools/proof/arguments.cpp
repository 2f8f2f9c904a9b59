// Turns the words of the command line into options and a list of inputs.
//
// All checks that need no file are made here, so a page is either proofed as asked or not at all.
#include "tools/proof/arguments.h"

#include <cstddef>

namespace kestra {
namespace {

constexpr int kLargestDpi = 9999;

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// A resolution in dots per inch, digits only.
bool parseDpi(const std::string& text, int& dpi) {
  if (text.empty() || text.size() > 4) return false;
  int value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + (c - '0');
  }
  if (value < 1 || value > kLargestDpi) return false;
  dpi = value;
  return true;
}

// Takes the value of an option: the rest behind "=", or the next word.
class Words {
 public:
  explicit Words(const std::vector<std::string>& words) : words_(words) {}

  bool next(std::string& word) {
    if (at_ == words_.size()) return false;
    word = words_[at_++];
    return true;
  }

  // True where `word` is the option `name`; `found` then tells whether it has a value.
  bool option(const std::string& word, const std::string& name, std::string& value, bool& found) {
    const bool isLong = name.size() > 2;
    if (word == name) {
      found = next(value);
      return true;
    }
    const std::string start = isLong ? name + "=" : name;
    if (word.compare(0, start.size(), start) != 0) return false;
    value = word.substr(start.size());
    found = true;
    return true;
  }

 private:
  const std::vector<std::string>& words_;  // the caller's, longer-lived than this object
  std::size_t at_ = 0;
};

bool checkOutputs(const Arguments& arguments, std::string& problem) {
  std::size_t frames = 0;
  for (const Input& input : arguments.inputs) frames += input.kind == InputKind::kFrame ? 1U : 0U;
  if (!arguments.output.empty() && !arguments.output_directory.empty()) {
    problem = "give -o or --output-dir, not both";
  } else if (!arguments.output.empty() && frames != 1) {
    problem = "-o names one picture but there are " + std::to_string(frames) +
              " frames; use --output-dir DIR";
  } else {
    return true;
  }
  return false;
}

}  // namespace

bool parseArguments(const std::vector<std::string>& words, Arguments& arguments,
                    std::string& problem) {
  Words rest(words);
  std::string word;
  std::string value;
  bool found = true;
  bool options = true;
  while (rest.next(word)) {
    if (!options || word.size() < 2 || word[0] != '-') {
      if (word == "-") {
        problem = "a frame cannot be read from standard input; give its file name";
        return false;
      }
      const bool counter = endsWith(word, ".pgc");
      arguments.inputs.push_back({counter ? InputKind::kPageCounter : InputKind::kFrame, word});
    } else if (word == "--") {
      options = false;
    } else if (word == "--help" || word == "-h") {
      arguments.help = true;
    } else if (word == "--version") {
      arguments.version = true;
    } else if (rest.option(word, "--dpi", value, found)) {
      if (!found || !parseDpi(value, arguments.dpi)) {
        problem = "--dpi wants a number from 1 to " + std::to_string(kLargestDpi) +
                  ", for example 203 or 300" + (found ? ", not \"" + value + "\"" : "");
        return false;
      }
    } else if (rest.option(word, "--output-dir", value, found)) {
      if (!found || value.empty()) {
        problem = "--output-dir wants the name of a directory";
        return false;
      }
      arguments.output_directory = value;
    } else if (rest.option(word, "--command", value, found)) {
      if (!found || value.empty()) {
        problem = "--command wants a file with print-setting commands, or - for standard input";
        return false;
      }
      arguments.inputs.push_back({InputKind::kCommand, value});
    } else if (rest.option(word, "-o", value, found)) {
      if (!found || value.empty() || value == "-") {
        problem = "-o wants the name of the picture to write, for example page.png";
        return false;
      }
      arguments.output = value;
    } else {
      problem = "unknown option " + word;
      return false;
    }
  }
  if (arguments.help || arguments.version) return true;
  if (arguments.inputs.empty()) {
    problem = "no page frame given";
    return false;
  }
  return checkOutputs(arguments, problem);
}

const char* helpText() {
  return "Usage: kestra-proof [--dpi N] [-o OUT.png | --output-dir DIR] FRAME...\n"
         "       kestra-proof --command FILE|-\n"
         "\n"
         "Shows pages as the print head gets them. For every page frame it says what the frame\n"
         "announces and draws its dots into a PNG picture, one pixel per dot, margin included.\n"
         "A file that ends in .pgc is the page counter of a print queue.\n"
         "\n"
         "  --dpi N           resolution of the print head, for sizes in mm and in the\n"
         "                    picture; a frame does not hold it (203)\n"
         "  -o OUT.png        where the picture of the only frame goes\n"
         "  --output-dir DIR  where the pictures go (the current directory); each is named\n"
         "                    like its frame, with .png for .dat\n"
         "  --command FILE|-  decode print-setting commands from a file or standard input\n"
         "  --help            this text\n"
         "  --version         the version\n"
         "\n"
         "Exit status: 0 all was well, 1 an input was broken or unreadable or a picture could\n"
         "not be written, 2 the command line made no sense.\n";
}

}  // namespace kestra
