// Tables that are a sum become one; of any other table a pixel's entry is looked up, with AVX2
// those of 32 pixels at once. Rows are turned eight pixels at a time from both ends. Neighbours are
// counted in tables of their own, as a page is full of runs of one level and a counter must not
// wait for its own last step.
#include "imaging/kernels/lanes.h"
#include "imaging/kernels/tones.h"

namespace kestra::KESTRA_VERSION {
namespace {

constexpr int kLevels = 256;

KESTRA_INLINE int clampToLevel(int value) { return value < 0 ? 0 : value > 255 ? 255 : value; }

// What a table adds to every level: its first entry, where that is above 0, else its last entry
// less 255. 256 for a table that is no such sum.
KESTRA_INLINE int sumOfTable(const std::uint8_t* table) {
  const int sum = table[0] > 0 ? table[0] : table[kLevels - 1] - (kLevels - 1);
  for (int i = 0; i < kLevels; ++i) {
    if (table[i] != clampToLevel(i + sum)) return kLevels;
  }
  return sum;
}

// Levels that would pass 255 or fall below 0 are first cut to where they just do not.
KESTRA_INLINE void addToLevels(int sum, const std::uint8_t* levels, std::uint8_t* out,
                               std::size_t count) {
  const Lanes lowest = all(static_cast<unsigned>(sum < 0 ? -sum : 0));
  const Lanes highest = all(static_cast<unsigned>(sum > 0 ? kLevels - 1 - sum : kLevels - 1));
  const Lanes sums = all(static_cast<unsigned>(sum & 0xFF));  // sums of bytes wrap: -3 is 253
  std::size_t x = 0;
  for (; x + kLanes <= count; x += kLanes) {
    store(out + x, plus(smaller(larger(load(levels + x), lowest), highest), sums));
  }
  for (; x < count; ++x) out[x] = static_cast<std::uint8_t>(clampToLevel(levels[x] + sum));
}

#if defined(__AVX2__)
// Looks up vectors of levels; the number of pixels done.
//
// A shuffle of bytes is a table of 16 entries, and gives 0 for a place below 0. So places are
// levels less 16 k, for the k-th 16 entries: it takes part where a level is 16 k or above, and all
// of these parts together are the level's entry, as each but the first holds only how its entries
// differ from the part before. As a place is signed, levels from 128 on have eight parts of their
// own.
KESTRA_INLINE std::size_t lookUpVectors(const std::uint8_t* table, const std::uint8_t* levels,
                                        std::uint8_t* out, std::size_t count) {
  constexpr std::size_t kParts = 8;
  Lanes low[kParts];
  Lanes high[kParts];
  for (std::size_t k = 0; k < kParts; ++k) {
    low[k] = twice(table + 16 * k);
    high[k] = twice(table + 128 + 16 * k);
  }
  for (std::size_t k = kParts - 1; k > 0; --k) {
    low[k] = flipped(low[k], low[k - 1]);
    high[k] = flipped(high[k], high[k - 1]);
  }
  std::size_t x = 0;
  for (; x + kLanes <= count; x += kLanes) {
    Lanes lowPlaces = load(levels + x);
    Lanes highPlaces = flipped(lowPlaces, all(128));
    Lanes entries = zeros();
    for (std::size_t k = 0; k < kParts; ++k) {
      const Lanes part = flipped(shuffled(low[k], lowPlaces), shuffled(high[k], highPlaces));
      entries = flipped(entries, part);
      lowPlaces = plusClamped(lowPlaces, all(256 - 16));
      highPlaces = plusClamped(highPlaces, all(256 - 16));
    }
    store(out + x, entries);
  }
  return x;
}
#endif

KESTRA_INLINE std::uint64_t loadEight(const std::uint8_t* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

}  // namespace

void lookUpLevels(const std::uint8_t* table, const std::uint8_t* levels, std::uint8_t* out,
                  std::size_t count) {
  // Looking at the table takes as long as looking up a few hundred pixels.
  constexpr std::size_t kWorthIt = 1024;
  const int sum = count < kWorthIt ? kLevels : sumOfTable(table);
  if (sum != kLevels) {
    addToLevels(sum, levels, out, count);
    return;
  }
#if defined(__AVX2__)
  const std::size_t done = lookUpVectors(table, levels, out, count);
  levels += done;
  out += done;
  count -= done;
#endif
  // Eight at a time, so that no entry waits for the byte before it to be stored.
  for (const std::uint8_t* end = levels + count / 8 * 8; levels != end; levels += 8, out += 8) {
    std::uint8_t entries[8];
    for (std::size_t i = 0; i < 8; ++i) entries[i] = table[levels[i]];
    std::memcpy(out, entries, sizeof entries);
  }
  for (std::size_t x = 0; x < count % 8; ++x) out[x] = table[levels[x]];
}

void reverseLevels(std::uint8_t* levels, std::size_t count) {
  std::size_t left = 0;
  std::size_t right = count;
  for (; left + 16 <= right; left += 8) {
    right -= 8;
    const std::uint64_t first = __builtin_bswap64(loadEight(levels + left));
    const std::uint64_t last = __builtin_bswap64(loadEight(levels + right));
    std::memcpy(levels + left, &last, sizeof last);
    std::memcpy(levels + right, &first, sizeof first);
  }
  for (; left + 1 < right; ++left) {
    --right;
    const std::uint8_t level = levels[left];
    levels[left] = levels[right];
    levels[right] = level;
  }
}

void countLevels(const std::uint8_t* levels, std::size_t count, std::uint32_t counts[256]) {
  constexpr std::size_t kTables = 4;
  std::uint32_t tables[kTables][kLevels] = {};
  std::size_t i = 0;
  for (; i + 8 <= count; i += 8) {
    // In which order a processor stores bytes does not matter here.
    std::uint64_t eight = loadEight(levels + i);
    for (std::size_t place = 0; place < 8; ++place, eight >>= 8) {
      ++tables[place % kTables][eight & 0xFF];
    }
  }
  for (; i < count; ++i) ++tables[0][levels[i]];
  for (const auto& table : tables) {
    for (std::size_t level = 0; level < kLevels; ++level) counts[level] += table[level];
  }
}

}  // namespace kestra::KESTRA_VERSION
