// Barcode enhancement: rules on runs of white (ink) and black (paper) pixels. They break up long
// solid bars, which draw too much heat at once, and widen the thin gaps between bars, which heat
// fills.
#include <algorithm>
#include <array>
#include <cstring>

#include "filter/base/log.h"
#include "filter/base/page_size.h"
#include "printer/kestra_printer.h"

namespace kestra {
namespace {

constexpr std::uint8_t kWhite = 255;
constexpr std::uint8_t kBlack = 0;

bool isWhite(std::uint8_t value) { return value == kWhite; }
bool isBlack(std::uint8_t value) { return value == kBlack; }

// A temporary image over a page buffer, copied back at the end. Where it cannot be made the rules
// have no rows to go through, and the buffer stays as it is.
class PageImage {
 public:
  PageImage(unsigned char* buffer, int width, int height, int stride, const char* failureText)
      : buffer_(buffer),
        size_(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height)),
        stride_(stride) {
    if (!image_.CreateFromArray(buffer, static_cast<std::uint32_t>(width),
                                static_cast<std::uint32_t>(height), 8,
                                static_cast<std::uint32_t>(stride), false)) {
      wrenLogCommon(kLogCritical, "%s", failureText);
    }
  }
  ~PageImage() {
    if (image_.IsValid()) std::copy_n(image_.GetBits(), size_, buffer_);
    image_.Destroy();
  }
  PageImage(const PageImage&) = delete;
  PageImage& operator=(const PageImage&) = delete;

  bool isValid() const { return image_.IsValid(); }
  std::uint8_t* row(int y) { return image_.GetBits(static_cast<std::uint32_t>(y)); }
  /// Bytes from a row to the next.
  std::ptrdiff_t stride() const { return stride_; }

 private:
  PaletteImage image_;
  unsigned char* buffer_;  // not owned
  std::size_t size_;
  std::ptrdiff_t stride_;
};

// Columns of a white run, `end` being that of the pixel that closes it. None: both are the width.
struct Run {
  int begin;
  int end;
};

// Whether eight pixels from a place on are all white.
bool areEightWhite(const std::uint8_t* pixels) {
  std::uint64_t word = 0;
  std::memcpy(&word, pixels, sizeof word);
  return ~word == 0;
}

// The next closed run of more than `shortest` (at least 8) pixels from column `x` on. A run to the
// end of the row is closed by nothing.
//
// Wherever so long a run begins, eight of its pixels in one piece start on a grid of `shortest` - 7
// columns: only these are looked at.
Run nextLongRun(const std::uint8_t* row, int x, int width, int shortest) {
  constexpr int kPiece = 8;
  const int step = shortest - (kPiece - 1);
  for (int piece = x; piece + kPiece <= width; piece += step) {
    if (!areEightWhite(row + piece)) continue;
    int begin = piece;
    while (begin > x && isWhite(row[begin - 1])) --begin;
    int end = piece + kPiece;
    while (end < width && isWhite(row[end])) ++end;
    if (end == width) break;
    if (end - begin > shortest) return {begin, end};
    x = end + 1;
    piece = x - step;
  }
  return {width, width};
}

// White pixels of a row; the middle one of an odd width is not counted.
int countWhite(const std::uint8_t* row, int width) {
  auto count = static_cast<int>(std::count(row, row + width, kWhite));
  if (width % 2 != 0 && isWhite(row[width / 2])) --count;
  return count;
}

// Black pixels in one piece from `pixel` downward, `most` at most.
int countBlackDown(const std::uint8_t* pixel, std::ptrdiff_t stride, int most) {
  int count = 0;
  while (count < most && isBlack(pixel[count * stride])) ++count;
  return count;
}

// The second rule on some columns of a page. Each column stands for itself, so they are gone
// through side by side, row by row.
class ColumnStripe {
 public:
  static constexpr int kColumns = 256;

  ColumnStripe(PageImage& image, int firstColumn, int columns)
      : stride_(image.stride()), first_(firstColumn), columns_(columns) {}

