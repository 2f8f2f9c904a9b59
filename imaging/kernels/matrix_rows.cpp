// Chooses the version of matrix dithering, and holds the plain one.
#include "imaging/kernels/matrix_rows.h"

#include "imaging/kernels/matrix_rows_levels.h"

namespace kestra {
namespace {

void toBitsPlain(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                 std::uint8_t* bits) {
  for (std::size_t x = 0; x < count; ++x) {
    if (x % 8 == 0) bits[x / 8] = 0;
    if (levels[x] >= thresholds[x % 4]) {
      bits[x / 8] = static_cast<std::uint8_t>(bits[x / 8] | (0x80U >> (x % 8)));
    }
  }
}

void toBytesPlain(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                  std::uint8_t* dots) {
  for (std::size_t x = 0; x < count; ++x) {
    dots[x] = static_cast<std::uint8_t>(levels[x] >= thresholds[x % 4] ? 1 : 0);
  }
}

}  // namespace

MatrixRowKernels matrixRowKernels(KernelLevel level) {
#if defined(__x86_64__)
  if (level == KernelLevel::kAvx2) return {avx2::ditherRowToBits, avx2::ditherRowToBytes};
#endif
  if (level == KernelLevel::kPlain) return {toBitsPlain, toBytesPlain};
  return {baseline::ditherRowToBits, baseline::ditherRowToBytes};
}

void ditherRowToBits(const std::uint8_t* levels, std::size_t count, const RowThresholds& thresholds,
                     std::uint8_t* bits) {
  matrixRowKernels(kernelLevel()).toBits(levels, count, thresholds.data(), bits);
}

void ditherRowToBytes(const std::uint8_t* levels, std::size_t count,
                      const RowThresholds& thresholds, std::uint8_t* dots) {
  matrixRowKernels(kernelLevel()).toBytes(levels, count, thresholds.data(), dots);
}

}  // namespace kestra
