// Which version of the inner loops runs: the fastest that the processor knows, unless one is
// forced.
//
// A page must give the same dots whatever the processor is; tests force each version in turn.
#pragma once

#include <vector>

namespace kestra {

/// From the slowest to the fastest.
enum class KernelVersion : int {
  kPlain = 0,     ///< the rule itself, a pixel at a time, no vector instructions asked for
  kBaseline = 1,  ///< vectors that every processor of the architecture has (SSE2, NEON)
  kAvx2 = 2,      ///< vectors of 32 bytes, x86-64 only
};

/// The version of every loop from now on: what `forceKernelVersion` said last; else the one that
/// the environment variable KESTRA_KERNELS names ("plain", "baseline" or "avx2", where this
/// processor has it); else the best of this processor.
KernelVersion kernelVersion();

/// For tests and measurements. A version that this processor does not have becomes its best one.
void forceKernelVersion(KernelVersion version);

/// The versions that this processor has, `kPlain` first.
std::vector<KernelVersion> kernelVersions();

/// "plain", "baseline" or "avx2".
const char* kernelVersionName(KernelVersion version);

/// One of three functions, by the version of now. The last one need not exist where the processor
/// is no x86-64.
template <auto* kPlain, decltype(kPlain) kBaseline, decltype(kPlain) kAvx2>
auto* choose() {
  switch (kernelVersion()) {
    case KernelVersion::kPlain:
      return kPlain;
    case KernelVersion::kAvx2:
#if defined(__x86_64__)
      return kAvx2;
#endif
    case KernelVersion::kBaseline:
      break;
  }
  return kBaseline;
}

}  // namespace kestra
