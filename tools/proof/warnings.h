// Says when a page will not print as meant, and what to choose instead.
//
// Some settings are right for one picture and lose another without a word; the print system calls
// such a job completed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/fit/row_fit.h"
#include "tools/render/document_type.h"
#include "tools/render/page_reader.h"

namespace kestra::proof {

/// One page in one print.
struct PageFacts {
  PageContent content;          ///< what the renderer's page asks for
  std::uint64_t blackDots = 0;  ///< what its frame holds
  std::string halftone;         ///< choice of HalftoneType
  int brightness = 0;           ///< choice of Brightness
  bool negative = false;        ///< choice of NegativeImage
  DocumentType type = DocumentType::kPdf;
  double scale = 1;          ///< of what is drawn, against its size in the document
  std::string scaledBy;      ///< the option that asks for it, empty where none does
  RowFit fit;                ///< what the page lost and gained before the filter
  unsigned headDots = 0;     ///< width of the print head, 0 where it is not known
  bool overlapping = false;  ///< the frame's rows overlap
};

/// About the dots: no ink, solid, stray dots, a haze on blank paper. Each one sentence or two,
/// without the page's number.
[[nodiscard]] std::vector<std::string> dotWarnings(const PageFacts& facts);

/// About the page's size, the same for every halftone: scaled, skewed, wider than the head.
[[nodiscard]] std::vector<std::string> sizeWarnings(const PageFacts& facts);

}  // namespace kestra::proof
