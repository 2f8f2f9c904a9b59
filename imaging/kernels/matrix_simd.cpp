// Compares whole vectors of pixels with the repeating thresholds of their row.
#include "imaging/kernels/lanes.h"
#include "imaging/kernels/matrix.h"

namespace kestra::KESTRA_VERSION {

void ditherRow(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
               std::uint8_t* dots) {
  const Lanes least = allInts(loadAs<std::int32_t>(thresholds));
  const Lanes one = all(1);
  std::size_t x = 0;
  for (; x + kLanes <= count; x += kLanes) {
    store(dots + x, both(atLeast(load(levels + x), least), one));
  }
  for (; x < count; ++x) dots[x] = levels[x] >= thresholds[x % 4] ? 1 : 0;
}

}  // namespace kestra::KESTRA_VERSION
