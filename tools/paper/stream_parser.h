// Reads the byte stream that a printer gets, byte by byte, and tells labels from everything else.
//
// It is the printer's side of the protocol and shares no code with the sender's: a byte that does
// not belong would be dots, or worse, on real paper.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kestra::paper {

/// The setting command before a label.
struct Setting {
  std::uint8_t speedCode = 0;  ///< 0 is the slowest
  std::uint8_t darkness = 0;   ///< 0 light, 1 middle, 2 dark
};

/// What label block and raster block announce.
struct LabelHead {
  std::uint8_t media = 0;    ///< 0 continuous, 1 gaps, 2 marks
  std::uint16_t width = 0;   ///< dots
  std::uint16_t height = 0;  ///< dots
  std::uint16_t gap = 0;     ///< dots
  std::uint16_t page = 0;    ///< page number
  std::uint16_t record = 0;  ///< bytes of a row with its count, at least 3
  std::uint16_t rows = 0;    ///< at least 1
};

/// A byte, or the count of a row, that does not belong.
struct Fault {
  std::uint64_t offset = 0;  ///< of the first wrong byte in its connection
  std::string came;          ///< in hex, the wrong byte first, at most 8 bytes
  std::string expected;      ///< in hex, with words
};

/// What the parser finds, in the order of the bytes.
class StreamListener {
 public:
  StreamListener() = default;
  virtual ~StreamListener() = default;
  StreamListener(const StreamListener&) = delete;
  StreamListener& operator=(const StreamListener&) = delete;

  /// The first byte of a label came: of its setting command, if it has one.
  virtual void labelBegins(std::uint64_t offset) = 0;
  virtual void setting(const Setting& setting) = 0;
  virtual void head(const LabelHead& head) = 0;
  /// Bytes of the label from "SIZ" on, without the command; valid during the call only.
  virtual void frameBytes(const std::uint8_t* data, std::size_t size) = 0;
  /// A row is complete.
  virtual void row(bool countAgrees, bool isWhite) = 0;
  /// The label's last byte came (`whole`), or no more of it will come.
  virtual void labelEnds(bool whole) = 0;
  virtual void fault(const Fault& fault) = 0;
  /// The garbage behind a fault is over: at a command at `offset`, or because the stream ended.
  virtual void garbageEnds(std::uint64_t offset, std::uint64_t garbage) = 0;
};

/// Takes a stream in pieces of any size. A wrong byte is one fault; from it on all bytes are
/// garbage until the five fixed bytes of a command come (or a label block, where commands are not
/// asked for). A wrong row count is a fault too, one per label, but the label goes on.
class StreamParser {
 public:
  struct Rules {
    bool commandWanted = true;  ///< a label without a command before it is a fault
    bool countsWanted = true;   ///< a row's count must agree with its dots, modulo 65536
  };

  /// @param listener  the caller's, used as long as this object is
  StreamParser(StreamListener& listener, Rules rules) : listener_(listener), rules_(rules) {}

  void feed(const std::uint8_t* data, std::size_t size);
  /// The stream is over: what was begun will not be ended. The next byte starts afresh.
  void end();
  /// Offsets count from 0 again; what was begun goes on.
  void countFromZero() { offset_ = 0; }

  /// Bytes of the label under way, its command included; 0 between labels.
  [[nodiscard]] std::uint64_t labelBytes() const { return labelBytes_; }
  /// All bytes that the label under way will have, once its head is known.
  [[nodiscard]] std::optional<std::uint64_t> labelSize() const;
  /// Bytes of a row of the label under way, once its head is known; else 0.
  [[nodiscard]] std::size_t rowBytes() const;
  /// So many bytes can be fed without passing the first byte, the end of the head or the last byte
  /// of a label; at least 1.
  [[nodiscard]] std::uint64_t bytesToBoundary() const;
  [[nodiscard]] bool searching() const { return state_ == State::kSearch; }

 private:
  enum class State { kBetween, kCommand, kHead, kRows, kSearch };

  void takeByte(std::uint8_t byte);
  void begin(State state);
  void takeCommandByte(std::uint8_t byte);
  void takeHeadByte(std::uint8_t byte);
  std::size_t takeRowBytes(const std::uint8_t* data, std::size_t size);
  void endRow();
  void endLabel(bool whole);
  void startSearch(std::uint64_t offset, std::string expected);
  void search(std::uint8_t byte);
  void noteGarbage(std::uint8_t byte);
  void tellFault();

  StreamListener& listener_;  // the caller's
  Rules rules_;
  State state_ = State::kBetween;
  std::uint64_t offset_ = 0;                 // of the next byte in its connection
  std::uint64_t labelBytes_ = 0;             // of the label under way
  std::array<std::uint8_t, 22> bytes_ = {};  // the command's or the head's so far
  std::size_t have_ = 0;                     // bytes in bytes_
  LabelHead head_;
  std::uint64_t rowsLeft_ = 0;  // bytes of rows still to come
  // The row under way.
  std::size_t rowAt_ = 0;  // bytes of it that came
  std::uint32_t announced_ = 0;
  std::uint64_t black_ = 0;
  bool white_ = true;        // no byte but 0 so far
  bool countFault_ = false;  // told for this label
  // A fault whose bytes are being collected, and the search behind it.
  bool faultPending_ = false;
  Fault fault_;
  std::size_t cameBytes_ = 0;
  std::uint64_t garbage_ = 0;
  std::size_t matched_ = 0;      // bytes of a start that came last
  bool matchesCommand_ = false;  // of a command's, else of a label block's
};

/// "1B 73 01"
[[nodiscard]] std::string hexText(const std::uint8_t* data, std::size_t size);

}  // namespace kestra::paper
