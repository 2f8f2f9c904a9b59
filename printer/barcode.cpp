// Barcode enhancement: rules on runs of white (ink) and black (paper) pixels. They break up long
// solid bars, which draw too much heat at once, and widen the thin gaps between bars, which heat
// fills.
#include <algorithm>

#include "filter/base/log.h"
#include "printer/kestra_printer.h"

namespace kestra {
namespace {

constexpr std::uint8_t kWhite = 255;
constexpr std::uint8_t kBlack = 0;

bool isWhite(std::uint8_t value) { return value == kWhite; }
bool isBlack(std::uint8_t value) { return value == kBlack; }

// A temporary image over a page buffer, copied back at the end. Where it cannot be made the rules
// read 0 everywhere, write nothing, and the buffer stays as it is.
class PageImage {
 public:
  PageImage(unsigned char* buffer, int width, int height, int stride, const char* failureText)
      : buffer_(buffer),
        size_(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height)) {
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

  bool isWhiteAt(int x, int y) const { return isWhite(image_.GetPixelIndex(x, y)); }
  bool isBlackAt(int x, int y) const { return isBlack(image_.GetPixelIndex(x, y)); }
  void set(int x, int y, std::uint8_t value) { image_.SetPixelIndex(x, y, value); }

 private:
  PaletteImage image_;
  unsigned char* buffer_;  // not owned
  std::size_t size_;
};

// White pixels of a row; the middle one of an odd width is not counted.
int countWhite(const PageImage& image, int width, int y) {
  int count = 0;
  for (int i = 0; i < width / 2; ++i) {
    if (image.isWhiteAt(i, y)) ++count;
    if (image.isWhiteAt(width - i - 1, y)) ++count;
  }
  return count;
}

// Black pixels of a column in one piece from row `y` downward, to the last row at most.
int countBlackBelow(const PageImage& image, int x, int y, int height) {
  int count = 0;
  while (y + count < height && image.isBlackAt(x, y + count)) ++count;
  return count;
}

}  // namespace

void KestraPrinter::setRowStride(int width) { rowStride_ = (width + 3) / 4 * 4; }

std::uint8_t& KestraPrinter::pixelAt(unsigned char* buffer, int x, int y) const {
  return buffer[static_cast<std::ptrdiff_t>(y) * rowStride_ + x];
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
    int run = 0;
    for (int x = 0; x < width; ++x) {
      if (isWhite(getPix(buffer, x, y))) {
        ++run;
        continue;
      }
      if (run > kLongestRun) {
        const int firstDash = (x - run + kPeriod - 1) / kPeriod * kPeriod;
        for (int k = firstDash; k < x; k += kPeriod) {
          for (int i = 0; i < kDash; ++i) setPix(buffer, k + i, y, kBlack);
        }
      }
      run = 0;
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

  setRowStride(width);
  {
    PageImage image(buffer, width, height, rowStride_,
                    "OptimazeBarcode1 CreateFromArray with image failed!");
    for (int y = 1; y < height - 1; ++y) {
      const int whiteCount = countWhite(image, width, y);
      int run = 0;
      for (int x = 2; x < width; ++x) {
        if (image.isWhiteAt(x, y)) {
          ++run;
          continue;
        }
        if (run > kShortestRun && whiteCount < width / 2) {
          for (int k = x - run; k < x; ++k) {
            const int below = countBlackBelow(image, k, y + 1, height);
            if (below >= 1 && below <= kThickestLine && image.isWhiteAt(k, y - 1)) {
              image.set(k, y, kBlack);
            }
          }
        }
        run = 0;
      }
    }
  }
  wrenLogCommon(kLogDebug, "OptimazeBarcode1 is applied!");
}

void KestraPrinter::OptimazeBarcode2(unsigned char* buffer, int width, int height) {
  setRowStride(width);
  {
    PageImage image(buffer, width, height, rowStride_,
                    "OptimazeBarcode2 CreateFromArray with image failed!");
    for (int x = 0; x < width; ++x) {
      int whiteRun = 0;
      int darkRun = 0;
      // Runs count the image as it is being changed.
      for (int y = 3; y < height - 6; ++y) {
        if (image.isWhiteAt(x, y)) {
          ++whiteRun;
          darkRun = 0;
        } else {
          whiteRun = 0;
          ++darkRun;
        }
        const bool blackFollows = image.isBlackAt(x, y + 1);

        // The end of a long white run is dotted, on even columns in turn.
        if (whiteRun > 6 && image.isWhiteAt(x, y - 2) && image.isWhiteAt(x, y - 1) &&
            image.isWhiteAt(x, y) && blackFollows) {
          if (x % 4 == 0) {
            image.set(x, y - 2, kBlack);
            image.set(x, y - 4, kBlack);
          } else if (x % 4 == 2) {
            image.set(x, y - 1, kBlack);
            image.set(x, y - 3, kBlack);
          }
        }

        // A black line of one or two pixels gets one more above it.
        if (whiteRun > 3 && image.isWhiteAt(x, y) && blackFollows) {
          const bool thick = !image.isWhiteAt(x, y + 2) && !image.isWhiteAt(x, y + 3);
          if (!thick) {
            image.set(x, y, kBlack);
            continue;
          }
        }

        // The first white pixel after a dark run would take one back from it; as the dark run ends
        // with that very pixel this changes no page, deliberately kept.
        if (darkRun > 3 && image.isWhiteAt(x, y) && image.isBlackAt(x, y - 1)) {
          image.set(x, y - 1, kWhite);
        }
      }
    }
  }
  wrenLogCommon(kLogDebug, "OptimazeBarcode2 is applied!");
}

}  // namespace kestra
