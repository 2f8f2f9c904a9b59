// Counts and replaces eight pixels per memory access; neighbours are counted in tables of their
// own, as a page is full of runs of one level and a counter must not wait for its own last step.
#include "imaging/kernels/histogram.h"

#include <array>
#include <cstring>

#include "imaging/kernels/level.h"

namespace kestra {
namespace {

constexpr std::size_t kAtOnce = 8;
constexpr std::size_t kTables = 4;
constexpr std::size_t kLevels = 256;

std::uint64_t loadEight(const unsigned char* from) {
  std::uint64_t eight = 0;
  std::memcpy(&eight, from, sizeof eight);
  return eight;
}

// The byte that stands at `place` in memory on processors that store the low byte first; on others
// the order is the opposite one, both ways.
std::size_t byteAt(std::uint64_t eight, unsigned place) {
  return static_cast<std::size_t>(eight >> (8 * place)) & 0xFF;
}

}  // namespace

void countLevels(const unsigned char* pixels, std::size_t count, std::uint32_t counts[256]) {
  std::size_t i = 0;
  if (kernelLevel() != KernelLevel::kPlain) {
    std::array<std::array<std::uint32_t, kLevels>, kTables> tables = {};
    for (; i + kAtOnce <= count; i += kAtOnce) {
      const std::uint64_t eight = loadEight(pixels + i);
      for (unsigned place = 0; place < kAtOnce; ++place) {
        ++tables[place % kTables][byteAt(eight, place)];
      }
    }
    for (const auto& table : tables) {
      for (std::size_t level = 0; level < kLevels; ++level) counts[level] += table[level];
    }
  }
  for (; i < count; ++i) ++counts[pixels[i]];
}

void mapLevels(const unsigned char* pixels, const std::uint8_t table[256], unsigned char* out,
               std::size_t count) {
  std::size_t i = 0;
  if (kernelLevel() != KernelLevel::kPlain) {
    for (; i + kAtOnce <= count; i += kAtOnce) {
      const std::uint64_t eight = loadEight(pixels + i);
      std::uint64_t mapped = 0;
      for (unsigned place = 0; place < kAtOnce; ++place) {
        mapped |= std::uint64_t{table[byteAt(eight, place)]} << (8 * place);
      }
      std::memcpy(out + i, &mapped, sizeof mapped);
    }
  }
  for (; i < count; ++i) out[i] = table[pixels[i]];
}

}  // namespace kestra
