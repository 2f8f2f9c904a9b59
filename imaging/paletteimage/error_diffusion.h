// Error diffusion by the number of a dithering method.
//
// Why here: the kernels know no numbers; what a number prints is the image's business.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imaging/kernels/diffusion_kernel.h"

namespace kestra {

/// Kernel of a dithering method: 2 Burkes (1988), 3 Stucki (1981), 4 Jarvis, Judice and Ninke
/// (1976), 5 Sierra (1989), 6 Stevenson and Arce (1985), any other number Floyd and Steinberg
/// (1976). Some weights differ from the published ones by design of this printer's methods.
const DiffusionKernel& diffusionKernel(std::uint64_t method);

/// Diffuses a grey image and writes its two levels as bits.
///
/// Levels from 129 on become 1 with the error level - 255, others 0 with the error level. Each tap
/// adds error * weight / divisor, truncated toward zero and clamped to 0..255 on its own: an error
/// of 3 over 7, 3, 5 and 1 sixteenths passes on 1, 0, 0 and 0. What falls outside the image is
/// lost; nothing is renormalised at the edges.
/// @param kernel      one of those that `diffusionKernel` returns
/// @param grey        width x height levels, rows `greyStride` bytes apart; stays as it is
/// @param bits        rows `bitStride` bytes apart, leftmost pixel in the highest bit; unused bits
///                    of a row's last byte become 0, bytes behind it stay
void diffuseErrors(const DiffusionKernel& kernel, const std::uint8_t* grey, std::size_t greyStride,
                   std::uint8_t* bits, std::size_t bitStride, std::int64_t width,
                   std::int64_t height);

/// The same with each level replaced by its dot, 0 or 1.
/// @param levels  width x height levels, rows `stride` bytes apart; bytes behind a row stay
void diffuseErrorsInPlace(const DiffusionKernel& kernel, std::uint8_t* levels, std::size_t stride,
                          std::int64_t width, std::int64_t height);

}  // namespace kestra
