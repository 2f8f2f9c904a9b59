// The jobs of the digest list: which pages with which choices, and a line of text for each.
// Why: together they touch every halftone, tone, turn and barcode rule on pages of awkward sizes.
#pragma once

#include <string>
#include <vector>

#include "tests/blackbox/job_case.h"

namespace kestra::digests {

struct Combination {
  std::string name;  ///< one line, without colons
  blackbox::JobCase job;
};

/// Always the same ones in the same order; new ones are added at the end.
std::vector<Combination> allCombinations();

}  // namespace kestra::digests
