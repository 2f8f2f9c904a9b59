// Checks a page frame field by field and gives access to its rows.
//
// Every length is checked before anything behind it is read, so a cut or damaged file ends in a
// sentence that says what is wrong with it and never in dots from elsewhere.
#include "tools/frame/frame_reader.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace kestra {
namespace {

// Where the fields of a frame are, in bytes from its start. Numbers are little-endian.
constexpr std::size_t kMediaAt = 3;
constexpr std::size_t kWidthAt = 4;
constexpr std::size_t kHeightAt = 6;
constexpr std::size_t kGapAt = 8;
constexpr std::size_t kReservedAt = 10;
constexpr std::size_t kPageNumberAt = 12;
constexpr std::size_t kCommandAt = 14;
constexpr std::size_t kRecordBytesAt = 18;
constexpr std::size_t kRowCountAt = 20;
constexpr std::size_t kRowsAt = 22;

constexpr std::size_t kCountBytes = 2;  // the black-dot count before each row

constexpr std::array<std::uint8_t, 3> kSignature = {'S', 'I', 'Z'};
constexpr std::array<std::uint8_t, 4> kRasterCommand = {0x1D, 0x76, 0x30, 0x00};

std::uint16_t littleEndian16(const std::vector<std::uint8_t>& bytes, std::size_t at) {
  return static_cast<std::uint16_t>(bytes[at] | (bytes[at + 1] << 8));
}

// "53 49 5A"
std::string hex(const std::uint8_t* data, std::size_t size) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    if (i > 0) text += ' ';
    text += digits[data[i] >> 4];
    text += digits[data[i] & 15];
  }
  return text;
}

template <std::size_t N>
bool startsWith(const std::vector<std::uint8_t>& bytes, std::size_t at,
                const std::array<std::uint8_t, N>& wanted) {
  return std::equal(wanted.begin(), wanted.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

}  // namespace

// Fills the private part of a frame, which nobody else may touch.
struct FrameReader {
  static void take(PageFrame& frame, std::vector<std::uint8_t> bytes) {
    frame.bytes_ = std::move(bytes);
    splitRows(frame);
  }

  // The announced width may be one dot less than the page's. Where that makes a byte's difference
  // (announced 800, true 801) the byte before the narrower page decides: a margin is always 0.
  static void splitRows(PageFrame& frame) {
    const std::size_t available = frame.dotBytes();
    const std::size_t page = (std::size_t{frame.widthDots} + 7) / 8;
    if (available < page) {
      frame.widerThanHead_ = true;
      return;
    }
    frame.marginBytes_ = available - page;
    if (frame.marginBytes_ == 0 || frame.widthDots % 8 != 0) return;
    for (std::size_t y = 0; y < frame.rowCount; ++y) {
      if (frame.row(y).dots.data[frame.marginBytes_ - 1] != 0) {
        --frame.marginBytes_;
        return;
      }
    }
  }
};

std::size_t PageFrame::dotBytes() const { return std::size_t{recordBytes} - kCountBytes; }

FrameRow PageFrame::row(std::size_t index) const {
  const std::size_t at = kRowsAt + index * recordBytes;
  const std::uint8_t* dots = bytes_.data() + at + kCountBytes;
  FrameRow row;
  row.announced = littleEndian16(bytes_, at);
  row.dots = {dots, dotBytes()};
  row.margin = {dots, marginBytes_};
  row.page = {dots + marginBytes_, dotBytes() - marginBytes_};
  return row;
}

Result<PageFrame> parsePageFrame(std::vector<std::uint8_t> bytes) {
  if (bytes.size() < kRowsAt) {
    return Problem{"too short: " + std::to_string(bytes.size()) + " bytes, a frame has at least " +
                   std::to_string(kRowsAt)};
  }
  if (!startsWith(bytes, 0, kSignature)) {
    return Problem{"wrong signature " + hex(bytes.data(), kSignature.size()) +
                   ", a frame starts with " + hex(kSignature.data(), kSignature.size()) +
                   " (\"SIZ\")"};
  }
  if (!startsWith(bytes, kCommandAt, kRasterCommand)) {
    return Problem{"wrong raster command " + hex(&bytes[kCommandAt], kRasterCommand.size()) +
                   " at byte " + std::to_string(kCommandAt) + ", expected " +
                   hex(kRasterCommand.data(), kRasterCommand.size())};
  }
  const unsigned media = bytes[kMediaAt];
  if (media > static_cast<unsigned>(Media::kMarks)) {
    return Problem{"unknown media code " + std::to_string(media) +
                   ", known are 0 (continuous), 1 (gaps) and 2 (marks)"};
  }

  PageFrame frame;
  frame.media = static_cast<Media>(media);
  frame.widthDots = littleEndian16(bytes, kWidthAt);
  frame.heightDots = littleEndian16(bytes, kHeightAt);
  frame.gapDots = littleEndian16(bytes, kGapAt);
  frame.reserved = littleEndian16(bytes, kReservedAt);
  frame.pageNumber = littleEndian16(bytes, kPageNumberAt);
  frame.recordBytes = littleEndian16(bytes, kRecordBytesAt);
  frame.rowCount = littleEndian16(bytes, kRowCountAt);

  if (frame.recordBytes <= kCountBytes) {
    return Problem{"record length " + std::to_string(frame.recordBytes) +
                   ", a row needs more than the " + std::to_string(kCountBytes) +
                   " bytes of its dot count"};
  }
  if (frame.rowCount == 0) return Problem{"0 rows, a page has at least one"};

  const std::uint64_t expected =
      kRowsAt + std::uint64_t{frame.rowCount} * std::uint64_t{frame.recordBytes};
  if (bytes.size() != expected) {
    return Problem{std::to_string(frame.rowCount) + " rows of " +
                   std::to_string(frame.recordBytes) + " bytes make a file of " +
                   std::to_string(expected) + " bytes, this one has " +
                   std::to_string(bytes.size()) +
                   (bytes.size() < expected ? " (cut off?)" : " (something follows the page)")};
  }
  FrameReader::take(frame, std::move(bytes));
  return frame;
}

std::uint64_t countBlackDots(BytesView bytes) {
  std::uint64_t black = 0;
  for (std::size_t i = 0; i < bytes.size; ++i) {
    for (unsigned rest = bytes.data[i]; rest != 0; rest &= rest - 1) ++black;
  }
  return black;
}

std::vector<std::size_t> rowsWithWrongCount(const PageFrame& frame) {
  std::vector<std::size_t> wrong;
  for (std::size_t y = 0; y < frame.rowCount; ++y) {
    const FrameRow row = frame.row(y);
    if ((countBlackDots(row.dots) & 0xFFFF) != row.announced) wrong.push_back(y);
  }
  return wrong;
}

}  // namespace kestra
