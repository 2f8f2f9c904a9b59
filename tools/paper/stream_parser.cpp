// A state for each part of a label, and one for the search behind a fault.
//
// Nothing is kept but the 22 bytes of a head: a label may announce gigabytes that never come.
#include "tools/paper/stream_parser.h"

#include <algorithm>
#include <utility>

namespace kestra::paper {
namespace {

// ESC 's' 1 0 0 SPEED DARKNESS
constexpr std::array<std::uint8_t, 5> kCommandStart = {0x1B, 0x73, 0x01, 0x00, 0x00};
constexpr std::size_t kCommandSize = 7;
constexpr std::size_t kDarknessAt = 6;
constexpr std::uint8_t kLargestDarkness = 2;

// "SIZ" MEDIA WIDTH HEIGHT GAP 0 0 PAGE, then GS 'v' '0' 0 RECORD ROWS; numbers low byte first.
constexpr std::array<std::uint8_t, 3> kLabelStart = {0x53, 0x49, 0x5A};
constexpr std::array<std::uint8_t, 2> kReserved = {0x00, 0x00};
constexpr std::array<std::uint8_t, 4> kRasterStart = {0x1D, 0x76, 0x30, 0x00};
constexpr std::size_t kMediaAt = 3;
constexpr std::uint8_t kLargestMedia = 2;
constexpr std::size_t kWidthAt = 4;
constexpr std::size_t kHeightAt = 6;
constexpr std::size_t kGapAt = 8;
constexpr std::size_t kReservedAt = 10;
constexpr std::size_t kPageAt = 12;
constexpr std::size_t kRasterAt = 14;
constexpr std::size_t kRecordAt = 18;
constexpr std::size_t kRowsAt = 20;
constexpr std::size_t kHeadSize = 22;

constexpr std::size_t kCountBytes = 2;  // the black dots before a row's dots
constexpr std::uint64_t kCountMask = 0xFFFF;
constexpr std::size_t kToldBytes = 8;  // of a fault

// The fixed bytes of `run`, which starts at `start`, from `at` on; empty where `at` lies outside.
template <std::size_t N>
std::string rest(const std::array<std::uint8_t, N>& run, std::size_t start, std::size_t at) {
  if (at < start || at >= start + N) return {};
  return hexText(run.data() + (at - start), start + N - at);
}

template <std::size_t N>
bool differs(const std::array<std::uint8_t, N>& run, std::size_t start, std::size_t at,
             std::uint8_t byte) {
  return at >= start && at < start + N && run[at - start] != byte;
}

}  // namespace

std::string hexText(const std::uint8_t* data, std::size_t size) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    if (i > 0) text += ' ';
    text += digits[data[i] >> 4];
    text += digits[data[i] & 15];
  }
  return text;
}

std::optional<std::uint64_t> StreamParser::labelSize() const {
  if (state_ != State::kRows) return std::nullopt;
  return labelBytes_ + rowsLeft_;
}

std::size_t StreamParser::rowBytes() const { return state_ == State::kRows ? head_.record : 0; }

std::uint64_t StreamParser::bytesToBoundary() const {
  switch (state_) {
    case State::kCommand:
      return kCommandSize - have_ + kHeadSize;
    case State::kHead:
      return kHeadSize - have_;
    case State::kRows:
      return rowsLeft_;
    default:
      return 1;
  }
}

void StreamParser::feed(const std::uint8_t* data, std::size_t size) {
  while (size > 0) {
    std::size_t taken = 1;
    if (state_ == State::kRows) {
      taken = takeRowBytes(data, size);
    } else {
      takeByte(*data);
    }
    data += taken;
    size -= taken;
  }
}

