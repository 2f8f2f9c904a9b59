// Runs Ghostscript for a tool that draws or writes pages itself.
//
// Labels stay drawings until they are printed; one place knows how the program is called and what
// it says where it fails.
#pragma once

#include <string>
#include <vector>

namespace kestra {

struct GhostscriptRun {
  std::string problem;  ///< one sentence, empty where all went well
  std::string said;     ///< all that the program said
};

/// Runs it with these words behind the ones that keep it from asking, guessing and reading other
/// files.
/// @param directory  for its temporary files and its log
[[nodiscard]] GhostscriptRun runGhostscript(const std::vector<std::string>& words,
                                            const std::string& directory);

/// Moves a PDF to `to`, whatever is there, with a comment behind its end by which a later run knows
/// its own. False where that is impossible.
[[nodiscard]] bool placePdf(const std::string& from, const std::string& to,
                            const std::string& mark);

/// Whether a file was placed with that mark, and nobody has changed it since.
[[nodiscard]] bool isPlacedPdf(const std::string& path, const std::string& mark);

}  // namespace kestra
