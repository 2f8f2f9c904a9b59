// Prints a document page by page into frames: renderer, raster stream, one or several filter jobs.
//
// One rendering can be printed with several halftones at once, so a comparison costs little more
// than one print.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/fit/row_fit.h"
#include "tools/render/document_type.h"
#include "tools/render/page_reader.h"

namespace kestra {

struct PrintRequest {
  std::string document;
  DocumentType type = DocumentType::kPdf;
  std::string ppd;      ///< absolute
  std::string options;  ///< for the renderer, and for each job before its own
  int copies = 1;
  /// What each job adds to the options; one empty text for a single print.
  std::vector<std::string> jobs = {""};
  std::string keep;  ///< a directory that exists; job i writes to keep + keepNames[i]
  std::vector<std::string> keepNames = {""};  ///< "" or "/NAME", a directory that exists
};

/// One page in all its prints.
struct PrintedPage {
  std::size_t number = 0;  ///< of the document's pages as they come, from 1
  PageContent content;
  RowFit fit;        ///< what the page lost and gained before the filter
  double scale = 1;  ///< of what is drawn against the document
  std::vector<std::vector<std::uint8_t>> frames;  ///< by job; empty where the filter stored none
  std::vector<std::uint8_t> command;              ///< what job 0 sent to the printer for this page
};

struct PrintResult {
  std::size_t pages = 0;
  bool damaged = false;                ///< the document had to be repaired
  std::vector<std::string> logErrors;  ///< what the filter reported
  std::string problem;                 ///< one sentence, empty where all went well
};

struct Progress {
  std::size_t pages = 0;             ///< finished
  std::optional<unsigned> expected;  ///< where it can be told
};

/// Called for each page in order. False ends the print.
using PageTaker = std::function<bool(PrintedPage&& page)>;
/// Called now and then.
using ProgressTaker = std::function<void(const Progress& progress)>;

[[nodiscard]] PrintResult printDocument(const PrintRequest& request, const PageTaker& take,
                                        const ProgressTaker& progress);

}  // namespace kestra
