// Looks for the prefixes by which the print system, too, knows an error.
#include "tools/render/job_log.h"

#include <cstddef>

namespace kestra {
namespace {

constexpr std::size_t kMostErrors = 100;

}  // namespace

std::vector<std::string> reportedErrors(std::istream& log) {
  std::vector<std::string> errors;
  for (std::string line; errors.size() < kMostErrors && std::getline(log, line) && !log.eof();) {
    if (line.rfind("ERROR:", 0) != 0 && line.rfind("CRIT:", 0) != 0) continue;
    const std::size_t words = line.find_first_not_of(' ', line.find(':') + 1);
    if (words != std::string::npos) errors.push_back(line.substr(words));
  }
  return errors;
}

}  // namespace kestra
