// Keeps the last rows of the sharpening in two rings; a page of 8 MB passes through 80 kB.
#include "imaging/tattoo/unsharp_rows.h"

#include <algorithm>
#include <cstring>

#include "imaging/kernels/histogram.h"

namespace kestra {
namespace {

// Rows kept: at least the taps, and a power of two.
constexpr int kRing = 16;

constexpr int kMargin = 16;
static_assert(kMargin >= kGaussianReach, "edges are repeated into the margin");

}  // namespace

void repeatEdges(unsigned char* padded, int width) {
  std::memset(padded - kGaussianReach, padded[0], kGaussianReach);
  std::memset(padded + width, padded[width - 1], kGaussianReach);
}

void tapsAlong(const unsigned char* padded, const unsigned char* taps[kGaussianTaps]) {
  for (int k = 0; k < kGaussianTaps; ++k) taps[k] = padded + k - kGaussianReach;
}

UnsharpRows::UnsharpRows(const unsigned char* grey, int width, int height,
                         const std::uint8_t* table, const GaussianWeights& weights)
    : grey_(grey),
      width_(width),
      height_(height),
      table_(table),
      weights_(weights),
      stride_(static_cast<std::size_t>(width) + 2 * std::size_t{kMargin}),
      toned_(stride_ * kRing),
      blurred_(stride_ * kRing),
      soft_(stride_) {}

unsigned char* UnsharpRows::toned(int y) {
  return toned_.data() + static_cast<std::size_t>(y % kRing) * stride_ + kMargin;
}

unsigned char* UnsharpRows::blurred(int y) {
  return blurred_.data() + static_cast<std::size_t>(y % kRing) * stride_ + kMargin;
}

void UnsharpRows::readRow(int y) {
  const auto count = static_cast<std::size_t>(width_);
  const unsigned char* source = grey_ + static_cast<std::size_t>(y) * count;
  unsigned char* row = toned(y);
  mapLevels(source, table_, row, count);
  repeatEdges(row, width_);
  const unsigned char* taps[kGaussianTaps];
  tapsAlong(row, taps);
  blurPixels(taps, weights_, blurred(y), count);
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
  blurPixels(taps, weights_, soft_.data(), count);
  sharpenPixels(toned(y), soft_.data(), out, count);
}

}  // namespace kestra
