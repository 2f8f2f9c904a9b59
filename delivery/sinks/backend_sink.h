// A program of the print system as the way to a printer: USB, LPD, serial and whatever else has
// one.
//
// Most of these programs say nothing before their end: such a one is run once per page, and its
// good end is the proof. The one for USB tells each piece that is in the device's memory: it runs
// once for all pages, and the sum is the proof.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "delivery/core/sink.h"
#include "delivery/sinks/inner_log.h"
#include "delivery/sinks/starter.h"

namespace kestra::delivery {

/// Tests have less time than printers.
struct BackendTimes {
  std::chrono::milliseconds firstPause{1000};     ///< before a start behind a failed one
  std::chrono::milliseconds longestPause{30000};  ///< to which it doubles
  std::chrono::milliseconds reset{2000};          ///< for the answer to a reset
  std::chrono::milliseconds silence{5000};  ///< after which a program that took all counts nothing
  std::chrono::milliseconds mercy{1000};    ///< between SIGTERM and SIGKILL
};

class BackendSink : public Sink {
 public:
  /// @param scheme   names the program; "usb" counts what it has written
  /// @param inClass  whether another printer can take the job: then a failed start is not repeated
  /// @param watch    lives longer than the sink
  BackendSink(std::string scheme, std::unique_ptr<Starter> starter, bool inClass, Watch& watch,
              Tell tell, const BackendTimes& times = {});
  ~BackendSink() override;

  [[nodiscard]] Progress open(Before before, const Patience& patience) override;
  [[nodiscard]] Progress send(const std::uint8_t* data, std::size_t size,
                              const Patience& patience) override;
  [[nodiscard]] std::uint64_t sent() const override { return sent_; }
  [[nodiscard]] Progress settle(const std::uint8_t* data, std::size_t size,
                                const Patience& patience) override;
  [[nodiscard]] Progress prove(const Patience& patience) override;
  [[nodiscard]] std::uint64_t surelyRead() const override;
  [[nodiscard]] Progress finish(const Patience& patience) override;
  void drop() override;
  [[nodiscard]] std::string problem() const override { return problem_; }
  /// After kHopeless: the exit code by which the program asked the print system for a person, the
  /// queue's stop or the job's end; 0 where it did not.
  [[nodiscard]] int innerExit() const override { return innerExit_; }

 private:
  Progress start(Before before, const Patience& patience);
  bool makeChannels(InnerEnds& ends);
  Progress makeForget(const Patience& patience);
  void warnOfTornPage();
  Progress awaitCount(const Patience& patience);
  Progress awaitEnd(const Patience& patience);
  Progress afterEnd();
  Progress broken(const std::string& problem);
  void hear();
  void onLine(const std::string& line);
  void terminate();
  void hangUp();
  void forget(int& descriptor);

  const std::string scheme_;
  const std::unique_ptr<Starter> starter_;
  const bool inClass_;
  Watch& watch_;
  const Tell tell_;
  const BackendTimes times_;

  bool counts_;                                        // its log lines are the proof
  bool hasCounted_ = false;                            // there was such a line in this run
  bool isConnecting_ = false;                          // it says that it waits for the printer
  bool isRunning_ = false;                             // started, and its end not yet dealt with
  bool isInputOver_ = false;                           // it was told that nothing more comes
  std::optional<int> end_;                             // how it ended
  int input_ = -1, log_ = -1, back_ = -1, side_ = -1;  // our ends of its channels
  LineCutter lines_;
  std::uint64_t sent_ = 0, proven_ = 0;
  std::uint64_t base_ = 0, counted_ = 0;  // of this run: where it began, what it has written
  Clock::time_point countedAt_;
  Clock::duration pause_;
  std::optional<Clock::time_point> notBefore_;  // the next start behind a failed one
  std::string toldProblem_;
  bool isTornTold_ = false;
  bool isHopeless_ = false;
  int innerExit_ = 0;
  std::string problem_;
};

}  // namespace kestra::delivery
