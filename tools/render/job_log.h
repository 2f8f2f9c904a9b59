// Follows what the filter says while it prints.
//
// The log tells which stored frame belongs to which page of the stream, also where a page was
// skipped, and why a job failed.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace kestra {

class JobLog {
 public:
  // Takes the next piece of the log, cut anywhere.
  void take(const std::string& piece);

  // The page that the filter is at, counted from 1; 0 before the first.
  std::size_t page() const { return page_; }

  // The name of the frame of a page as the log gives it; empty where there is none (yet).
  std::string frameOf(std::size_t page) const;

  // Takes the frame of a page off the list, so that a long job's list stays short.
  void forget(std::size_t page) { frames_.erase(page); }

  // What the filter reported as an error, without the prefix; at most a hundred lines.
  const std::vector<std::string>& errors() const { return errors_; }

 private:
  void line(const std::string& text);

  std::string rest_;  // the begin of a line whose end has not come yet
  std::size_t page_ = 0;
  std::map<std::size_t, std::string> frames_;
  std::vector<std::string> errors_;
};

}  // namespace kestra
