// The stencil error diffusion and the two chains that end in it.
// Why: these are the dots of the halftones "Tattoo" and "Tattoo_V7".
#pragma once

#include <vector>

#include "tests/plain_stencil/tone.h"

namespace kestra::plain_stencil {

/// What the pixels of each row pass on.
using Errors = std::vector<std::vector<float>>;

/// Rows of 0 and 255.
/// @param errors  takes the errors, where they are asked for
Rows diffuse(const Rows& grey, int threshold, Errors* errors = nullptr);

/// Grey page in, rows of 0 and 255 out. The page must have at least one pixel.
Rows tattoo(const Rows& grey);
Rows tattooV7(const Rows& grey);

}  // namespace kestra::plain_stencil
