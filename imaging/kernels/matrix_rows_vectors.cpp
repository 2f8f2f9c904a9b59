// Compares whole vectors of pixels with the repeating thresholds of their row.
#include "imaging/kernels/dot_lanes.h"
#include "imaging/kernels/matrix_rows_levels.h"

namespace kestra::KESTRA_LEVEL {
namespace {

KESTRA_INLINE Lanes repeated(const std::uint8_t* thresholds) {
  std::uint8_t bytes[kLanes];
  for (std::size_t i = 0; i < kLanes; ++i) bytes[i] = thresholds[i % 4];
  return loadLanes(bytes);
}

KESTRA_INLINE Lanes isWhite(Lanes levels, Lanes thresholds) {
  return reinterpret_cast<Lanes>(levels >= thresholds);
}

KESTRA_INLINE void ditherBlock(const std::uint8_t* levels, Lanes thresholds, std::uint8_t* bits) {
  Lanes masks[kVectors];
  for (std::size_t i = 0; i < kVectors; ++i) {
    masks[i] = isWhite(loadLanes(levels + i * kLanes), thresholds);
  }
  storeBits(masks, bits);
}

}  // namespace

void ditherRowToBits(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                     std::uint8_t* bits) {
  const Lanes columns = repeated(thresholds);
  std::size_t x = 0;
  for (; x + kBlock <= count; x += kBlock) ditherBlock(levels + x, columns, bits + x / 8);
  if (x == count) return;
  std::uint8_t rest[kBlock] = {};  // level 0 is black at every threshold
  std::uint8_t restBits[kBlock / 8];
  std::memcpy(rest, levels + x, count - x);
  ditherBlock(rest, columns, restBits);
  std::memcpy(bits + x / 8, restBits, (count - x + 7) / 8);
}

void ditherRowToBytes(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                      std::uint8_t* dots) {
  const Lanes columns = repeated(thresholds);
  std::size_t x = 0;
  for (; x + kLanes <= count; x += kLanes) {
    storeLanes(dots + x, isWhite(loadLanes(levels + x), columns) & 1);
  }
  for (; x < count; ++x) {
    dots[x] = static_cast<std::uint8_t>(levels[x] >= thresholds[x % 4] ? 1 : 0);
  }
}

}  // namespace kestra::KESTRA_LEVEL
