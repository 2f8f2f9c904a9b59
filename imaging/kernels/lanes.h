// The one vocabulary of the fast loops: a vector as wide as the version's registers, of bytes,
// words, whole numbers or floats, one for each of as many rows or columns.
//
// The few operations that loops over pixels need, under names that say what they do. Everything is
// static: versions must not meet in the linker.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__AVX2__)
#include <simde/x86/avx2.h>
#else
#include <simde/x86/sse2.h>
#endif

namespace kestra::KESTRA_VERSION {
namespace {

#define KESTRA_INLINE [[gnu::always_inline]] inline

// --- Bytes ---

#if defined(__AVX2__)
#define KESTRA_LANES(operation) simde_mm256_##operation
#define KESTRA_LANES_WHOLE(operation) simde_mm256_##operation##_si256
using Lanes = simde__m256i;
#else
#define KESTRA_LANES(operation) simde_mm_##operation
#define KESTRA_LANES_WHOLE(operation) simde_mm_##operation##_si128
using Lanes = simde__m128i;
#endif
using LaneBits = std::uint32_t;  // one for each lane, of which there may be fewer

// No variables, of which every file would hold its own.
enum : std::size_t {
  kLanes = sizeof(Lanes),
  kBlock = 64,  // pixels whose bits make one 64-bit word
};

KESTRA_INLINE Lanes load(const std::uint8_t* from) {
  Lanes lanes;
  std::memcpy(&lanes, from, sizeof lanes);
  return lanes;
}

KESTRA_INLINE void store(std::uint8_t* to, Lanes lanes) { std::memcpy(to, &lanes, sizeof lanes); }

KESTRA_INLINE Lanes zeros() { return KESTRA_LANES_WHOLE(setzero)(); }
KESTRA_INLINE Lanes all(unsigned byte) {
  return KESTRA_LANES(set1_epi8)(static_cast<std::int8_t>(byte));
}

KESTRA_INLINE Lanes both(Lanes a, Lanes b) { return KESTRA_LANES_WHOLE(and)(a, b); }
KESTRA_INLINE Lanes either(Lanes a, Lanes b) { return KESTRA_LANES_WHOLE(or)(a, b); }
KESTRA_INLINE Lanes flipped(Lanes a, Lanes b) { return KESTRA_LANES_WHOLE(xor)(a, b); }

/// `a` where the mask's byte is 0xFF, `b` where it is 0.
KESTRA_INLINE Lanes chosen(Lanes mask, Lanes a, Lanes b) {
#if defined(__AVX2__)
  return simde_mm256_blendv_epi8(b, a, mask);
#else
  return flipped(b, both(flipped(a, b), mask));
#endif
}

/// `a` with its sign turned where the mask's byte is 0xFF; the second form also gives 0 where
/// `kept` is 0.
KESTRA_INLINE Lanes turned(Lanes a, Lanes mask) {
#if defined(__AVX2__)
  return simde_mm256_sign_epi8(a, either(mask, simde_mm256_set1_epi8(1)));
#else
  return simde_mm_sub_epi8(flipped(a, mask), mask);
#endif
}
KESTRA_INLINE Lanes turnedWhere(Lanes a, Lanes mask, Lanes kept) {
#if defined(__AVX2__)
  return simde_mm256_sign_epi8(a, both(either(mask, simde_mm256_set1_epi8(1)), kept));
#else
  return both(turned(a, mask), kept);
#endif
}

/// The lower 8 bits of the sums.
KESTRA_INLINE Lanes plus(Lanes a, Lanes b) { return KESTRA_LANES(add_epi8)(a, b); }
/// The sum of signed bytes, clamped to -128..127.
KESTRA_INLINE Lanes plusClamped(Lanes a, Lanes b) { return KESTRA_LANES(adds_epi8)(a, b); }

/// 0xFF where the signed byte `a` is above `b`, else 0.
KESTRA_INLINE Lanes above(Lanes a, Lanes b) { return KESTRA_LANES(cmpgt_epi8)(a, b); }
/// 0xFF where the bytes are the same, else 0.
KESTRA_INLINE Lanes same(Lanes a, Lanes b) { return KESTRA_LANES(cmpeq_epi8)(a, b); }
/// Of each pair of unsigned bytes the larger or the smaller one.
KESTRA_INLINE Lanes larger(Lanes a, Lanes b) { return KESTRA_LANES(max_epu8)(a, b); }
KESTRA_INLINE Lanes smaller(Lanes a, Lanes b) { return KESTRA_LANES(min_epu8)(a, b); }
/// 0xFF where the unsigned byte `a` is `b` or above, else 0.
KESTRA_INLINE Lanes atLeast(Lanes a, Lanes b) { return same(smaller(a, b), b); }

#if defined(__AVX2__)
/// 16 bytes as both halves.
KESTRA_INLINE Lanes twice(const std::uint8_t* from) {
  simde__m128i half;
  std::memcpy(&half, from, sizeof half);
  return simde_mm256_broadcastsi128_si256(half);
}
/// In each half the bytes of `a` at the places 0 to 15; 0 where the place is a byte below 0.
KESTRA_INLINE Lanes shuffled(Lanes a, Lanes places) { return simde_mm256_shuffle_epi8(a, places); }
#endif

/// a0 b0 a1 b1 ... of the first and of the second half of each 16 bytes.
KESTRA_INLINE Lanes zipFirst(Lanes a, Lanes b) { return KESTRA_LANES(unpacklo_epi8)(a, b); }
KESTRA_INLINE Lanes zipSecond(Lanes a, Lanes b) { return KESTRA_LANES(unpackhi_epi8)(a, b); }
/// Undoes zipFirst and zipSecond with zeros: words of 0..255 become bytes.
KESTRA_INLINE Lanes unzip(Lanes first, Lanes second) {
  return KESTRA_LANES(packus_epi16)(first, second);
}

/// The highest bit of every byte, the first byte's lowest.
KESTRA_INLINE LaneBits highBits(Lanes a) {
  return static_cast<LaneBits>(KESTRA_LANES(movemask_epi8)(a));
}

/// The highest bits of 64 bytes as dots in memory: the first byte's is the highest of the first.
KESTRA_INLINE std::uint64_t toBits(const Lanes (&bytes)[kBlock / kLanes]) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < kBlock / kLanes; ++i) {
#if defined(__AVX2__)
    const Lanes backwards =
        simde_mm256_set_epi8(8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4, 5, 6, 7,  //
                             8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4, 5, 6, 7);
    const LaneBits bits = highBits(shuffled(bytes[i], backwards));
#else
    const LaneBits bits = highBits(bytes[i]);
#endif
    word |= std::uint64_t{bits} << (i * kLanes);
  }
#if !defined(__AVX2__)
  // Each byte of the word with its bits in the opposite order: neighbours, pairs, fours change
  // places.
  constexpr std::uint64_t kOdd = 0x5555555555555555U;
  constexpr std::uint64_t kPairs = 0x3333333333333333U;
  constexpr std::uint64_t kFours = 0x0F0F0F0F0F0F0F0FU;
  word = ((word & kOdd) << 1) | ((word >> 1) & kOdd);
  word = ((word & kPairs) << 2) | ((word >> 2) & kPairs);
  word = ((word & kFours) << 4) | ((word >> 4) & kFours);
#endif
  return word;
}

