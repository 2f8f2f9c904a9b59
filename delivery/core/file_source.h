// Labels out of files: what was kept of a job that nobody brings again, or what a person sends by
// hand.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "delivery/core/page_source.h"

namespace kestra::delivery {

class FileSource : public PageSource {
 public:
  /// @param frames   paths of frames in printing order
  /// @param command  sent before each of them
  FileSource(std::vector<std::string> frames, const Command& command);

  Next announced(std::size_t number, const Patience& patience) override;
  Next page(std::size_t number, Page& page, const Patience& patience) override;
  Next raw(std::vector<std::uint8_t>& bytes, const Patience& patience) override;
  std::optional<std::size_t> total() const override { return frames_.size(); }
  std::string problem() const override { return problem_; }

 private:
  std::vector<std::string> frames_;
  Command command_;
  std::string problem_;
};

}  // namespace kestra::delivery