void StreamParser::takeByte(std::uint8_t byte) {
  if (state_ == State::kBetween) {
    if (byte == kCommandStart[0]) {
      begin(State::kCommand);
    } else if (byte == kLabelStart[0] && !rules_.commandWanted) {
      begin(State::kHead);
    } else {
      std::string wanted = hexText(kCommandStart.data(), kCommandStart.size()) + " (a command)";
      if (!rules_.commandWanted) {
        wanted += " or " + hexText(kLabelStart.data(), kLabelStart.size()) + " (a label block)";
      }
      startSearch(offset_, wanted);
    }
  }
  if (state_ == State::kCommand) {
    takeCommandByte(byte);
  } else if (state_ == State::kHead) {
    takeHeadByte(byte);
  }
  // A byte that was just found wrong may be the first of a command.
  if (state_ == State::kSearch) search(byte);
  ++offset_;
}

void StreamParser::begin(State state) {
  state_ = state;
  have_ = 0;
  labelBytes_ = 0;
  countFault_ = false;
  listener_.labelBegins(offset_);
}

void StreamParser::takeCommandByte(std::uint8_t byte) {
  if (differs(kCommandStart, 0, have_, byte)) {
    startSearch(offset_, rest(kCommandStart, 0, have_) + " (the command goes on)");
    return;
  }
  if (have_ == kDarknessAt && byte > kLargestDarkness) {
    startSearch(offset_, "00, 01 or 02 (darkness)");
    return;
  }
  bytes_[have_++] = byte;
  ++labelBytes_;
  if (have_ < kCommandSize) return;
  listener_.setting({bytes_[kDarknessAt - 1], bytes_[kDarknessAt]});
  have_ = 0;
  state_ = State::kHead;
}

void StreamParser::takeHeadByte(std::uint8_t byte) {
  std::string wrong;
  if (differs(kLabelStart, 0, have_, byte)) {
    wrong = rest(kLabelStart, 0, have_) + " (a label block)";
  } else if (have_ == kMediaAt && byte > kLargestMedia) {
    wrong = "00, 01 or 02 (media)";
  } else if (differs(kReserved, kReservedAt, have_, byte)) {
    wrong = rest(kReserved, kReservedAt, have_) + " (always 0)";
  } else if (differs(kRasterStart, kRasterAt, have_, byte)) {
    wrong = rest(kRasterStart, kRasterAt, have_) + " (a raster block)";
  } else if (have_ == kRecordAt + 1 && byte == 0 && bytes_[kRecordAt] <= kCountBytes) {
    wrong = "a record length of 3 bytes or more";
  } else if (have_ == kRowsAt + 1 && byte == 0 && bytes_[kRowsAt] == 0) {
    wrong = "1 row or more";
  }
  if (!wrong.empty()) {
    // A number is wrong as a whole: its first byte is where the garbage starts.
    const bool number = have_ > kRecordAt;
    const std::uint8_t first = number ? bytes_[have_ - 1] : byte;
    startSearch(number ? offset_ - 1 : offset_, wrong);
    if (number) search(first);
    return;
  }
  bytes_[have_++] = byte;
  ++labelBytes_;
  listener_.frameBytes(&byte, 1);
  if (have_ < kHeadSize) return;
  const auto number = [&](std::size_t at) {
    return static_cast<std::uint16_t>(bytes_[at] | (bytes_[at + 1] << 8));
  };
  head_ = {bytes_[kMediaAt], number(kWidthAt),  number(kHeightAt), number(kGapAt),
           number(kPageAt),  number(kRecordAt), number(kRowsAt)};
  rowsLeft_ = std::uint64_t{head_.record} * head_.rows;
  rowAt_ = 0;
  announced_ = 0;
  black_ = 0;
  white_ = true;
  state_ = State::kRows;
  listener_.head(head_);
}

