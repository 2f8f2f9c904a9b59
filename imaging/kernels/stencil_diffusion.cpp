// Keeps the band of rows that the wavefront runs through, and what the row above it left behind: of
// a page's errors no more than one row is ever needed.
#include "imaging/kernels/stencil_diffusion.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "imaging/kernels/subnormals.h"

namespace kestra {
namespace {

std::size_t withMargins(int width) {
  return static_cast<std::size_t>(width) + 2 * static_cast<std::size_t>(kStencilMargin);
}

std::atomic<std::uint64_t>& bandCount() {
  static std::atomic<std::uint64_t> count{0};
  return count;
}

// Blank paper is where errors fade: below 2^-126 most processors need a hundred cycles for each
// product, so such remains are counted as 0, except at threshold 0.
//
// - Below 0 there are none. A level that stays black is its error, at most -1. A white one is
//   v - charge with a charge between 128 and 256, of which v and charge are multiples of 2^-16
//   where v is at least 128, and else the difference is above 100 / 2: errors are 0 or at least
//   2^-17, shares multiples of 2^-45, and so are their sums.
// - Above 0 a blank pixel with such a remain is black with and without it. It could be seen only by
//   a level within its rounding of the threshold, which is at least 1: an error that it meets is a
//   multiple of 2^-48, and a remain below 2^-126 that is added to any number from 2^-100 on
//   vanishes, as half of that number's last place is more. To be seen all the same it would have to
//   tip the rounding of a sum of about 2^-102, that difference the rounding of one of about 2^-77,
//   then 2^-52, then 2^-27, each a tie to within its last place: a chance of about 2^-78 for each
//   remain, against the 2^23 pixels of a page. The tests look at remains of every size.
// - At 0 the sign of a remain decides between white and black: all are kept.
bool remainsCount(float threshold) { return threshold == 0.0F; }

}  // namespace

StencilBandKernel stencilBandKernel(KernelLevel level) {
  switch (level) {
    case KernelLevel::kPlain:
      return nullptr;
    case KernelLevel::kBaseline:
      return baseline::diffuseStencilBand;
    case KernelLevel::kAvx2:
#if defined(__x86_64__)
      return avx2::diffuseStencilBand;
#else
      return baseline::diffuseStencilBand;
#endif
  }
  return nullptr;
}

StencilDiffuser::StencilDiffuser(int width, int height, float threshold, StencilBandKernel kernel)
    : width_(width),
      height_(height),
      threshold_(threshold),
      kernel_(kernel),
      stride_(withMargins(width)),
      rows_(stride_ * static_cast<std::size_t>(kStencilBandRows)),
      upperErrors_(withMargins(width)),
      upperBlack_(withMargins(width)) {}

unsigned char* StencilDiffuser::nextRow() {
  const auto row = static_cast<std::size_t>(filled_++);
  return rows_.data() + row * stride_ + kStencilMargin;
}

bool StencilDiffuser::isBandComplete() const {
  return filled_ == kStencilBandRows || firstRow_ + filled_ == height_;
}

void StencilDiffuser::finishBand(unsigned char* out, std::size_t stride) {
  const StencilBand band = {rows_.data() + kStencilMargin,
                            stride_,
                            width_,
                            firstRow_,
                            height_,
                            threshold_,
                            upperErrors_.data() + kStencilMargin,
                            upperBlack_.data() + kStencilMargin};
  {
    const SubnormalsAsZero mode(!remainsCount(threshold_));
    kernel_(band);
  }
  for (int row = 0; row < filled_; ++row) {
    std::memcpy(out + static_cast<std::size_t>(firstRow_ + row) * stride,
                band.rows + static_cast<std::size_t>(row) * stride_,
                static_cast<std::size_t>(width_));
  }
  firstRow_ += filled_;
  filled_ = 0;
  bandCount().fetch_add(1, std::memory_order_relaxed);
}

std::uint64_t StencilDiffuser::bandsDone() { return bandCount().load(std::memory_order_relaxed); }

}  // namespace kestra
