// Looks for one line.
#include "tools/fit/description.h"

#include <cstdlib>
#include <fstream>
#include <string>

namespace kestra {
namespace {

// What stands behind the first line's keyword; an empty text without such a line.
std::string valueOf(const char* ppdPath, const std::string& keyword) {
  if (ppdPath == nullptr) return {};
  std::ifstream file(ppdPath);
  for (std::string line; std::getline(file, line);) {
    if (line.compare(0, keyword.size(), keyword) == 0) return line.substr(keyword.size());
  }
  return {};
}

}  // namespace

double headPoints(const char* ppdPath) {
  const std::string value = valueOf(ppdPath, "*MaxMediaWidth:");
  const std::size_t begin = value.find_first_not_of(" \t\"");
  return begin == std::string::npos ? 0 : std::strtod(value.c_str() + begin, nullptr);
}

bool fitsPages(const char* ppdPath) {
  return valueOf(ppdPath, "*cupsPreFilter:").find(" kestrafit\"") != std::string::npos;
}

}  // namespace kestra
