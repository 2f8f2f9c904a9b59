// Everything is there already, so nothing is ever waited for.
#include "delivery/core/file_source.h"

#include <utility>

namespace kestra::delivery {

FileSource::FileSource(std::vector<std::string> frames, const Command& command)
    : frames_(std::move(frames)), command_(command) {}

Next FileSource::announced(std::size_t number, const Patience&) {
  return number <= frames_.size() ? Next::kPage : Next::kEnd;
}

Next FileSource::page(std::size_t number, Page& page, const Patience&) {
  if (number > frames_.size()) return Next::kEnd;
  ReadPage read = readPage(frames_[number - 1], command_);
  problem_ = std::move(read.problem);
  if (!problem_.empty()) return Next::kBad;
  page = std::move(read.page);
  return Next::kPage;
}

Next FileSource::raw(std::vector<std::uint8_t>&, const Patience&) { return Next::kEnd; }

}  // namespace kestra::delivery
