// Compares whole vectors of pixels with the repeating thresholds of their row; packs and counts 64
// dots at a time.
#include "imaging/kernels/dots.h"
#include "imaging/kernels/lanes.h"

namespace kestra::KESTRA_VERSION {
namespace {

// All pixels are read before the first bit is written, which may replace one of them.
KESTRA_INLINE void packBlock(const std::uint8_t* pixels, std::uint8_t* bits) {
  Lanes blank[kBlock / kLanes];
  for (std::size_t i = 0; i < kBlock / kLanes; ++i) {
    blank[i] = same(load(pixels + i * kLanes), zeros());
  }
  const std::uint64_t dots = ~toBits(blank);
  std::memcpy(bits, &dots, sizeof dots);
}

// The bits of a word, added up pairwise, then by fours, then by bytes.
KESTRA_INLINE std::uint64_t countWord(std::uint64_t word) {
#if defined(__POPCNT__) || defined(__aarch64__)
  return static_cast<std::uint64_t>(__builtin_popcountll(word));
#else
  constexpr std::uint64_t kPairs = 0x3333333333333333U;
  word -= (word >> 1) & 0x5555555555555555U;
  word = (word & kPairs) + ((word >> 2) & kPairs);
  word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0FU;
  return (word * 0x0101010101010101U) >> 56;
#endif
}

}  // namespace

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

void packDots(const std::uint8_t* pixels, std::size_t count, std::uint8_t* bits) {
  std::size_t x = 0;
  for (; x + kBlock <= count; x += kBlock) packBlock(pixels + x, bits + x / 8);
  if (x == count) return;
  std::uint8_t rest[kBlock] = {};
  std::uint8_t restBits[kBlock / 8];
  std::memcpy(rest, pixels + x, count - x);
  packBlock(rest, restBits);
  std::memcpy(bits + x / 8, restBits, (count - x + 7) / 8);
}

std::uint64_t countDots(const std::uint8_t* bits, std::size_t size) {
  std::uint64_t count = 0;
  std::uint64_t word = 0;
  std::size_t i = 0;
  for (; i + sizeof word <= size; i += sizeof word) {
    std::memcpy(&word, bits + i, sizeof word);
    count += countWord(word);
  }
  if (i == size) return count;
  word = 0;
  std::memcpy(&word, bits + i, size - i);
  return count + countWord(word);
}

}  // namespace kestra::KESTRA_VERSION
