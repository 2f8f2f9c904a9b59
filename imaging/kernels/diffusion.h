// Error diffusion of a whole page: grey levels become dots where they are.
//
// All versions print the same dots; the fast ones let many rows go through the loop side by side.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imaging/kernels/diffusion_kernel.h"

namespace kestra {

/// A page to diffuse, in memory of the caller.
struct DiffusionPage {
  DiffusionMethod method;
  std::uint8_t* levels;  ///< width x height levels, 255 is white; then dots, 1 is white
  std::size_t stride;    ///< bytes from row to row, at least the width
  std::size_t width;
  std::size_t height;
};

/// Replaces a page's levels by its dots, 0 and 1. Levels from 129 on become 1 with the error level
/// - 255, others 0 with the error level. Each tap adds error * weight / divisor, truncated toward
/// zero and clamped to 0..255 on its own: an error of 3 over 7, 3, 5 and 1 sixteenths passes on 1,
/// 0, 0 and 0. What falls outside the page is lost; nothing is renormalised at the edges.
///
/// Bytes between the rows stay. A page without pixels is left alone.
void diffuse(const DiffusionPage& page);

/// The bytes of memory of its own that a fast loop needs for a page of this width, with any
/// content: for each column, and each of the up to 512 columns by which lanes overhang, at most 4
/// for the levels between blocks of rows and 4 for their dots, a bit a lane.
inline constexpr std::size_t diffusionScratch(std::size_t width) { return 8 * (width + 512); }

/// Pages of fewer rows are printed by the rule, which needs no memory: the scratch of a fast loop
/// would be larger than the page.
inline constexpr std::size_t kFewestRowsForScratch = 4;

// The fast versions, see cpu.h, for pages of any size.
using DiffusionLoop = void(const DiffusionPage& page, std::uint8_t* scratch);
namespace baseline {
DiffusionLoop diffuse;
}
namespace avx2 {
DiffusionLoop diffuse;
}

}  // namespace kestra
