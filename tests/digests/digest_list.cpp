// Reads and writes the list.
// Why: one form for the program that makes it and the tests that use it.
#include "tests/digests/digest_list.h"

#include <fstream>
#include <stdexcept>

namespace kestra::digests {

std::vector<Entry> readList(const std::string& path) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::vector<Entry> entries;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line.size() < 19 || line.compare(16, 2, ": ") != 0) {
      throw std::runtime_error("not a digest: " + line);
    }
    entries.push_back({line.substr(0, 16), line.substr(18)});
  }
  return entries;
}

std::string listText(const std::vector<Entry>& entries) {
  std::string text =
      "# One 64-bit FNV-1a digest over everything that each job leaves. See README.md before "
      "changing one.\n";
  for (const Entry& entry : entries) text += entry.digest + ": " + entry.name + "\n";
  return text;
}

}  // namespace kestra::digests
