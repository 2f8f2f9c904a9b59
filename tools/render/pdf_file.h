// Asks a PDF file what it holds, before and after the print system has placed its pages.
//
// A broken or locked file is told from a good one by what it is, not by a renderer's complaint; and
// how much a page was scaled stands in the placed file, whatever rule was followed.
#pragma once

#include <string>
#include <vector>

#include "filter/base/result.h"

namespace kestra {

struct PdfLook {
  bool damaged = false;  ///< it could be read, but only after repair
};

/// A document that can be printed, or why it cannot.
[[nodiscard]] Result<PdfLook> lookAtPdf(const std::string& path);

/// Of a file that pdftopdf wrote: the size of what is drawn on each page as a part of its size in
/// the document, 0.5 for half as wide; 1 where the page does not say. Empty where the file cannot
/// be read.
[[nodiscard]] std::vector<double> placedScales(const std::string& path);

/// The scale of the first transformation in a page's content: "0.5 0 0 0.5 10 20 cm" -> 0.5; turned
/// pages likewise. 1 where there is none.
[[nodiscard]] double contentScale(const std::string& content);

}  // namespace kestra
