// The ten halftones by the names that a job chooses them by, and what runs under each.
//
// Most names do not say what prints; a caption has to.
#pragma once

#include <array>

namespace kestra::proof {

struct Halftone {
  const char* keyword;
  const char* runs;
};

inline constexpr std::array<Halftone, 10> kHalftones = {{
    {"None", "threshold at half black"},
    {"FloydSteinberg", "ordered, 17 greys"},
    {"Ordered", "Burkes diffusion"},
    {"Burkes", "Stucki diffusion"},
    {"Stucki", "Jarvis, Judice, Ninke diffusion"},
    {"JarvisJudiceNinke", "Sierra diffusion"},
    {"Sierra", "Stevenson, Arce diffusion"},
    {"StevensonArce", "ordered, computed"},
    {"Tattoo", "stencil, fixed tones"},
    {"Tattoo_V7", "stencil, tones set by the page"},
}};

}  // namespace kestra::proof
