// Asks the processor what it can do, once, and keeps the level that all kernels follow.
#include "imaging/kernels/level.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace kestra {
namespace {

KernelLevel bestLevel() {
#if defined(__x86_64__)
  // Asks for the operating system's support of the wide registers, too.
  if (__builtin_cpu_supports("avx2")) return KernelLevel::kAvx2;
#endif
  return KernelLevel::kBaseline;
}

KernelLevel firstLevel() {
  const char* wanted = std::getenv("KESTRA_KERNELS");
  const KernelLevel best = bestLevel();
  if (wanted == nullptr) return best;
  for (const KernelLevel level : kernelLevels()) {
    if (std::strcmp(wanted, kernelLevelName(level)) == 0) return level;
  }
  return best;
}

std::atomic<KernelLevel>& currentLevel() {
  static std::atomic<KernelLevel> level{firstLevel()};
  return level;
}

}  // namespace

KernelLevel kernelLevel() { return currentLevel().load(std::memory_order_relaxed); }

void forceKernelLevel(KernelLevel level) {
  currentLevel().store(std::min(level, bestLevel()), std::memory_order_relaxed);
}

std::vector<KernelLevel> kernelLevels() {
  std::vector<KernelLevel> levels = {KernelLevel::kPlain, KernelLevel::kBaseline};
  if (bestLevel() == KernelLevel::kAvx2) levels.push_back(KernelLevel::kAvx2);
  return levels;
}

const char* kernelLevelName(KernelLevel level) {
  switch (level) {
    case KernelLevel::kPlain:
      return "plain";
    case KernelLevel::kBaseline:
      return "baseline";
    case KernelLevel::kAvx2:
      return "avx2";
  }
  return "unknown";
}

}  // namespace kestra
