// Which version of the inner loops runs: the fastest that the processor knows, unless one is
// forced.
//
// A page must give the same dots whatever the processor is; tests force each level in turn.
#pragma once

#include <vector>

namespace kestra {

/// From the slowest to the fastest.
enum class KernelLevel : int {
  kPlain = 0,     ///< plain C++, no vector instructions asked for
  kBaseline = 1,  ///< vectors that every processor of the architecture has (SSE2, NEON)
  kAvx2 = 2,      ///< vectors of 32 bytes, x86-64 only
};

/// The level of every kernel call from now on: what `forceKernelLevel` said last; else the level
/// that the environment variable KESTRA_KERNELS names ("plain", "baseline" or "avx2", where this
/// processor has it); else the best of this processor.
KernelLevel kernelLevel();

/// For tests and measurements. A level that this processor does not have becomes its best one.
void forceKernelLevel(KernelLevel level);

/// The levels that this processor has, `kPlain` first.
std::vector<KernelLevel> kernelLevels();

/// "plain", "baseline" or "avx2".
const char* kernelLevelName(KernelLevel level);

}  // namespace kestra
