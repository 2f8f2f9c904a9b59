// Shows how far a long document is.
//
// Whoever waits at a terminal wants to know for how long; a log file does not.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace kestra::proof {

class ProgressBar {
 public:
  /// Shows nothing where it is not wanted or standard error is no terminal.
  explicit ProgressBar(bool wanted);
  ~ProgressBar() { clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Pages that are done; `expected` of the document where known.
  void show(const std::string& document, std::size_t pages, std::optional<unsigned> expected);

  /// Wipes the bar off the line, to be called before anything else is written.
  void clear();

 private:
  bool on_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point start_;
};

/// @return "label.pdf [#####     ] page 5 of 10", or "label.pdf: 5 pages" where the number is not
/// known; at most `columns` wide.
[[nodiscard]] std::string progressText(const std::string& document, std::size_t pages,
                                       std::optional<unsigned> expected, std::size_t columns);

}  // namespace kestra::proof
