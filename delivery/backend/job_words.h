// What the print system says about a job when it starts a backend: words in a fixed order, some of
// them written by the person who prints.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kestra::delivery {

struct JobWords {
  std::string printer;  ///< argv[0]: the device's address without a password
  std::string id;       ///< argv[1] as it is
  int number = 0;       ///< the job's number, read as the filter reads it for the names of frames
  std::string user;
  std::string title;
  int copies = 1;       ///< of `file` only, at least 1: a filter's output holds all copies
  std::string options;  ///< argv[5] as it is
  std::map<std::string, std::string> option;  ///< the same, by name
  std::optional<std::string> file;            ///< document to be sent as it is, instead of stdin

  std::string uuid;         ///< job-uuid as it is, "urn:uuid:..."; empty where there is none
  long long createdAt = 0;  ///< seconds since 1970; 0 where that is not said
  long long completedAt =
      0;  ///< when the job had ended before; 0: it had not, and comes after a retry
};

/// @param words  argv with the program's name; 6 words, or 7 with a document
/// @return nothing where their number is another
[[nodiscard]] std::optional<JobWords> readJobWords(const std::vector<std::string>& words);

}  // namespace kestra::delivery
