// Opens the filter and its runner while they can still be seen, and starts them inside the tree.
// Why: both may lie below /tmp, which a job sees as its own.
#include "tests/support/filter_command.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace kestra::testing_support {

namespace {

constexpr char kFilter[] = "KESTRA_TEST_FILTER";
constexpr char kFilterRelative[] = "KESTRA_TEST_FILTER_RELATIVE";
constexpr char kRunner[] = "KESTRA_TEST_RUNNER";
constexpr char kNameWord[] = "%0";
// Descriptors that stay open lie far above those a job begins with: one that starts with its
// standard input closed must not find them there instead.
constexpr int kFirstKept = 100;

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::string openFile(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

}  // namespace

FilterCommand::FilterCommand(Isolation isolation) {
  const bool relative = isolation == Isolation::kRelative;
  std::string filter = variable(relative ? kFilterRelative : kFilter);
  if (filter.empty()) {
    const char* other = relative ? kFilter : kFilterRelative;
    if (!variable(other).empty()) {
      problem_ = std::string(other) + " is set, but this machine needs " +
                 (relative ? kFilterRelative : kFilter);
      return;
    }
    filter = relative ? KESTRA_FILTER_RELATIVE : KESTRA_FILTER;
  }
  std::istringstream runner(variable(kRunner));
  for (std::string word; problem_.empty() && runner >> word;) {
    const int opened = word[0] == '/' ? open(word, true) : -1;
    if (words_.empty()) executable_ = opened;
    words_.push_back(opened >= 0 ? openFile(opened) : word);
  }
  if (!problem_.empty()) return;
  const int program = open(filter, !words_.empty());
  if (words_.empty()) {
    executable_ = program;
    return;
  }
  words_.push_back(openFile(program));
  if (executable_ < 0) problem_ = std::string(kRunner) + " must begin with an absolute path";
}

int FilterCommand::open(const std::string& path, bool keepOpen) {
  int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor >= 0 && keepOpen) descriptor = ::fcntl(descriptor, F_DUPFD, kFirstKept);
  if (descriptor < 0 && problem_.empty()) problem_ = "open " + path + ": " + std::strerror(errno);
  return descriptor;
}

std::string FilterCommand::become(const std::string& name,
                                  const std::vector<std::string>& arguments,
                                  std::vector<std::string> environment) const {
  std::vector<std::string> all = words_;
  for (std::string& word : all) {
    if (word == kNameWord) word = name;
  }
  if (all.empty()) all.push_back(name);
  all.insert(all.end(), arguments.begin(), arguments.end());
  ::fexecve(executable_, pointers(all).data(), pointers(environment).data());
  return std::string("exec: ") + std::strerror(errno);
}

int patienceFactor() { return variable(kRunner).empty() ? 1 : 10; }

}  // namespace kestra::testing_support
