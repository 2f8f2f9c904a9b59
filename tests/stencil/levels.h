// Runs a piece of a test with each version of the inner loops that this processor has.
// Why: a stencil must come out the same on every machine.
#pragma once

#include "imaging/kernels/level.h"

namespace kestra {

/// Forces a level until the end of the scope.
class ForcedLevel {
 public:
  explicit ForcedLevel(KernelLevel level) : before_(kernelLevel()) { forceKernelLevel(level); }
  ~ForcedLevel() { forceKernelLevel(before_); }
  ForcedLevel(const ForcedLevel&) = delete;
  ForcedLevel& operator=(const ForcedLevel&) = delete;

 private:
  KernelLevel before_;
};

/// Calls `piece` with each level forced, `kPlain` first.
template <typename Piece>
void atEveryLevel(const Piece& piece) {
  for (const KernelLevel level : kernelLevels()) {
    const ForcedLevel forced(level);
    piece(level);
  }
}

}  // namespace kestra
