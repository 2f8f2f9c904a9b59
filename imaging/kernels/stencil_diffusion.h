// The stencil's error diffusion, in bands of sixteen rows.
//
//               X      0.505786  -0.052926
//   0.226194 0.128835  0.243191  -0.111078    (row below, from x - 2 to x + 1)
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

namespace kestra {

/// Shares of a pixel's error; 6 per cent of it are dropped.
constexpr float kStencilRight = 0.505786F;
constexpr float kStencilSecondRight = -0.052926F;
constexpr float kStencilBelowSecondLeft = 0.226194F;
constexpr float kStencilBelowLeft = 0.128835F;
constexpr float kStencilBelow = 0.243191F;
constexpr float kStencilBelowRight = -0.111078F;

/// What a white dot is charged, and how much less of it for each black neighbour at its left and
/// above, except on the page's border.
constexpr float kStencilCharge = 255.0F;
constexpr float kStencilRelief = 0.1427F;

/// Rows that are diffused together.
constexpr int kStencilBandRows = 16;

/// How far the fast versions let each row of a band stay behind the row above it, in columns.
constexpr int kStencilSkew = 4;

/// Bytes, or numbers of the row above, that belong to the caller's buffers before column 0 and from
/// the last column on: the lanes of the fast versions run into them before and after their rows.
constexpr int kStencilMargin = 96;

/// A band as the loops see it. All pointers are at column 0, with margins on both sides for the
/// fast versions; nothing is owned.
struct StencilBand {
  unsigned char* rows;  ///< grey levels in, dots out, `stride` bytes from row to row; before the
                        ///< first of them, below the page's top, the dots of the row above
  std::size_t stride;   ///< at least the width, with margins where there are any
  int width;            ///< columns
  int firstRow;         ///< of the band in the page
  int height;           ///< rows of the page
  float threshold;      ///< above it a level becomes white
  float* upperErrors;  ///< of the row above, then of the band's last row; 0 in the margins, and for
                       ///< the rule up to two columns behind the width; null: a page of one row
};

/// Diffuses a page that comes row by row from the top. A level above the threshold gives 255, any
/// other 0.
class StencilDiffuser {
 public:
  /// @param threshold  any number, -1 and 255 among them
  /// @param out        row 0 of the page that is to be filled, kept
  /// @param stride     bytes from row to row there, at least `width`; the bytes between stay
  StencilDiffuser(int width, int height, float threshold, unsigned char* out, std::size_t stride);

  /// Where the next row's `width` grey levels go.
  unsigned char* nextRow();

  /// Takes that row; after each band, and at the end of the page, its dots are in `out`.
  void finishRow();

 private:
  void finishBand(int count);

  int width_;
  int height_;
  float threshold_;
  unsigned char* out_;
  std::size_t stride_;
  void (*kernel_)(const StencilBand&);
  int row_ = 0;
  std::size_t bandStride_ = 0;
  std::vector<unsigned char> band_;  ///< the row above and a band, with margins; empty: in place
  std::vector<float> upperErrors_;
};

// The fast versions, see cpu.h. Of a page's last band they write all sixteen rows.
namespace baseline {
void diffuseStencilBand(const StencilBand& band);
}
namespace avx2 {
void diffuseStencilBand(const StencilBand& band);
}

}  // namespace kestra
