// Tables, turned rows and counts as one explains them, and the choice of a faster version.
#include "imaging/kernels/tones.h"

#include <algorithm>

#include "imaging/kernels/cpu.h"

namespace kestra {
namespace {

void lookUpPlain(const std::uint8_t* table, const std::uint8_t* levels, std::uint8_t* out,
                 std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out[i] = table[levels[i]];
}

void reversePlain(std::uint8_t* levels, std::size_t count) { std::reverse(levels, levels + count); }

void countPlain(const std::uint8_t* levels, std::size_t count, std::uint32_t counts[256]) {
  for (std::size_t i = 0; i < count; ++i) ++counts[levels[i]];
}

}  // namespace

void lookUpLevels(const std::uint8_t* table, const std::uint8_t* levels, std::uint8_t* out,
                  std::size_t count) {
  choose<lookUpPlain, baseline::lookUpLevels, avx2::lookUpLevels>()(table, levels, out, count);
}

void reverseLevels(std::uint8_t* levels, std::size_t count) {
  choose<reversePlain, baseline::reverseLevels, avx2::reverseLevels>()(levels, count);
}

void countLevels(const std::uint8_t* levels, std::size_t count, std::uint32_t counts[256]) {
  choose<countPlain, baseline::countLevels, avx2::countLevels>()(levels, count, counts);
}

}  // namespace kestra
