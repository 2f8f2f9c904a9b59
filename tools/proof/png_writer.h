// Writes a page of dots as a 1-bit grey PNG file.
//
// PNG keeps every dot, and every viewer shows it; the resolution in the file makes it appear in
// the size of the print.
#ifndef TOOLS_PROOF_PNG_WRITER_H_
#define TOOLS_PROOF_PNG_WRITER_H_

#include <string>

#include "tools/frame/page_frame.h"

namespace kestra {

// Writes `frame` to `path`: drawn_width() x row_count pixels, a 1 bit black, a 0 bit white, with
// `dpi` dots per inch as resolution. The file appears whole or not at all: it is written beside
// `path` and renamed. Returns false and the reason in `problem`.
[[nodiscard]] bool writePng(const std::string& path, const PageFrame& frame, int dpi,
                            std::string& problem);

}  // namespace kestra

#endif  // TOOLS_PROOF_PNG_WRITER_H_
