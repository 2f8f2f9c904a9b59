// Chooses the version of tables and turned rows, and holds the plain one.
#include "imaging/kernels/level_rows.h"

#include "imaging/kernels/level_rows_levels.h"

namespace kestra {
namespace {

void lookUpPlain(const std::uint8_t* table, std::uint8_t* levels, std::size_t count) {
  for (std::size_t x = 0; x < count; ++x) levels[x] = table[levels[x]];
}

void reversePlain(std::uint8_t* levels, std::size_t count) {
  for (std::size_t left = 0, right = count; left + 1 < right; ++left) {
    --right;
    const std::uint8_t level = levels[left];
    levels[left] = levels[right];
    levels[right] = level;
  }
}

}  // namespace

LevelRowKernels levelRowKernels(KernelLevel level) {
#if defined(__x86_64__)
  if (level == KernelLevel::kAvx2) return {avx2::lookUpLevels, avx2::reverseLevels};
#endif
  if (level == KernelLevel::kPlain) return {lookUpPlain, reversePlain};
  return {baseline::lookUpLevels, baseline::reverseLevels};
}

void lookUpLevels(const std::uint8_t* table, std::uint8_t* levels, std::size_t count) {
  levelRowKernels(kernelLevel()).lookUp(table, levels, count);
}

void reverseLevels(std::uint8_t* levels, std::size_t count) {
  levelRowKernels(kernelLevel()).reverse(levels, count);
}

}  // namespace kestra
