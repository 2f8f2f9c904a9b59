// Chooses the version of packing, unpacking and counting, and holds the plain one.
#include "imaging/kernels/dot_rows.h"

#include "imaging/kernels/dot_rows_levels.h"

namespace kestra {
namespace {

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

void unpackPlain(const std::uint8_t* bits, std::size_t count, std::uint8_t* pixels) {
  for (std::size_t x = 0; x < count; ++x) {
    const unsigned byte = bits[x / 8];
    pixels[x] = static_cast<std::uint8_t>((byte >> (7 - x % 8)) & 1U);
  }
}

std::uint64_t countPlain(const std::uint8_t* bits, std::size_t size) {
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < size; ++i) {
    for (unsigned byte = bits[i]; byte != 0; byte &= byte - 1) ++count;
  }
  return count;
}

}  // namespace

DotRowKernels dotRowKernels(KernelLevel level) {
#if defined(__x86_64__)
  if (level == KernelLevel::kAvx2) return {avx2::packDots, avx2::unpackDots, avx2::countDots};
#endif
  if (level == KernelLevel::kPlain) return {packPlain, unpackPlain, countPlain};
  return {baseline::packDots, baseline::unpackDots, baseline::countDots};
}

void packDots(const std::uint8_t* pixels, std::size_t count, std::uint8_t* bits) {
  dotRowKernels(kernelLevel()).pack(pixels, count, bits);
}

void unpackDots(const std::uint8_t* bits, std::size_t count, std::uint8_t* pixels) {
  dotRowKernels(kernelLevel()).unpack(bits, count, pixels);
}

std::uint64_t countDots(const std::uint8_t* bits, std::size_t size) {
  return dotRowKernels(kernelLevel()).count(bits, size);
}

}  // namespace kestra
