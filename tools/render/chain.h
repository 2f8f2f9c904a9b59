// From a document to its raster stream, by the programs that the print system would use.
//
// The filter must get the very pages that a real job would give it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "filter/base/result.h"
#include "tools/render/child.h"
#include "tools/render/document_type.h"
#include "tools/render/fitting.h"

namespace kestra {

struct ChainRequest {
  std::string document;
  DocumentType type = DocumentType::kPdf;
  std::string ppd;
  std::string options;
  int copies = 1;
  std::string work;  ///< directory for what the programs leave; render.log holds their messages
};

/// One sentence that names the program and the package to install where a document of this type
/// cannot be rendered on this machine; else an empty text.
std::string missingProgram(DocumentType type);

/// A raster stream that is being made.
class Chain {
 public:
  Chain() = default;
  ~Chain();
  Chain(const Chain&) = delete;
  Chain& operator=(const Chain&) = delete;

  /// Runs all programs but the last to their end and starts that one, with the stage behind it that
  /// the printer description names. The problem of one that fails has its last words.
  [[nodiscard]] Result<void> open(const ChainRequest& request);

  /// The stream; belongs to this object.
  int stream() const { return stream_; }

  /// Pages that will come, where that can be told beforehand.
  std::optional<unsigned> expectedPages() const {
    if (scales_.empty()) return std::nullopt;
    return static_cast<unsigned>(scales_.size());
  }

  /// How much page `number` from 1 of the stream is scaled: 1 for none, and where nobody knows.
  double scale(std::size_t number) const {
    return scales_.empty() ? 1 : scales_[(number - 1) % scales_.size()];
  }

  /// What page `number` from 1 of the stream lost and gained so that it prints straight and whole;
  /// to be asked once the page has come.
  RowFit fit(std::size_t number) { return fitting_.change(number); }

  /// Whether the document had to be repaired before it could be read.
  bool damaged() const { return damaged_; }

  /// To be called at the end of the stream: how the last program ended.
  [[nodiscard]] Result<void> close();

 private:
  Result<void> step(const ChainRequest& request, const std::string& what, Program program,
                    const std::string& input, const std::string& output);
  Result<void> render(const ChainRequest& request);
  Result<void> last(const ChainRequest& request, Program program, const std::string& input);

  Child renderer_;
  Fitting fitting_;
  int stream_ = -1;
  std::string log_;
  std::vector<double> scales_;  ///< of the placed pages
  bool damaged_ = false;
};

}  // namespace kestra
