// The stencil error diffusion and the two chains that end in it.
// Why: these are the dots of the halftones "Tattoo" and "Tattoo_V7".
#pragma once

#include "tests/plain_stencil/tone.h"

namespace kestra::plain_stencil {

/// Rows of 0 and 255.
Rows diffuse(const Rows& grey, int threshold);

/// Grey page in, rows of 0 and 255 out. The page must have at least one pixel.
Rows tattoo(const Rows& grey);
Rows tattooV7(const Rows& grey);

}  // namespace kestra::plain_stencil
