// The rule of the stencil's error diffusion, a pixel at a time, the choice of a faster version, and
// the band of rows with which that one works: of a page's errors no more than one row is ever
// needed.
#include "imaging/kernels/stencil_diffusion.h"

#include <algorithm>
#include <cstring>

#include "imaging/kernels/cpu.h"
#include "imaging/kernels/subnormals.h"

namespace kestra {
namespace {

constexpr std::size_t kMargin = kStencilMargin;

// A pixel takes its shares in the order in which the pixels come that give them:
//
//   row above:  from x - 1, x, x + 1, x + 2;   own row:  from x - 2, then x - 1;   then its grey.
//
// Shares from beyond an edge are shares of an error 0. They and the 0 from which a sum starts
// change at most the sign of a zero, and adding a grey level, which is never -0, forgets that.
//
// These are the taps of `edf_cus` seen by the pixel that takes. No table of places serves both: as
// one row of memory keeps the errors of two rows, three of the six givers are variables here.
void diffusePlain(const StencilBand& band) {
  float* errors = band.upperErrors;
  const auto above = [errors](int x) { return errors == nullptr ? 0.0F : errors[x]; };
  const int end = std::min(band.firstRow + kStencilBandRows, band.height);
  unsigned char* row = band.rows;
  for (int y = band.firstRow; y < end; ++y, row += band.stride) {
    float aboveLeft = 0.0F;  // the row's own errors take the place of those above
    float secondLeft = 0.0F;
    float left = 0.0F;
    for (int x = 0; x < band.width; ++x) {
      float v = aboveLeft * kStencilBelowRight;
      v += above(x) * kStencilBelow;
      v += above(x + 1) * kStencilBelowLeft;
      v += above(x + 2) * kStencilBelowSecondLeft;
      v += secondLeft * kStencilSecondRight;
      v += left * kStencilRight;
      v += static_cast<float>(row[x]);
      float error = v;
      if (v > band.threshold) {
        float relief = 0.0F;
        if (y >= 1 && x >= 1 && y < band.height - 1 && x < band.width - 1) {
          if (row[x - 1] == 0) relief += kStencilRelief;
          if (*(row + x - band.stride) == 0) relief += kStencilRelief;
        }
        const float charge = kStencilCharge * (1.0F - relief);
        error = v - charge;
      }
      row[x] = v > band.threshold ? 255 : 0;
      aboveLeft = above(x);
      secondLeft = left;
      left = error;
      if (errors != nullptr) errors[x] = error;
    }
  }
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

StencilDiffuser::StencilDiffuser(int width, int height, float threshold, unsigned char* out,
                                 std::size_t stride)
    : width_(width),
      height_(height),
      threshold_(threshold),
      out_(out),
      stride_(stride),
      kernel_(choose<diffusePlain, baseline::diffuseStencilBand, avx2::diffuseStencilBand>()) {
  // A band of more rows than the page has would be larger than the page.
  if (height < kStencilBandRows) kernel_ = diffusePlain;
  const std::size_t columns = static_cast<std::size_t>(width) + 2 * kMargin;
  if (kernel_ != diffusePlain) {
    bandStride_ = columns;
    band_.resize(bandStride_ * (1 + kStencilBandRows));
  }
  if (height > 1) upperErrors_.resize(columns);
}

unsigned char* StencilDiffuser::nextRow() {
  if (band_.empty()) return out_ + static_cast<std::size_t>(row_) * stride_;
  const auto place = static_cast<std::size_t>(1 + row_ % kStencilBandRows);
  return band_.data() + place * bandStride_ + kMargin;
}

void StencilDiffuser::finishRow() {
  ++row_;
  const int filled = row_ % kStencilBandRows;
  if (filled == 0 || row_ == height_) finishBand(filled == 0 ? kStencilBandRows : filled);
}

void StencilDiffuser::finishBand(int count) {
  const int first = row_ - count;
  unsigned char* out = out_ + static_cast<std::size_t>(first) * stride_;
  StencilBand band = {out,
                      stride_,
                      width_,
                      first,
                      height_,
                      threshold_,
                      upperErrors_.empty() ? nullptr : upperErrors_.data() + kMargin};
  if (!band_.empty()) {
    band.rows = band_.data() + kMargin + bandStride_;
    band.stride = bandStride_;
  }
  {
    const SubnormalsAsZero mode(!remainsCount(threshold_));
    kernel_(band);
  }
  if (band_.empty()) return;
  const auto columns = static_cast<std::size_t>(width_);
  for (int row = 0; row < count; ++row, out += stride_) {
    std::memcpy(out, band.rows + static_cast<std::size_t>(row) * bandStride_, columns);
  }
  const unsigned char* last = band.rows + (kStencilBandRows - 1) * bandStride_;
  std::memcpy(band_.data() + kMargin, last, columns);  // above the next band
}

}  // namespace kestra
