// The error-diffusion kernels: where the error of a printed dot goes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra {

/// The lowest level that prints white by threshold and by error diffusion.
inline constexpr int kFirstWhiteLevel = 129;

/// One receiver of a pixel's error: `dx` columns to the right, `dy` rows down, `weight` parts of
/// the kernel's divisor.
struct DiffusionTap {
  int dx;
  int dy;
  int weight;
};

/// An error-diffusion kernel: taps in the order in which they are served.
struct DiffusionKernel {
  const DiffusionTap* taps;
  std::size_t tapCount;
  int divisor;
};

/// Kernel of a dithering method: 2 Burkes (1988), 3 Stucki (1981), 4 Jarvis, Judice and Ninke
/// (1976), 5 Sierra (1989), 6 Stevenson and Arce (1985), any other number Floyd and Steinberg
/// (1976). Some weights differ from the published ones by design of this printer's methods.
const DiffusionKernel& diffusionKernel(std::uint64_t method);

/// Diffuses a grey image in place and writes its two levels as bits.
///
/// Levels from 129 on become 1 with the error level - 255, others 0 with the error level. Each tap
/// adds error * weight / divisor, truncated toward zero and clamped to 0..255 on its own: an error
/// of 3 over 7, 3, 5 and 1 sixteenths passes on 1, 0, 0 and 0. What falls outside the image is
/// lost; nothing is renormalised at the edges.
/// @param grey        width x height levels, rows `greyStride` bytes apart; changed
/// @param bits        zeroed rows, `bitStride` bytes apart, leftmost pixel in the highest bit
void diffuseErrors(const DiffusionKernel& kernel, std::uint8_t* grey, std::size_t greyStride,
                   std::uint8_t* bits, std::size_t bitStride, std::int64_t width,
                   std::int64_t height);

}  // namespace kestra
