// A printer on the network, by a TCP connection of our own: only its owner can know which bytes the
// printer has acknowledged.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "delivery/core/sink.h"
#include "delivery/sinks/tcp_state.h"

struct addrinfo;

namespace kestra::delivery {

/// How long the network may take; tests have less time than printers.
struct TcpTimes {
  std::chrono::milliseconds connect{10000};   ///< for one address
  std::chrono::milliseconds firstPause{100};  ///< before the second round, doubled each time
  std::chrono::milliseconds longestPause{5000};
  std::chrono::milliseconds tellAway{1000};     ///< a printer away for less is no news
  std::chrono::milliseconds awayInClass{3000};  ///< then another printer gets the job
  std::chrono::milliseconds noProgress{15000};  ///< then a person is told
  std::chrono::milliseconds previousPage{400};  ///< for the printer to read the page before
  std::chrono::milliseconds farewell{500};      ///< for the printer to close
};

class TcpSink : public Sink {
 public:
  /// @param port     a number or the name of a service
  /// @param inClass  whether another printer can take the job: then this one is soon given up
  /// @param watch    lives longer than the sink
  TcpSink(std::string host, const std::string& port, bool inClass, Watch& watch, Tell tell,
          const TcpTimes& times = {});
  ~TcpSink() override;

  [[nodiscard]] Progress open(Before before, const Patience& patience) override;
  [[nodiscard]] Progress send(const std::uint8_t* data, std::size_t size,
                              const Patience& patience) override;
  [[nodiscard]] std::uint64_t sent() const override { return sent_; }
  /// Waits until everything is acknowledged and the page before is read, as far as that shows: for
  /// `previousPage`, as a printer that is out of paper reads nothing.
  [[nodiscard]] Progress settle(const std::uint8_t* data, std::size_t size,
                                const Patience& patience) override;
  /// Waits until everything is acknowledged.
  [[nodiscard]] Progress prove(const Patience& patience) override;
  [[nodiscard]] std::uint64_t surelyRead() const override { return read_; }
  [[nodiscard]] Progress finish(const Patience& patience) override;
  void drop() override;
  [[nodiscard]] std::string problem() const override { return problem_; }

 private:
  enum class Heard { kNothing, kEnd, kReset };
  enum class Stall { kNone, kFull, kSilent };

  Progress connectInRounds(const Patience& patience);
  Progress tryAll(const Patience& patience);
  Progress tryOne(const addrinfo& address, const Patience& patience);
  Progress awaitAway(int descriptor, short events, Clock::time_point until,
                     const Patience& patience);
  void tellAway(const std::string& reason);
  void tellBack();
  Heard hear();
  void note(const char* text, std::size_t size);
  bool isCut();
  Progress broken(const std::string& problem, bool isEnd = false);
  void sample();
  bool isStalled();
  Progress awaitAcknowledged(const Patience& patience);
  [[nodiscard]] bool isPreviousRead(std::uint64_t end) const;
  void hangUp();

  const std::string host_, port_, name_;
  const bool inClass_;
  Watch& watch_;
  const Tell tell_;
  const TcpTimes times_;

  int socket_ = -1;
  std::uint64_t sent_ = 0, proven_ = 0, acknowledged_ = 0, read_ = 0;
  std::uint64_t base_ = 0;  // where this connection began, in the bytes sent
  WindowBook windows_;
  TcpSample last_;
  Clock::time_point progressAt_;
  Stall told_ = Stall::kNone;
  std::optional<Clock::time_point> awaySince_;
  Clock::duration pause_{};  // before a connection behind others over which nothing was read
  bool isAwayTold_ = false;
  std::string reason_;  // told last for being away
  std::string problem_;
  int notes_ = 0;
};

}  // namespace kestra::delivery
