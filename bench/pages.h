// The pages that are measured: pictures of any size that are the same on every machine.
//
// What a page costs depends on what is on it: runs of blank paper, edges and noise each find other
// slow places, and most labels and stencils are mostly blank.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestra::bench {

/// Sizes at which pages are measured, in dots.
inline constexpr unsigned kA4Width = 2480;  ///< A4 at 300 dpi
inline constexpr unsigned kA4Height = 3508;

/// Names that `makePage` knows: "photo", "text", "lineart", "noise", "flat", "blank", "ink".
const std::vector<std::string>& pageKinds();

/// Draws a page of width x height grey bytes, 255 ink and 0 paper, rows without padding. Whole
/// numbers only, so that no rounding makes two machines measure different pages.
/// @return empty for an unknown kind
std::vector<std::uint8_t> makePage(std::string_view kind, std::size_t width, std::size_t height);

}  // namespace kestra::bench
