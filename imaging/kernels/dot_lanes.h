// Vectors of pixels and the step from a vector to bits, for the level files that make dots.
//
// Everything here is inlined into the level that includes it: no function of one instruction set
// may stand in for that of another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#define KESTRA_INLINE static inline __attribute__((always_inline))

namespace kestra::KESTRA_LEVEL {
namespace {

#if defined(__AVX2__)
typedef std::uint8_t Lanes __attribute__((vector_size(32)));
#else
typedef std::uint8_t Lanes __attribute__((vector_size(16)));
#endif

// No variables, of which every file would hold its own.
enum Widths : std::size_t {
  kLanes = sizeof(Lanes),
  kBlock = 64,  // pixels whose bits make one 64-bit word
  kVectors = kBlock / kLanes,
};

KESTRA_INLINE Lanes loadLanes(const std::uint8_t* bytes) {
  Lanes lanes;
  std::memcpy(&lanes, bytes, sizeof lanes);
  return lanes;
}

KESTRA_INLINE void storeLanes(std::uint8_t* bytes, Lanes lanes) {
  std::memcpy(bytes, &lanes, sizeof lanes);
}

/// Each byte of `word` with its bits in the opposite order.
KESTRA_INLINE std::uint64_t mirrorBytes(std::uint64_t word) {
  constexpr std::uint64_t kOdd = 0x5555555555555555U;
  constexpr std::uint64_t kPairs = 0x3333333333333333U;
  constexpr std::uint64_t kNibbles = 0x0F0F0F0F0F0F0F0FU;
  word = ((word & kOdd) << 1) | ((word >> 1) & kOdd);
  word = ((word & kPairs) << 2) | ((word >> 2) & kPairs);
  return ((word & kNibbles) << 4) | ((word >> 4) & kNibbles);
}

/// Writes the 8 bytes of dots of 64 pixels, the leftmost the highest bit of the first byte.
/// @param masks  a byte per pixel, 0xFF for a dot and 0 for none
KESTRA_INLINE void storeBits(const Lanes (&masks)[kVectors], std::uint8_t* bits) {
#if defined(__AVX2__)
  const __m256i backwards = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8,
                                             7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
  for (std::size_t i = 0; i < kVectors; ++i) {
    const __m256i turned =
        _mm256_shuffle_epi8(reinterpret_cast<const __m256i&>(masks[i]), backwards);
    const auto word = static_cast<std::uint32_t>(_mm256_movemask_epi8(turned));
    std::memcpy(bits + i * sizeof word, &word, sizeof word);
  }
#elif defined(__x86_64__)
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < kVectors; ++i) {
    const int mask = _mm_movemask_epi8(reinterpret_cast<const __m128i&>(masks[i]));
    word |= static_cast<std::uint64_t>(static_cast<std::uint32_t>(mask)) << (i * kLanes);
  }
  word = mirrorBytes(word);
  std::memcpy(bits, &word, sizeof word);
#else
  // One bit of each of 8 bytes, moved by one product to the highest byte: bit 8i to bit 63 - i.
  std::uint8_t pixels[kBlock];
  for (std::size_t i = 0; i < kVectors; ++i) storeLanes(pixels + i * kLanes, masks[i]);
  for (std::size_t i = 0; i < kBlock / 8; ++i) {
    std::uint64_t word = 0;
    for (std::size_t k = 0; k < 8; ++k) {
      word |= static_cast<std::uint64_t>(pixels[8 * i + k] & 1U) << (8 * k);
    }
    bits[i] = static_cast<std::uint8_t>((word * 0x8040201008040201U) >> 56);
  }
#endif
}

}  // namespace
}  // namespace kestra::KESTRA_LEVEL
