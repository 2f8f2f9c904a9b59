// The two stencil halftones: tone, sharpening and error diffusion in one chain.
#pragma once

#include <cstddef>

#include "imaging/tattoo/qm_image.h"

namespace kestra {

// The rule as it is told, step by step on images of their own. Both return a new grey image of 0
// and 255 and leave their input alone, which may be of any colour type. An image without pixels
// comes back as a copy. With the K raster 255 is a printed dot.

/// Halftone "Tattoo": the gamma's knee is fixed at 64, exponents 0.85 and 0.7.
QMImage qmTattooDithering(QMImage& image);

/// Halftone "Tattoo_V7": the knee is the page's own threshold, exponents 0.5 and 1.5. A page whose
/// threshold is 255, pure black-and-white art often, deliberately loses its full levels.
QMImage qmTattooDitheringV7(QMImage& image);

/// The halftones on pixels that belong to somebody else.
enum class StencilKind { kTattoo, kTattooV7 };

/// Makes the same dots as the two functions above from width * height grey bytes, both at least 1,
/// row by row: the way of a job, which needs some rows of memory, at most four times the page,
/// besides the two pages.
/// @param out     row 0 of `height` rows, not among the grey bytes
/// @param stride  bytes from row to row there, at least `width`; the bytes between stay
void ditherStencilPage(StencilKind kind, const unsigned char* grey, int width, int height,
                       unsigned char* out, std::size_t stride);

/// Error diffusion in single precision with six taps, two of them negative; 6 per cent of each
/// error is dropped. They are drawn in `imaging/kernels/stencil_diffusion.h`.
///
/// A level above the threshold gives 255, any other 0. A white dot with a black left or upper
/// neighbour is charged less than 255, by 14.27 per cent for each, except on the image's border.
/// @param grey       one byte per pixel
/// @param threshold  any number; -1 makes every level above -1 white
QMImage edf_cus(const QMImage& grey, int threshold);

/// Whether (x, y) lies in an image of width x height pixels.
constexpr bool isWithinBounds(int x, int y, int width, int height) {
  return x >= 0 && x < width && y >= 0 && y < height;
}

}  // namespace kestra