  // Runs count the image as it is being changed; they stop counting where only "long" matters.
  void advance(std::uint8_t* row) {
    constexpr std::uint8_t kShortRun = 3;
    std::uint8_t* pixels = row + first_;
    const std::uint8_t* below = pixels + stride_;
    std::array<std::uint8_t, kColumns> ends = {};
    std::uint8_t* runs = whiteRun_.data();
    const int columns = columns_;
    for (int i = 0; i < columns; ++i) {
      const unsigned longer = runs[i] + static_cast<unsigned>(runs[i] < 255);
      const unsigned run = longer & (0U - static_cast<unsigned>(pixels[i] == kWhite));
      runs[i] = static_cast<std::uint8_t>(run);
      ends[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(
          static_cast<unsigned>(below[i] == kBlack) & static_cast<unsigned>(run > kShortRun));
    }
    constexpr std::size_t kPiece = 8;
    for (std::size_t piece = 0; piece < ends.size(); piece += kPiece) {
      std::uint64_t any = 0;
      std::memcpy(&any, ends.data() + piece, sizeof any);
      if (any == 0) continue;
      for (std::size_t at = piece; at < piece + kPiece; ++at) {
        const auto i = static_cast<int>(at);
        if (ends[at] != 0) endRun(pixels + i, first_ + i, whiteRun_[at]);
      }
    }
  }

 private:
  // A white run ends here, over black.
  void endRun(std::uint8_t* pixel, int x, unsigned run) const {
    constexpr unsigned kLongRun = 6;
    // The end of a long white run is dotted, on even columns in turn.
    if (run > kLongRun && isWhite(pixel[-2 * stride_]) && isWhite(pixel[-stride_])) {
      if (x % 4 == 0) {
        pixel[-2 * stride_] = kBlack;
        pixel[-4 * stride_] = kBlack;
      } else if (x % 4 == 2) {
        pixel[-stride_] = kBlack;
        pixel[-3 * stride_] = kBlack;
      }
    }
    // A black line of one or two pixels gets one more above it.
    const bool thick = !isWhite(pixel[2 * stride_]) && !isWhite(pixel[3 * stride_]);
    if (!thick) *pixel = kBlack;
  }

  std::ptrdiff_t stride_;
  int first_;
  int columns_;
  std::array<std::uint8_t, kColumns> whiteRun_ = {};
};

}  // namespace

void KestraPrinter::setRowStride(int width) {
  rowStride_ = static_cast<int>(paddedRowBytes(static_cast<std::uint32_t>(width)));
}

// Dashes lie on a fixed grid of 8 pixels, 4 on and 4 off, counted from the row's left edge. The
// last one may cover the pixel that closed the run and two more; the scan goes on over what it
// changed.
void KestraPrinter::ApplyDashedLine(unsigned char* buffer, int width, int height) {
  constexpr int kDash = 4;
  constexpr int kPeriod = 8;
  constexpr int kLongestRun = 320;  // longer ones are broken up

  setRowStride(width);
  for (int y = 2; y < height - 6; ++y) {
    std::uint8_t* row = buffer + static_cast<std::ptrdiff_t>(y) * rowStride_;
    for (Run run = nextLongRun(row, 0, width, kLongestRun); run.begin < width;
         run = nextLongRun(row, run.end + 1, width, kLongestRun)) {
      const int firstDash = (run.begin + kPeriod - 1) / kPeriod * kPeriod;
      for (int k = firstDash; k < run.end; k += kPeriod) std::fill_n(row + k, kDash, kBlack);
    }
  }
}

// A white run with a black line of 1 to 3 pixels below it and white above it turns black itself, so
// the line becomes one pixel thicker; rows that are mostly white are left alone.
//
//   . . . . .        . white  # black
//   . . . . .   ->   # # # # #
//   # # # # #        # # # # #
void KestraPrinter::OptimazeBarcode1(unsigned char* buffer, int width, int height) {
  constexpr int kShortestRun = 40;  // longer ones count
  constexpr int kThickestLine = 3;
  constexpr int kFirstColumn = 2;

  setRowStride(width);
  {
    PageImage image(buffer, width, height, rowStride_,
                    "OptimazeBarcode1 CreateFromArray with image failed!");
    const std::ptrdiff_t stride = image.stride();
    for (int y = 1; image.isValid() && y < height - 1; ++y) {
      std::uint8_t* row = image.row(y);
      int whiteCount = -1;  // of the row before it is changed, which only its long runs do
      for (Run run = nextLongRun(row, kFirstColumn, width, kShortestRun); run.begin < width;
           run = nextLongRun(row, run.end + 1, width, kShortestRun)) {
        if (whiteCount < 0) whiteCount = countWhite(row, width);
        if (whiteCount >= width / 2) break;
        const int most = std::min(kThickestLine + 1, height - 1 - y);
        for (int k = run.begin; k < run.end; ++k) {
          const int below = countBlackDown(row + k + stride, stride, most);
          if (below >= 1 && below <= kThickestLine && isWhite(row[k - stride])) row[k] = kBlack;
        }
      }
    }
  }
  wrenLogCommon(kLogDebug, "OptimazeBarcode1 is applied!");
}

// Only white pixels above black ones change anything. The rule that the first white pixel after a
// dark run of more than 3 takes one back from it changes no page, as the dark run ends with that
// very pixel.
void KestraPrinter::OptimazeBarcode2(unsigned char* buffer, int width, int height) {
  setRowStride(width);
  {
    PageImage image(buffer, width, height, rowStride_,
                    "OptimazeBarcode2 CreateFromArray with image failed!");
    for (int x = 0; image.isValid() && x < width; x += ColumnStripe::kColumns) {
      ColumnStripe stripe(image, x, std::min(ColumnStripe::kColumns, width - x));
      for (int y = 3; y < height - 6; ++y) stripe.advance(image.row(y));
    }
  }
  wrenLogCommon(kLogDebug, "OptimazeBarcode2 is applied!");
}

}  // namespace kestra
