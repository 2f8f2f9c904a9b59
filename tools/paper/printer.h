// The printer: accepts one connection after the other, reads as fast as it prints, fails as told.
//
// One thread and one loop, so that a fault happens at exactly the byte it was planned for.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "filter/base/result.h"
#include "tools/paper/fault_script.h"
#include "tools/paper/journal.h"
#include "tools/paper/recorder.h"
#include "tools/paper/source.h"
#include "tools/paper/stream_parser.h"

namespace kestra::paper {

struct PrinterSettings {
  Source source;
  int buffer = 16384;      ///< receive buffer, bytes
  double speed = 0;        ///< mm a second; 0: as fast as it comes
  unsigned dpi = 203;      ///< dots per inch of the head
  bool keepState = false;  ///< a label goes on in the next connection
  StreamParser::Rules rules;
  std::vector<PlannedFault> faults;
  std::string readyFile;          ///< empty: none
  std::string control;            ///< FIFO to take actions from; "-": standard input; empty: none
  std::uint64_t labels = 0;       ///< ends when so many are whole; 0: never
  std::optional<double> runFor;   ///< seconds
  std::optional<double> idleFor;  ///< seconds without a byte behind the first label
};

class Printer {
 public:
  /// All are the caller's, used as long as this object is.
  Printer(const PrinterSettings& settings, Recorder& recorder, Journal& journal);
  ~Printer();
  Printer(const Printer&) = delete;
  Printer& operator=(const Printer&) = delete;

  /// Prints until the end that the settings name, or SIGTERM or SIGINT.
  /// @return why it could not start
  [[nodiscard]] Result<void> run();

 private:
  using Clock = std::chrono::steady_clock;
  using Moment = Clock::time_point;
  enum class Ended { kNo, kAtEnd, kByReset };  // what a read found

  [[nodiscard]] Result<void> start();
  [[nodiscard]] Result<void> openControl();
  [[nodiscard]] Result<void> writeReadyFile() const;
  void step();
  void wait();
  void takeSignals();
  void takeControl();
  void checkClocks();
  void acceptNext();
  void readSome();
  Ended readOnce(std::size_t most);
  [[nodiscard]] std::uint64_t bytesToFault() const;
  void hurry(std::size_t bytes, std::size_t rowBytes);
  [[nodiscard]] bool reading(Moment now) const;
  [[nodiscard]] bool nothingUnread() const;

  void fireDue();
  [[nodiscard]] bool isDue(const When& when) const;
  void act(const Action& action, const std::string& why);
  Ended drain(Clock::duration longest);
  void closeInOrder();
  void resetNow(const char* how);
  void stopListening(double seconds);
  void endConnection(const char* how, std::uint64_t unread);
  void forgetLabel(const char* why);
  void endOfStream();
  void finish();

  const PrinterSettings& settings_;  // the caller's
  Recorder& recorder_;               // the caller's
  Journal& journal_;                 // the caller's
  StreamParser parser_;
  Listener listener_;
  int connection_ = -1;
  int signals_ = -1;
  int control_ = -1;
  std::string controlText_;           // behind the last whole line
  bool controlMade_ = false;          // whether the FIFO is ours to remove
  std::vector<int> keptOpen_;         // connections that their senders have ended
  std::vector<PlannedFault> faults_;  // not fired yet
  std::vector<std::uint8_t> buffer_;
  bool over_ = false;
  bool noClose_ = false;
  double speed_;
  bool deaf_ = false;  // for the connection, or until deafUntil_
  std::optional<Moment> deafUntil_;
  std::optional<Moment> pausedUntil_;
  std::optional<Moment> slowUntil_;
  std::optional<Moment> refusingUntil_;
  std::optional<Moment> resetAt_;  // with unread bytes
  Moment nextRead_;                // when the paper has moved on
  Moment started_;
  Moment lastByte_;
};

}  // namespace kestra::paper
