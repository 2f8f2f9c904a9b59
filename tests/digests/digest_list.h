// The committed list: a line "digest: combination" for each job.
// Why: the filter and the plain version are both held against it.
#pragma once

#include <string>
#include <vector>

namespace kestra::digests {

struct Entry {
  std::string digest;
  std::string name;
};

/// Throws where the file cannot be read or a line is not of that form. Lines with '#' are skipped.
std::vector<Entry> readList(const std::string& path);

std::string listText(const std::vector<Entry>& entries);

}  // namespace kestra::digests
