// A vector of bytes as wide as the level's registers, one byte for each of as many rows or columns.
//
// The few operations that loops over pixels need, under names that say what they do. Everything is
// static: instances of different levels must not meet in the linker.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__AVX2__)
#include <simde/x86/avx2.h>
#else
#include <simde/x86/sse2.h>
#endif

namespace kestra::KESTRA_LEVEL {
namespace {

#define KESTRA_LANES_FUNCTION [[gnu::always_inline]] inline

#if defined(__AVX2__)
#define KESTRA_LANES(operation) simde_mm256_##operation
#define KESTRA_LANES_WHOLE(operation) simde_mm256_##operation##_si256
using Lanes = simde__m256i;
using LaneBits = std::uint32_t;
#else
#define KESTRA_LANES(operation) simde_mm_##operation
#define KESTRA_LANES_WHOLE(operation) simde_mm_##operation##_si128
using Lanes = simde__m128i;
using LaneBits = std::uint16_t;
#endif

enum : std::size_t { kLanes = sizeof(Lanes) };

KESTRA_LANES_FUNCTION Lanes load(const std::uint8_t* from) {
  Lanes lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

KESTRA_LANES_FUNCTION void store(std::uint8_t* to, Lanes lanes) {
  std::memcpy(to, &lanes, sizeof lanes);
}

KESTRA_LANES_FUNCTION Lanes zeros() { return KESTRA_LANES_WHOLE(setzero)(); }
KESTRA_LANES_FUNCTION Lanes all(unsigned byte) {
  return KESTRA_LANES(set1_epi8)(static_cast<std::int8_t>(byte));
}
KESTRA_LANES_FUNCTION Lanes allWords(unsigned word) {
  return KESTRA_LANES(set1_epi16)(static_cast<std::int16_t>(word));
}

KESTRA_LANES_FUNCTION Lanes both(Lanes a, Lanes b) { return KESTRA_LANES_WHOLE(and)(a, b); }
KESTRA_LANES_FUNCTION Lanes either(Lanes a, Lanes b) { return KESTRA_LANES_WHOLE(or)(a, b); }
KESTRA_LANES_FUNCTION Lanes flipped(Lanes a, Lanes b) { return KESTRA_LANES_WHOLE(xor)(a, b); }

/// `a` where the mask's byte is 0xFF, `b` where it is 0.
KESTRA_LANES_FUNCTION Lanes chosen(Lanes mask, Lanes a, Lanes b) {
#if defined(__AVX2__)
  return simde_mm256_blendv_epi8(b, a, mask);
#else
  return flipped(b, both(flipped(a, b), mask));
#endif
}

/// `a` with its sign turned where the mask's byte is 0xFF; the second form also gives 0 where
/// `kept` is 0.
KESTRA_LANES_FUNCTION Lanes turned(Lanes a, Lanes mask) {
#if defined(__AVX2__)
  return simde_mm256_sign_epi8(a, either(mask, simde_mm256_set1_epi8(1)));
#else
  return simde_mm_sub_epi8(flipped(a, mask), mask);
#endif
}
KESTRA_LANES_FUNCTION Lanes turnedWhere(Lanes a, Lanes mask, Lanes kept) {
#if defined(__AVX2__)
  return simde_mm256_sign_epi8(a, both(either(mask, simde_mm256_set1_epi8(1)), kept));
#else
  return both(turned(a, mask), kept);
#endif
}

/// The sum of signed bytes, clamped to -128..127.
KESTRA_LANES_FUNCTION Lanes plusClamped(Lanes a, Lanes b) { return KESTRA_LANES(adds_epi8)(a, b); }

/// 0xFF where the signed byte `a` is above `b`, else 0.
KESTRA_LANES_FUNCTION Lanes above(Lanes a, Lanes b) { return KESTRA_LANES(cmpgt_epi8)(a, b); }
/// 0xFF where the bytes are the same, else 0.
KESTRA_LANES_FUNCTION Lanes same(Lanes a, Lanes b) { return KESTRA_LANES(cmpeq_epi8)(a, b); }

/// a0 b0 a1 b1 ... of the first and of the second half of each 16 bytes.
KESTRA_LANES_FUNCTION Lanes zipFirst(Lanes a, Lanes b) { return KESTRA_LANES(unpacklo_epi8)(a, b); }
KESTRA_LANES_FUNCTION Lanes zipSecond(Lanes a, Lanes b) {
  return KESTRA_LANES(unpackhi_epi8)(a, b);
}
/// Undoes zipFirst and zipSecond with zeros: words of 0..255 become bytes.
KESTRA_LANES_FUNCTION Lanes unzip(Lanes first, Lanes second) {
  return KESTRA_LANES(packus_epi16)(first, second);
}
/// The upper 16 bits of the products of unsigned words.
KESTRA_LANES_FUNCTION Lanes productHigh(Lanes a, Lanes b) {
  return KESTRA_LANES(mulhi_epu16)(a, b);
}

/// The highest bit of every byte, the first byte's lowest.
KESTRA_LANES_FUNCTION LaneBits highBits(Lanes a) {
  return static_cast<LaneBits>(KESTRA_LANES(movemask_epi8)(a));
}

/// The last four bytes, in memory order.
KESTRA_LANES_FUNCTION void storeLastFour(std::uint8_t* to, Lanes lanes) {
#if defined(__AVX2__)
  const std::int32_t four = simde_mm256_extract_epi32(lanes, 7);
#else
  const std::int32_t four = simde_mm_cvtsi128_si32(simde_mm_shuffle_epi32(lanes, 0xFF));
#endif
  std::memcpy(to, &four, sizeof four);
}

/// 16 rows of 16 bytes, or two such squares side by side, become columns: byte r of out[c] is byte
/// c of row r. Row 16 + r lies in the second half of in[r].
///
/// Zipping rows i and i + 8 turns the 8-bit place of a byte, row and column behind each other,
/// round by one bit; four times exchange row and column.
KESTRA_LANES_FUNCTION void transpose(Lanes (&square)[16]) {
  for (int turn = 0; turn < 4; ++turn) {
    Lanes turned[16];
    for (std::size_t i = 0; i < 8; ++i) {
      turned[2 * i] = zipFirst(square[i], square[i + 8]);
      turned[2 * i + 1] = zipSecond(square[i], square[i + 8]);
    }
    for (std::size_t i = 0; i < 16; ++i) square[i] = turned[i];
  }
}

/// 16 bytes of each of the rows that lie in one vector: rows r and, with 32 lanes, 16 + r.
KESTRA_LANES_FUNCTION Lanes loadRows(const std::uint8_t* const* rows) {
#if defined(__AVX2__)
  simde__m128i first;
  simde__m128i second;
  std::memcpy(&first, rows[0], sizeof first);
  std::memcpy(&second, rows[16], sizeof second);
  return simde_mm256_set_m128i(second, first);
#else
  return load(rows[0]);
#endif
}

}  // namespace
}  // namespace kestra::KESTRA_LEVEL
