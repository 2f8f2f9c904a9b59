// Looks for one line.
#include "tools/fit/head_width.h"

#include <cstdlib>
#include <fstream>
#include <string>

namespace kestra {

double headPoints(const char* ppdPath) {
  if (ppdPath == nullptr) return 0;
  const std::string keyword = "*MaxMediaWidth:";
  std::ifstream file(ppdPath);
  for (std::string line; std::getline(file, line);) {
    if (line.compare(0, keyword.size(), keyword) != 0) continue;
    const std::size_t begin = line.find_first_not_of(" \t\"", keyword.size());
    return begin == std::string::npos ? 0 : std::strtod(line.c_str() + begin, nullptr);
  }
  return 0;
}

}  // namespace kestra
