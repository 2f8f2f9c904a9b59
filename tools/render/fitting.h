// Fits the pages of a raster stream on their way, as a job of a queue does.
//
// The frames that are shown must be those of a print, also of a page of any width.
#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "filter/base/result.h"
#include "tools/fit/row_fit.h"
#include "tools/render/child.h"

namespace kestra {

/// The stage in front of the filter, in a child process.
class Fitting {
 public:
  /// Starts it on a stream for a printer description; `notes` is a file it may make. Gives back the
  /// fitted stream, the caller's. `stream` stays the caller's, who has no more use for it.
  [[nodiscard]] Result<int> start(int stream, const std::string& ppd, const std::string& notes);

  /// What page `number` from 1 lost and gained; to be asked once the page has come. All 0 for a
  /// page that passed as it was, also where nothing was started.
  RowFit change(std::size_t number);

  /// Waits for its end. Exit status, or 128 + signal; 0 where nothing was started.
  int wait() { return child_.running() ? child_.wait() : 0; }

 private:
  Child child_;
  std::string notes_;
  std::size_t read_ = 0;  ///< bytes of the notes taken so far
  std::map<std::size_t, RowFit> changes_;
};

}  // namespace kestra
