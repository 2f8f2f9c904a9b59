// Asks the processor what it can do, once, and keeps the version that all loops follow.
#include "imaging/kernels/cpu.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace kestra {
namespace {

KernelVersion bestVersion() {
#if defined(__x86_64__)
  // Asks for the operating system's support of the wide registers, too.
  if (__builtin_cpu_supports("avx2")) return KernelVersion::kAvx2;
#endif
  return KernelVersion::kBaseline;
}

KernelVersion firstVersion() {
  const char* wanted = std::getenv("KESTRA_KERNELS");
  if (wanted != nullptr) {
    for (const KernelVersion version : kernelVersions()) {
      if (std::strcmp(wanted, kernelVersionName(version)) == 0) return version;
    }
  }
  return bestVersion();
}

KernelVersion& currentVersion() {
  static KernelVersion version = firstVersion();
  return version;
}

}  // namespace

KernelVersion kernelVersion() { return currentVersion(); }

void forceKernelVersion(KernelVersion version) {
  currentVersion() = std::min(version, bestVersion());
}

std::vector<KernelVersion> kernelVersions() {
  std::vector<KernelVersion> versions = {KernelVersion::kPlain, KernelVersion::kBaseline};
  if (bestVersion() == KernelVersion::kAvx2) versions.push_back(KernelVersion::kAvx2);
  return versions;
}

const char* kernelVersionName(KernelVersion version) {
  switch (version) {
    case KernelVersion::kPlain:
      return "plain";
    case KernelVersion::kBaseline:
      return "baseline";
    case KernelVersion::kAvx2:
      return "avx2";
  }
  return "unknown";
}

}  // namespace kestra
