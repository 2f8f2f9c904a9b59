// Error diffusion in plain C++, four rows at a time: what runs where no vector instructions may.
#pragma once

#include "imaging/kernels/diffusion.h"

namespace kestra {

/// The loop of level `plain`.
DiffusionLoop diffuseRows;

}  // namespace kestra
