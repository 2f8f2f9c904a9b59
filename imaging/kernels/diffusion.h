// Error diffusion of a whole page: grey levels in, dots out.
//
// All levels print the same dots; they differ in how many rows go through the loop side by side.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imaging/kernels/diffusion_kernel.h"
#include "imaging/kernels/level.h"

namespace kestra {

/// A page to diffuse; everything belongs to the caller and must live until the loop returns.
struct DiffusionPage {
  DiffusionMethod method;
  const std::uint8_t* grey;  ///< width x height levels, 255 is white; read only
  std::size_t greyStride;    ///< bytes from row to row, at least the width
  std::uint8_t* dots;        ///< a bit a pixel, leftmost in the highest; 1 is white
  std::size_t dotStride;     ///< bytes from row to row, at least width / 8, rounded up
  std::size_t width;
  std::size_t height;
  bool asBytes = false;  ///< `dots` holds a byte a pixel instead, 0 or 1, and may be `grey`
};

/// Prints a page's levels as dots. Levels from 129 on become 1 with the error level - 255, others 0
/// with the error level. Each tap adds error * weight / divisor, truncated toward zero and clamped
/// to 0..255 on its own. What falls outside the page is lost; nothing is renormalised at the edges.
///
/// Writes the bytes of `dots` that hold pixels, their unused bits as 0, and no byte behind them.
/// A page without pixels is left alone.
/// @return rows that go side by side at this level: 4, or the bytes of its vectors
std::size_t diffuse(const DiffusionPage& page);

/// The bytes of memory of its own that a level's loop needs for a page of this width.
inline constexpr std::size_t diffusionScratch(std::size_t width) { return 8 * (width + 512); }

/// The loop of each level, for `diffuse` and for tests that must know that levels differ.
/// `scratch` holds `diffusionScratch(width)` bytes with any content.
using DiffusionLoop = std::size_t(const DiffusionPage& page, std::uint8_t* scratch);
DiffusionLoop* diffusionLoop(KernelLevel level);

}  // namespace kestra
