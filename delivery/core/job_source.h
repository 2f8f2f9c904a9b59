// The labels of a running job: commands on standard input, frames in the filter's folder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "delivery/core/frame_intake.h"
#include "delivery/core/page_source.h"

namespace kestra::delivery {

/// Path of a queue's page counter, as the filter names it: bytes that do not print in ASCII become
/// '_'. Empty where a name can have none.
[[nodiscard]] std::string pageCounterPath(const std::string& framesFolder,
                                          const std::string& queue);

class JobSource : public PageSource {
 public:
  /// @param input    the filter's pipe; stays the caller's
  /// @param counter  path of the queue's page counter, which the filter stores once its document
  ///                 is printed to the end; empty: nobody can tell
  JobSource(int input, FrameIntake& intake, std::string counter, Watch& watch);
  ~JobSource() override;

  Next announced(std::size_t number, const Patience& patience) override;
  Next page(std::size_t number, Page& page, const Patience& patience) override;
  Next raw(std::vector<std::uint8_t>& bytes, const Patience& patience) override;
  std::optional<std::size_t> total() const override;
  std::string problem() const override { return problem_; }

 private:
  void readInput();
  void sort();
  void endOfInput();
  void countFrames();
  [[nodiscard]] bool filterEndedWell() const;
  [[nodiscard]] Next endOfPages();

  int input_;
  FrameIntake& intake_;
  std::string counter_;
  Watch& watch_;
  std::vector<std::uint8_t> unsorted_;  // of the input: less than a command, or raw bytes
  std::vector<Command> commands_;
  std::size_t begun_ = 0;  // pages that were handed out
  std::size_t sure_ = 0;   // so many frames belong to the commands of the same numbers
  bool isShort_ = false;   // frames behind those are fewer than their commands
  bool isRaw_ = false;     // what follows is no command
  bool hasEnded_ = false;
  bool endedWell_ = true;  // whether the filter printed its document to the end
  std::string problem_;
};

}  // namespace kestra::delivery
