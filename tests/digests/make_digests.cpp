// Prints the list of digests, made from the plain version alone.
// Why: the list must not be a copy of what the filter happens to do.
#include <cstdio>

#include "tests/digests/combinations.h"
#include "tests/digests/digest.h"
#include "tests/digests/digest_list.h"

int main() {
  using namespace kestra::digests;  // NOLINT
  std::vector<Entry> entries;
  for (const Combination& one : AllCombinations()) {
    entries.push_back({DigestOf(kestra::blackbox::Predict(one.job)), one.name});
  }
  const std::string text = ListText(entries);
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() ? 0 : 1;
}
