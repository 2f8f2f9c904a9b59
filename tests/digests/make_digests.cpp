// Prints the list of digests, made from the plain version alone.
// Why: the list must not be a copy of what the filter happens to do.
#include <cstdio>

#include "tests/digests/combinations.h"
#include "tests/digests/digest.h"
#include "tests/digests/digest_list.h"

int main() {
  using namespace kestra::digests;  // NOLINT
  std::vector<Entry> entries;
  for (const Combination& one : allCombinations()) {
    entries.push_back({digestOf(kestra::blackbox::predict(one.job)), one.name});
  }
  const std::string text = listText(entries);
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() ? 0 : 1;
}
