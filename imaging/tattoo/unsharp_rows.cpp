// Keeps the last rows of the sharpening in two rings; a page of 8 MB passes through 80 kB.
#include "imaging/tattoo/unsharp_rows.h"

#include <algorithm>

#include "imaging/kernels/tones.h"

namespace kestra {
namespace {

// Rows kept, as far as the page has them: at least the taps.
constexpr int kRing = 16;
static_assert(kRing >= kGaussianTaps, "all rows of a blurred one are there");

constexpr int kMargin = 16;
static_assert(kMargin >= kGaussianReach, "edges are repeated into the margin");

// Columns of a low page that are toned at once: whole rows would be the page once more.
constexpr int kPart = 1 << 16;

constexpr std::size_t withMargins(int width) {
  return static_cast<std::size_t>(width) + 2 * std::size_t{kMargin};
}

}  // namespace

UnsharpRows::UnsharpRows(const unsigned char* grey, int width, int height,
                         const std::uint8_t* table, const GaussianWeights& weights)
    : grey_(grey),
      width_(width),
      height_(height),
      table_(table),
      weights_(weights),
      isLow_(height < kRing),
      part_(isLow_ ? std::min(kPart, width) : width),
      ring_(std::min(kRing, height)),
      stride_(withMargins(width)),
      tonedStride_(withMargins(part_)),
      toned_(tonedStride_ * (isLow_ ? 1 : kRing)),
      blurred_(stride_ * static_cast<std::size_t>(ring_)) {}

unsigned char* UnsharpRows::toned(int y) {
  const auto place = static_cast<std::size_t>(isLow_ ? 0 : y % kRing);
  return toned_.data() + place * tonedStride_ + kMargin;
}

unsigned char* UnsharpRows::blurred(int y) {
  return blurred_.data() + static_cast<std::size_t>(y % ring_) * stride_ + kMargin;
}

// Tones `count` pixels from column x on and those around them that a blur looks at, of which there
// are none beyond the edges: a b c becomes a a a a a a b c c c c c c.
void UnsharpRows::tonePart(int y, int x, int count) {
  const int first = std::max(x - kGaussianReach, 0);
  const int end = std::min(x + count + kGaussianReach, width_);
  const unsigned char* grey =
      grey_ + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_);
  unsigned char* row = toned(y);  // at column x
  unsigned char* left = row + (first - x);
  unsigned char* right = row + (end - x);
  lookUpLevels(table_, grey + first, left, static_cast<std::size_t>(end - first));
  std::fill(row - kGaussianReach, left, left[0]);
  std::fill(right, row + count + kGaussianReach, right[-1]);
}

void UnsharpRows::readRow(int y) {
  for (int x = 0; x < width_; x += part_) {
    const int count = std::min(part_, width_ - x);
    tonePart(y, x, count);
    const unsigned char* taps[kGaussianTaps];
    for (int k = 0; k < kGaussianTaps; ++k) taps[k] = toned(y) + k - kGaussianReach;
    blurPixels(taps, weights_, blurred(y) + x, static_cast<std::size_t>(count));
  }
}

void UnsharpRows::nextRow(unsigned char* out) {
  const int y = made_++;
  const int lastNeeded = std::min(y + kGaussianReach, height_ - 1);
  while (read_ <= lastNeeded) readRow(read_++);

  const unsigned char* taps[kGaussianTaps];
  for (int k = 0; k < kGaussianTaps; ++k) {
    taps[k] = blurred(std::clamp(y + k - kGaussianReach, 0, height_ - 1));
  }
  blurPixels(taps, weights_, out, static_cast<std::size_t>(width_));
  for (int x = 0; x < width_; x += part_) {
    const int count = std::min(part_, width_ - x);
    if (isLow_) tonePart(y, x, count);
    sharpenPixels(toned(y), out + x, out + x, static_cast<std::size_t>(count));
  }
}

}  // namespace kestra
