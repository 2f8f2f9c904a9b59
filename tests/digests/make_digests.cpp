// Prints the list of digests, made from the plain version alone.
// Why: the list must not be a copy of what the filter happens to do.
#include <cstdio>

#include "tests/digests/combinations.h"
#include "tests/digests/digest.h"

int main() {
  using namespace kestra::digests;  // NOLINT
  std::puts(
      "# One 64-bit FNV-1a digest over everything that each job leaves. See README.md before "
      "changing one.");
  for (const Combination& one : allCombinations()) {
    const std::string digest = digestOf(kestra::blackbox::predict(one.job));
    std::printf("%s: %s\n", digest.c_str(), one.name.c_str());
  }
  return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : 1;
}
