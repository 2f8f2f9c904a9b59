// A document of large pages becomes a PDF of labels.
//
// Shops send a label on an A4 page; the print system would make it smaller, and no scanner would
// read it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "filter/base/result.h"
#include "tools/crop/label_places.h"

namespace kestra::crop {

/// A place named by hand, in millimetres from the page's upper left corner.
struct HandPlace {
  double x = 0;
  double y = 0;
  double width = 0;  ///< 0 x 0: as large as the label
  double height = 0;
};

/// "X,Y" or "X,Y,WIDTH,HEIGHT" in millimetres.
[[nodiscard]] std::optional<HandPlace> parseHandPlace(const std::string& text);

struct CropRequest {
  std::string document;           ///< absolute; PDF or PostScript
  LabelSize label;                ///< points
  std::optional<HandPlace> hand;  ///< nothing is looked for
  std::string output;             ///< the PDF to write; whatever is there is replaced
};

/// What is on the labels of a PDF that was written.
struct Cropped {
  std::vector<std::string> found;     ///< "page 1: the label lies at ...", one for each label
  std::vector<std::string> warnings;  ///< sentences
};

/// Writes the PDF. Places on each page are found, or are the one named by hand.
/// @return why there is none, one sentence
[[nodiscard]] Result<Cropped> cropDocument(const CropRequest& request);

/// Whether a file is a PDF that `cropDocument` made of a document of this name, folders left aside,
/// and nobody has changed since.
[[nodiscard]] bool isCroppedFrom(const std::string& path, const std::string& document);

}  // namespace kestra::crop
