// Writes a drawing as a PNG file: 1-bit grey for paper and dots, a palette for more colours.
//
// PNG keeps every dot, and every viewer shows it; the resolution in the file makes it appear in
// the size of the print.
#pragma once

#include <array>
#include <string>

#include "filter/base/result.h"
#include "tools/proof/drawing.h"

namespace kestra::proof {

struct PictureFacts {
  std::array<unsigned, 2> dpi = {203, 203};  ///< dots per inch of the print, across and down
  unsigned scale = 1;                        ///< pixels per dot in each direction
  /// The program, and the name of the document it made the picture of: both stand in the file.
  std::string program = {};
  std::string document = {};
};

/// Writes `drawing` to `path`, each dot `scale` x `scale` pixels, with a resolution that gives it
/// the size of the print. The file appears whole or not at all: it is written beside `path` and
/// renamed.
/// @return why not, naming `path`
[[nodiscard]] Result<void> writePng(const std::string& path, const Drawing& drawing,
                                    const PictureFacts& facts);

}  // namespace kestra::proof
