// Runs a piece of a test with each version of the inner loops that this processor has.
// Why: a page must come out the same on every machine.
#pragma once

#include <gtest/gtest.h>

#include "imaging/kernels/cpu.h"

namespace kestra {

/// Forces a version until the end of the scope.
class ForcedVersion {
 public:
  explicit ForcedVersion(KernelVersion version) : before_(kernelVersion()) {
    forceKernelVersion(version);
  }
  ~ForcedVersion() { forceKernelVersion(before_); }
  ForcedVersion(const ForcedVersion&) = delete;
  ForcedVersion& operator=(const ForcedVersion&) = delete;

 private:
  KernelVersion before_;
};

/// Calls `piece` with each version forced, `kPlain` first; messages name it.
template <typename Piece>
void inEveryVersion(const Piece& piece) {
  for (const KernelVersion version : kernelVersions()) {
    const ForcedVersion forced(version);
    SCOPED_TRACE(kernelVersionName(version));
    piece();
  }
}

}  // namespace kestra
