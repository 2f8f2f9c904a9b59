// The stencil's error diffusion, sixteen rows at a time.
//
// A pixel needs the error of the pixel before it, so a row alone cannot be hurried; but row after
// row can run at once if each stays four columns behind the one above:
//
//   row 0   . . . . . . . . X          X: the pixels of one step, a lane each. What a pixel gets
//   row 1   . . . . X                  from above comes from columns that are done, up to the one
//   row 2   X                          two to its right.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "imaging/kernels/level.h"

namespace kestra {

/// Rows that are diffused together.
constexpr int kStencilBandRows = 16;

/// How far each row of a band stays behind the row above it, in columns.
constexpr int kStencilSkew = 4;

/// Shares of a pixel's error, see `edf_cus`.
constexpr float kStencilRight = 0.505786F;
constexpr float kStencilSecondRight = -0.052926F;
constexpr float kStencilBelowSecondLeft = 0.226194F;
constexpr float kStencilBelowLeft = 0.128835F;
constexpr float kStencilBelow = 0.243191F;
constexpr float kStencilBelowRight = -0.111078F;

/// What a white dot is charged; less for each black neighbour at its left and above.
constexpr float kStencilCharge = 255.0F;
constexpr float kStencilRelief = 0.1427F;

/// Bytes, or numbers of the row above, that belong to the caller's buffers before column 0 and from
/// the last column on: the lanes run into them before and after their rows.
constexpr int kStencilMargin = 96;

/// A band as the kernels see it. All pointers are at column 0, with margins on both sides.
struct StencilBand {
  unsigned char* rows;  ///< grey levels in, dots out, `stride` bytes from row to row; not owned
  std::size_t stride;   ///< at least the width and both margins
  int width;            ///< columns
  int firstRow;         ///< of the band in the page
  int height;           ///< rows of the page
  float threshold;      ///< above it a level becomes white
  float* upperErrors;   ///< errors of the row above, then of the band's last row; margins 0
  std::int32_t* upperBlack;  ///< -1 where that row is black, else 0; not owned
};

using StencilBandKernel = void (*)(const StencilBand&);

/// The kernel of a level; null for `kPlain`, whose version is `edf_cus` as the rule is told.
StencilBandKernel stencilBandKernel(KernelLevel level);

/// Diffuses a page that comes row by row from the top.
class StencilDiffuser {
 public:
  /// @param threshold  any number, -1 and 255 among them
  /// @param kernel     not null
  StencilDiffuser(int width, int height, float threshold, StencilBandKernel kernel);

  /// Where the next row's `width` grey levels go; the row counts as written by the next call of
  /// `nextRow` or `finishBand`. Valid until the band is finished.
  unsigned char* nextRow();

  /// Whether the rows so far make a whole band or the end of the page: time for `finishBand`.
  bool isBandComplete() const;

  /// Turns the rows of the band into dots, 0 and 255, and copies them out.
  /// @param out     row 0 of the page that is to be filled
  /// @param stride  bytes from row to row there
  void finishBand(unsigned char* out, std::size_t stride);

  /// Bands that vector kernels have diffused in this process, for tests that ask whether they ran.
  static std::uint64_t bandsDone();

 private:
  int width_;
  int height_;
  float threshold_;
  StencilBandKernel kernel_;
  int firstRow_ = 0;
  int filled_ = 0;
  std::size_t stride_;
  std::vector<unsigned char> rows_;
  std::vector<float> upperErrors_;
  std::vector<std::int32_t> upperBlack_;
};

namespace baseline {
void diffuseStencilBand(const StencilBand& band);
}
namespace avx2 {
void diffuseStencilBand(const StencilBand& band);
}

}  // namespace kestra
