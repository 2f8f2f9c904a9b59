// Matrix dithering, packing and counting as one explains them, and the choice of a faster version.
#include "imaging/kernels/dots.h"

#include "imaging/kernels/cpu.h"

namespace kestra {
namespace {

void ditherPlain(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
                 std::uint8_t* dots) {
  for (std::size_t x = 0; x < count; ++x) dots[x] = levels[x] >= thresholds[x % 4] ? 1 : 0;
}

void packPlain(const std::uint8_t* pixels, std::size_t count, std::uint8_t* bits) {
  unsigned accumulator = 0;
  for (std::size_t x = 0; x < count; ++x) {
    if (pixels[x] != 0) accumulator |= 0x80U >> (x % 8);
    if (x % 8 == 7) {
      *bits++ = static_cast<std::uint8_t>(accumulator);
      accumulator = 0;
    }
  }
  if (count % 8 != 0) *bits = static_cast<std::uint8_t>(accumulator);
}

std::uint64_t countPlain(const std::uint8_t* bits, std::size_t size) {
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < size; ++i) {
    for (unsigned byte = bits[i]; byte != 0; byte &= byte - 1) ++count;
  }
  return count;
}

}  // namespace

void ditherRow(const std::uint8_t* levels, std::size_t count, const std::uint8_t* thresholds,
               std::uint8_t* dots) {
  choose<ditherPlain, baseline::ditherRow, avx2::ditherRow>()(levels, count, thresholds, dots);
}

void packDots(const std::uint8_t* pixels, std::size_t count, std::uint8_t* bits) {
  choose<packPlain, baseline::packDots, avx2::packDots>()(pixels, count, bits);
}

std::uint64_t countDots(const std::uint8_t* bits, std::size_t size) {
  return choose<countPlain, baseline::countDots, avx2::countDots>()(bits, size);
}

}  // namespace kestra