/// The last four bytes, in memory order.
KESTRA_INLINE void storeLastFour(std::uint8_t* to, Lanes lanes) {
#if defined(__AVX2__)
  const std::int32_t four = simde_mm256_extract_epi32(lanes, 7);
#else
  const std::int32_t four = simde_mm_cvtsi128_si32(simde_mm_shuffle_epi32(lanes, 0xFF));
#endif
  std::memcpy(to, &four, sizeof four);
}

/// 16 bytes, whatever the version.
using Sixteen = simde__m128i;

#if defined(__AVX2__)
KESTRA_INLINE Sixteen zipFirst(Sixteen a, Sixteen b) { return simde_mm_unpacklo_epi8(a, b); }
KESTRA_INLINE Sixteen zipSecond(Sixteen a, Sixteen b) { return simde_mm_unpackhi_epi8(a, b); }
KESTRA_INLINE Sixteen both(Sixteen a, Sixteen b) { return simde_mm_and_si128(a, b); }
KESTRA_INLINE Sixteen same(Sixteen a, Sixteen b) { return simde_mm_cmpeq_epi8(a, b); }
#endif
KESTRA_INLINE Sixteen allSixteen(unsigned byte) {
  return simde_mm_set1_epi8(static_cast<std::int8_t>(byte));
}

/// 16 rows of 16 bytes, or two such squares side by side, become columns: byte r of out[c] is byte
/// c of row r. Row 16 + r lies in the second half of in[r].
///
/// Zipping rows i and i + 8 turns the 8-bit place of a byte, row and column behind each other,
/// round by one bit; four times exchange row and column.
template <typename Vector>
KESTRA_INLINE void transpose(Vector (&square)[16]) {
  for (int turn = 0; turn < 4; ++turn) {
    Vector turned[16];
    for (std::size_t i = 0; i < 8; ++i) {
      turned[2 * i] = zipFirst(square[i], square[i + 8]);
      turned[2 * i + 1] = zipSecond(square[i], square[i + 8]);
    }
    for (std::size_t i = 0; i < 16; ++i) square[i] = turned[i];
  }
}

