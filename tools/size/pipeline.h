// A row of filters, each reading what the one before it writes.
//
// They run as the print system would run them: same words, same messages, and they end with this
// program, so that a cancelled job ends at once. Only that none takes the end of a filter that was
// killed for the end of the document.
#pragma once

#include <string>
#include <vector>

namespace kestra {

struct Filter {
  std::string path;
  std::vector<std::string> words;  ///< from argv[0] on
};

/// Starts all of them. The first reads standard input, the last writes standard output; all have
/// this process's messages and environment. Where one is killed or ended (SIGKILL, SIGTERM), those
/// behind it are ended before they see the end of what it wrote, and a message says so.
/// @return how the last one ended that did not end well, as waitpid tells it; 0 where all did well
[[nodiscard]] int runFilters(const std::vector<Filter>& filters);

/// Whether a filter was ended by SIGKILL or SIGTERM: the print system takes that for a good end.
[[nodiscard]] bool wasKilled(int status);

}  // namespace kestra