std::size_t StreamParser::takeRowBytes(const std::uint8_t* data, std::size_t size) {
  const std::size_t taken = std::min(size, head_.record - rowAt_);
  for (std::size_t i = 0; i < taken; ++i, ++rowAt_) {
    if (rowAt_ < kCountBytes) {
      announced_ |= std::uint32_t{data[i]} << (8 * rowAt_);
    } else {
      for (unsigned dots = data[i]; dots != 0; dots &= dots - 1) ++black_;
    }
    white_ = white_ && data[i] == 0;
  }
  labelBytes_ += taken;
  offset_ += taken;
  rowsLeft_ -= taken;
  listener_.frameBytes(data, taken);
  if (rowAt_ == head_.record) endRow();
  if (rowsLeft_ == 0) endLabel(true);
  return taken;
}

void StreamParser::endRow() {
  const bool agrees = (black_ & kCountMask) == announced_;
  if (!agrees && rules_.countsWanted && !countFault_) {
    countFault_ = true;
    const auto pair = [](std::uint64_t value) {
      const std::array<std::uint8_t, 2> bytes = {static_cast<std::uint8_t>(value & 0xFF),
                                                 static_cast<std::uint8_t>((value >> 8) & 0xFF)};
      return hexText(bytes.data(), bytes.size());
    };
    listener_.fault({offset_ - head_.record, pair(announced_),
                     pair(black_) + " (the row's black dots: " + std::to_string(black_) + ")"});
  }
  listener_.row(agrees, white_);
  rowAt_ = 0;
  announced_ = 0;
  black_ = 0;
  white_ = true;
}

void StreamParser::endLabel(bool whole) {
  state_ = State::kBetween;
  labelBytes_ = 0;
  have_ = 0;
  listener_.labelEnds(whole);
}

void StreamParser::startSearch(std::uint64_t offset, std::string expected) {
  if (state_ != State::kBetween) endLabel(false);
  state_ = State::kSearch;
  faultPending_ = true;
  fault_ = {offset, {}, std::move(expected)};
  cameBytes_ = 0;
  garbage_ = 0;
  matched_ = 0;
}

void StreamParser::search(std::uint8_t byte) {
  noteGarbage(byte);
  // No byte of a start but the first is like its first: a mismatch can only begin anew.
  const auto continues = [&] {
    return matchesCommand_ ? kCommandStart[matched_] == byte : kLabelStart[matched_] == byte;
  };
  if (matched_ == 0 || !continues()) {
    matchesCommand_ = byte == kCommandStart[0];
    const bool starts = matchesCommand_ || (!rules_.commandWanted && byte == kLabelStart[0]);
    matched_ = starts ? 1 : 0;
  } else {
    ++matched_;
  }
  const std::size_t wanted = matchesCommand_ ? kCommandStart.size() : kLabelStart.size();
  if (matched_ < wanted) return;

  tellFault();
  const std::uint64_t here = offset_;
  offset_ = here + 1 - wanted;
  listener_.garbageEnds(offset_, garbage_ - wanted);
  state_ = State::kBetween;
  begin(matchesCommand_ ? State::kCommand : State::kHead);
  for (std::size_t i = 0; i < wanted; ++i, ++offset_) {
    if (matchesCommand_) {
      takeCommandByte(kCommandStart[i]);
    } else {
      takeHeadByte(kLabelStart[i]);
    }
  }
  offset_ = here;
}

void StreamParser::noteGarbage(std::uint8_t byte) {
  ++garbage_;
  if (!faultPending_) return;
  fault_.came += (cameBytes_ == 0 ? "" : " ") + hexText(&byte, 1);
  if (++cameBytes_ == kToldBytes) tellFault();
}

void StreamParser::tellFault() {
  if (!faultPending_) return;
  faultPending_ = false;
  listener_.fault(fault_);
}

void StreamParser::end() {
  if (state_ == State::kSearch) {
    tellFault();
    listener_.garbageEnds(offset_, garbage_);
  } else if (state_ != State::kBetween) {
    endLabel(false);
  }
  state_ = State::kBetween;
  labelBytes_ = 0;
}

}  // namespace kestra::paper