/// 16 bytes of each of the rows that lie in one vector: rows r and, with 32 lanes, 16 + r.
KESTRA_INLINE Lanes loadRows(const std::uint8_t* const* rows) {
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

// --- Words of 16 bits, half as many as bytes; first and second halves are those of zipFirst ---

KESTRA_INLINE Lanes allWords(unsigned word) {
  return KESTRA_LANES(set1_epi16)(static_cast<std::int16_t>(word));
}
KESTRA_INLINE Lanes firstWords(Lanes bytes) { return zipFirst(bytes, zeros()); }
KESTRA_INLINE Lanes secondWords(Lanes bytes) { return zipSecond(bytes, zeros()); }
KESTRA_INLINE Lanes addWords(Lanes a, Lanes b) { return KESTRA_LANES(add_epi16)(a, b); }
KESTRA_INLINE Lanes subWords(Lanes a, Lanes b) { return KESTRA_LANES(sub_epi16)(a, b); }
KESTRA_INLINE Lanes fourTimes(Lanes words) { return KESTRA_LANES(slli_epi16)(words, 2); }
/// The upper 16 bits of the products of unsigned words.
KESTRA_INLINE Lanes productHigh(Lanes a, Lanes b) { return KESTRA_LANES(mulhi_epu16)(a, b); }

/// The words of a + b.
KESTRA_INLINE Lanes firstTotals(Lanes a, Lanes b) {
#if defined(__AVX2__)
  return simde_mm256_maddubs_epi16(zipFirst(a, b), all(1));
#else
  return addWords(firstWords(a), firstWords(b));
#endif
}
KESTRA_INLINE Lanes secondTotals(Lanes a, Lanes b) {
#if defined(__AVX2__)
  return simde_mm256_maddubs_epi16(zipSecond(a, b), all(1));
#else
  return addWords(secondWords(a), secondWords(b));
#endif
}

// --- Whole numbers of 32 bits, a quarter as many as bytes ---

KESTRA_INLINE Lanes allInts(int value) { return KESTRA_LANES(set1_epi32)(value); }
KESTRA_INLINE Lanes firstPairs(Lanes a, Lanes b) { return KESTRA_LANES(unpacklo_epi16)(a, b); }
KESTRA_INLINE Lanes secondPairs(Lanes a, Lanes b) { return KESTRA_LANES(unpackhi_epi16)(a, b); }
/// a0 * b0 + a1 * b1, a2 * b2 + a3 * b3, ... of words.
KESTRA_INLINE Lanes sumsOfProducts(Lanes a, Lanes b) { return KESTRA_LANES(madd_epi16)(a, b); }
KESTRA_INLINE Lanes addInts(Lanes a, Lanes b) { return KESTRA_LANES(add_epi32)(a, b); }
/// All bits set where the numbers are the same.
KESTRA_INLINE Lanes sameInts(Lanes a, Lanes b) { return KESTRA_LANES(cmpeq_epi32)(a, b); }
/// Without the lowest `kBits` bits, rounded down.
template <int kBits>
KESTRA_INLINE Lanes cutInts(Lanes a) {
  return KESTRA_LANES(srai_epi32)(a, kBits);
}
/// Numbers that fit become words.
KESTRA_INLINE Lanes toWords(Lanes first, Lanes second) {
  return KESTRA_LANES(packs_epi32)(first, second);
}

// --- Floats, a quarter as many as bytes, with the language's own operators ---

using Floats = float __attribute__((vector_size(sizeof(Lanes))));
using Ints = std::int32_t __attribute__((vector_size(sizeof(Lanes))));
enum : std::size_t { kFloats = kLanes / sizeof(float) };

template <typename Vector, typename Element>
KESTRA_INLINE Vector loadAs(const Element* from) {
  Vector vector;
  std::memcpy(&vector, from, sizeof vector);
  return vector;
}
template <typename Vector, typename Element>
KESTRA_INLINE void storeAs(Element* to, const Vector& vector) {
  std::memcpy(to, &vector, sizeof vector);
}

KESTRA_INLINE Floats allFloats(float value) { return value - Floats{}; }

/// Bytes as numbers.
KESTRA_INLINE Floats loadFloats(const std::uint8_t* from) {
#if defined(__AVX2__)
  const Lanes ints =
      simde_mm256_cvtepu8_epi32(simde_mm_loadl_epi64(reinterpret_cast<const simde__m128i*>(from)));
  return reinterpret_cast<Floats>(simde_mm256_cvtepi32_ps(ints));
#else
  const Lanes bytes = simde_mm_cvtsi32_si128(loadAs<std::int32_t>(from));
  const Lanes ints = firstPairs(firstWords(bytes), zeros());
  return reinterpret_cast<Floats>(simde_mm_cvtepi32_ps(ints));
#endif
}

/// The highest bit of every number, the first number's lowest.
KESTRA_INLINE std::uint32_t highBits(const Ints& a) {
#if defined(__AVX2__)
  return static_cast<std::uint32_t>(simde_mm256_movemask_ps(reinterpret_cast<simde__m256>(a)));
#else
  return static_cast<std::uint32_t>(simde_mm_movemask_ps(reinterpret_cast<simde__m128>(a)));
#endif
}

/// Moves every number one up; the last one of `before` enters.
///
///   before . . . 3   v 4 5 6 7   ->   3 4 5 6
template <typename Vector>
KESTRA_INLINE Vector shiftedIn(const Vector& before, const Vector& v) {
#if defined(__AVX2__)
  return __builtin_shufflevector(before, v, 7, 8, 9, 10, 11, 12, 13, 14);
#else
  return __builtin_shufflevector(before, v, 3, 4, 5, 6);
#endif
}

}  // namespace
}  // namespace kestra::KESTRA_VERSION
