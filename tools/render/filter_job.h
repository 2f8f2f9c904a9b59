// The filter's own code as a print job in a child process, in a directory of its own.
//
// The dots that are shown must be those of the real filter, and its fixed places must not be the
// machine's spool.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "filter/base/result.h"
#include "tools/render/child.h"

namespace kestra {

struct FilterRequest {
  std::string directory;  ///< of this job alone; is made
  std::string ppd;        ///< absolute
  std::string title;
  std::string options;
  int copies = 1;
  std::string keep;  ///< directory that gets what the job leaves behind; empty: nothing is kept
};

class FilterJob {
 public:
  explicit FilterJob(FilterRequest request);
  ~FilterJob();
  FilterJob(const FilterJob&) = delete;
  FilterJob& operator=(const FilterJob&) = delete;

  /// Starts the job, which waits for pages. `others` are descriptors of this process that the child
  /// must not hold open.
  [[nodiscard]] Result<void> start(const std::vector<int>& others);

  /// This process's end of the job's standard input.
  int input() const { return input_; }

  /// Gives the job a piece of the stream; waits until it has taken it. False where the job has
  /// ended.
  bool feed(const std::uint8_t* data, std::size_t size);

  /// No more pages.
  void endOfPages();

  /// Waits for the end; exit status of the job.
  int wait();

  /// Takes note of the pages that the job has done since the last call.
  void follow();

  /// What the job reported as errors; to be asked once it has ended.
  const std::vector<std::string>& errors() const { return errors_; }

  /// Whether nothing more will come for this page of the stream (from 1).
  bool settled(std::size_t page) const;

  /// The bytes of a page's frame; empty where the filter stored none. Moves frame and debug images
  /// of this page to `keep`, or removes them.
  std::vector<std::uint8_t> takeFrame(std::size_t page);

  /// The 7 bytes that the job sent to the printer before this page; fewer where it sent none.
  std::vector<std::uint8_t> command(std::size_t page) const;

  /// Moves what is left (log, commands, page counter) to `keep`.
  void keepRest();

 private:
  int runInChild(const std::vector<int>& others, int pages) const;
  void clearImages(std::size_t finished);
  void keepFile(const std::string& path) const;

  FilterRequest request_;
  Child child_;
  int input_ = -1;
  bool ended_ = false;
  std::size_t pagesRead_ = 0;                  ///< bytes of the list of pages taken so far
  std::map<std::size_t, std::string> frames_;  ///< of the pages done; empty for one without
  std::vector<std::string> errors_;
  std::size_t framesTaken_ = 0;
};

}  // namespace kestra
