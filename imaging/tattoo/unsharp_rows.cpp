// Keeps the last rows of the sharpening in two rings; a page of 8 MB passes through 80 kB.
#include "imaging/tattoo/unsharp_rows.h"

#include <algorithm>
#include <cstring>

#include "imaging/kernels/tones.h"

namespace kestra {
namespace {

// Rows kept, as far as the page has them: at least the taps.
constexpr int kRing = 16;
static_assert(kRing >= kGaussianTaps, "all rows of a blurred one are there");

constexpr int kMargin = 16;
static_assert(kMargin >= kGaussianReach, "edges are repeated into the margin");

// Repeats the first and the last of `width` bytes beside them: a b c becomes a a a a a a b c c c c
// c c.
void repeatEdges(unsigned char* padded, int width) {
  std::memset(padded - kGaussianReach, padded[0], kGaussianReach);
  std::memset(padded + width, padded[width - 1], kGaussianReach);
}

}  // namespace

UnsharpRows::UnsharpRows(const unsigned char* grey, int width, int height,
                         const std::uint8_t* table, const GaussianWeights& weights)
    : grey_(grey),
      width_(width),
      height_(height),
      table_(table),
      weights_(weights),
      ring_(std::min(kRing, height)),
      // Of a page that is as low as the ring, toned rows would be the page once more.
      tonedRing_(height < kRing ? 1 : kRing),
      stride_(static_cast<std::size_t>(width) + 2 * std::size_t{kMargin}),
      toned_(stride_ * static_cast<std::size_t>(tonedRing_)),
      blurred_(stride_ * static_cast<std::size_t>(ring_)) {}

unsigned char* UnsharpRows::toned(int y) {
  return toned_.data() + static_cast<std::size_t>(y % tonedRing_) * stride_ + kMargin;
}

unsigned char* UnsharpRows::blurred(int y) {
  return blurred_.data() + static_cast<std::size_t>(y % ring_) * stride_ + kMargin;
}

void UnsharpRows::toneRow(int y) {
  const auto count = static_cast<std::size_t>(width_);
  lookUpLevels(table_, grey_ + static_cast<std::size_t>(y) * count, toned(y), count);
}

void UnsharpRows::readRow(int y) {
  toneRow(y);
  unsigned char* row = toned(y);
  repeatEdges(row, width_);
  const unsigned char* taps[kGaussianTaps];
  for (int k = 0; k < kGaussianTaps; ++k) taps[k] = row + k - kGaussianReach;
  blurPixels(taps, weights_, blurred(y), static_cast<std::size_t>(width_));
}

void UnsharpRows::nextRow(unsigned char* out) {
  const int y = made_++;
  const int lastNeeded = std::min(y + kGaussianReach, height_ - 1);
  while (read_ <= lastNeeded) readRow(read_++);

  const unsigned char* taps[kGaussianTaps];
  for (int k = 0; k < kGaussianTaps; ++k) {
    taps[k] = blurred(std::clamp(y + k - kGaussianReach, 0, height_ - 1));
  }
  const auto count = static_cast<std::size_t>(width_);
  blurPixels(taps, weights_, out, count);
  if (tonedRing_ == 1) toneRow(y);
  sharpenPixels(toned(y), out, out, count);
}

}  // namespace kestra
