// Matrix dithering as one explains it, and the choice of a faster version.
#include "imaging/kernels/matrix.h"

#include "imaging/kernels/cpu.h"

namespace kestra {
namespace {

void ditherPlain(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                 std::uint8_t* dots) {
  for (std::size_t x = 0; x < count; ++x) dots[x] = levels[x] >= thresholds[x % 4] ? 1 : 0;
}

}  // namespace

void ditherRow(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
               std::uint8_t* dots) {
  choose<ditherPlain, baseline::ditherRow, avx2::ditherRow>()(levels, count, thresholds, dots);
}

}  // namespace kestra
