// Eleven-tap blur with sums of whole numbers, 32 pixels at a time, and the sharpening behind it.
//
// Why the byte is the rule's. With units of 1 / 2^17, let
//
//   c = sum of (tap pair) * coarse      exact: at most 255.3 * 2^17, 26 bits
//   f = sum of (tap pair) * fine        exact, in units of 2^-15 of those of c: at most 27 bits
//   a = c + floor(f / 2^15)
//
// The rule's sum s, in the same units, is at least a and less than a + 2:
//   - both parts of a weight are cut, so each loses less than 2^-15; eleven taps of at most 255
//     lose less than 2805 / 2^15 = 0.09 in all; the floor loses less than 1;
//   - eleven products and eleven sums in double precision, all below 256, are rounded by at most
//     2^-46 each: nothing.
// The rule rounds s to single precision (an error of at most 2^-17 of a level, 1 unit, as
// s < 256), adds 1/2 with another such rounding, and cuts. So its byte is that of
// floor((s + half) / 2^17), and of a in place of s, unless s lies within 2 units of a half; with
// s - a < 2, unless a + half lies within 4 units of a multiple of 2^17. Eight are used. Of random
// pixels one in 8,000 is that close.
#include "imaging/kernels/gaussian.h"

#include <simde/x86/avx2.h>

namespace kestra::KESTRA_LEVEL {
namespace {

#define KESTRA_INLINE static inline __attribute__((always_inline))

constexpr int kFineBits = 15;
constexpr int kCoarseBits = 17;
constexpr int kHalf = 1 << (kCoarseBits - 1);
constexpr int kFraction = (1 << kCoarseBits) - 1;
constexpr int kDoubt = 8;

#if defined(__AVX2__)

using Vector = simde__m256i;  // 32 bytes, 16 words or 8 sums
constexpr std::size_t kStep = 32;

KESTRA_INLINE Vector load(const unsigned char* from) {
  return simde_mm256_loadu_si256(reinterpret_cast<const simde__m256i*>(from));
}
KESTRA_INLINE void store(unsigned char* to, Vector bytes) {
  simde_mm256_storeu_si256(reinterpret_cast<simde__m256i*>(to), bytes);
}
KESTRA_INLINE Vector none() { return simde_mm256_setzero_si256(); }
KESTRA_INLINE Vector allSums(int value) { return simde_mm256_set1_epi32(value); }
KESTRA_INLINE Vector either(Vector a, Vector b) { return simde_mm256_or_si256(a, b); }
KESTRA_INLINE Vector lowWords(Vector bytes) { return simde_mm256_unpacklo_epi8(bytes, none()); }
KESTRA_INLINE Vector highWords(Vector bytes) { return simde_mm256_unpackhi_epi8(bytes, none()); }
// a + b of the bytes that `lowWords` and `highWords` take.
KESTRA_INLINE Vector lowTotal(Vector a, Vector b) {
  return simde_mm256_maddubs_epi16(simde_mm256_unpacklo_epi8(a, b), simde_mm256_set1_epi8(1));
}
KESTRA_INLINE Vector highTotal(Vector a, Vector b) {
  return simde_mm256_maddubs_epi16(simde_mm256_unpackhi_epi8(a, b), simde_mm256_set1_epi8(1));
}
KESTRA_INLINE Vector addWords(Vector a, Vector b) { return simde_mm256_add_epi16(a, b); }
KESTRA_INLINE Vector subWords(Vector a, Vector b) { return simde_mm256_sub_epi16(a, b); }
KESTRA_INLINE Vector fourTimes(Vector words) { return simde_mm256_slli_epi16(words, 2); }
KESTRA_INLINE Vector lowPairs(Vector a, Vector b) { return simde_mm256_unpacklo_epi16(a, b); }
KESTRA_INLINE Vector highPairs(Vector a, Vector b) { return simde_mm256_unpackhi_epi16(a, b); }
KESTRA_INLINE Vector dot(Vector a, Vector b) { return simde_mm256_madd_epi16(a, b); }
KESTRA_INLINE Vector addSums(Vector a, Vector b) { return simde_mm256_add_epi32(a, b); }
KESTRA_INLINE Vector withoutFine(Vector s) { return simde_mm256_srai_epi32(s, kFineBits); }
KESTRA_INLINE Vector levels(Vector s) { return simde_mm256_srai_epi32(s, kCoarseBits); }
KESTRA_INLINE Vector toWords(Vector low, Vector high) { return simde_mm256_packs_epi32(low, high); }
KESTRA_INLINE Vector toBytes(Vector low, Vector high) {
  return simde_mm256_packus_epi16(low, high);
}
// All bits set where a fraction is below 2 * kDoubt.
KESTRA_INLINE Vector doubtful(Vector sum) {
  const Vector place = simde_mm256_and_si256(sum, allSums(kFraction & ~(2 * kDoubt - 1)));
  return simde_mm256_cmpeq_epi32(place, none());
}
KESTRA_INLINE bool anySet(Vector v) { return simde_mm256_movemask_epi8(v) != 0; }

#else

using Vector = simde__m128i;  // 16 bytes, 8 words or 4 sums
constexpr std::size_t kStep = 16;

KESTRA_INLINE Vector load(const unsigned char* from) {
  return simde_mm_loadu_si128(reinterpret_cast<const simde__m128i*>(from));
}
KESTRA_INLINE void store(unsigned char* to, Vector bytes) {
  simde_mm_storeu_si128(reinterpret_cast<simde__m128i*>(to), bytes);
}
KESTRA_INLINE Vector none() { return simde_mm_setzero_si128(); }
KESTRA_INLINE Vector allSums(int value) { return simde_mm_set1_epi32(value); }
KESTRA_INLINE Vector either(Vector a, Vector b) { return simde_mm_or_si128(a, b); }
KESTRA_INLINE Vector lowWords(Vector bytes) { return simde_mm_unpacklo_epi8(bytes, none()); }
KESTRA_INLINE Vector highWords(Vector bytes) { return simde_mm_unpackhi_epi8(bytes, none()); }
KESTRA_INLINE Vector addWords(Vector a, Vector b) { return simde_mm_add_epi16(a, b); }
KESTRA_INLINE Vector subWords(Vector a, Vector b) { return simde_mm_sub_epi16(a, b); }
KESTRA_INLINE Vector lowTotal(Vector a, Vector b) { return addWords(lowWords(a), lowWords(b)); }
KESTRA_INLINE Vector highTotal(Vector a, Vector b) { return addWords(highWords(a), highWords(b)); }
KESTRA_INLINE Vector fourTimes(Vector words) { return simde_mm_slli_epi16(words, 2); }
KESTRA_INLINE Vector lowPairs(Vector a, Vector b) { return simde_mm_unpacklo_epi16(a, b); }
KESTRA_INLINE Vector highPairs(Vector a, Vector b) { return simde_mm_unpackhi_epi16(a, b); }
KESTRA_INLINE Vector dot(Vector a, Vector b) { return simde_mm_madd_epi16(a, b); }
KESTRA_INLINE Vector addSums(Vector a, Vector b) { return simde_mm_add_epi32(a, b); }
KESTRA_INLINE Vector withoutFine(Vector s) { return simde_mm_srai_epi32(s, kFineBits); }
KESTRA_INLINE Vector levels(Vector s) { return simde_mm_srai_epi32(s, kCoarseBits); }
KESTRA_INLINE Vector toWords(Vector low, Vector high) { return simde_mm_packs_epi32(low, high); }
KESTRA_INLINE Vector toBytes(Vector low, Vector high) { return simde_mm_packus_epi16(low, high); }
KESTRA_INLINE Vector doubtful(Vector sum) {
  const Vector place = simde_mm_and_si128(sum, allSums(kFraction & ~(2 * kDoubt - 1)));
  return simde_mm_cmpeq_epi32(place, none());
}
KESTRA_INLINE bool anySet(Vector v) { return simde_mm_movemask_epi8(v) != 0; }

#endif

static_assert(kGaussianChunk % kStep == 0 && (kDoubt & (kDoubt - 1)) == 0, "whole steps, one bit");

// Two weights as neighbours, repeated.
KESTRA_INLINE Vector both(int first, int second) { return allSums(second * 65536 + first); }

struct Pairs {
  Vector coarse[3];
  Vector fine[3];
};

KESTRA_INLINE Pairs pairsOf(const GaussianWeights& weights) {
  Pairs pairs;
  for (std::size_t k = 0; k < 3; ++k) {
    pairs.coarse[k] = both(weights.coarse[2 * k], weights.coarse[2 * k + 1]);
    pairs.fine[k] = both(weights.fine[2 * k], weights.fine[2 * k + 1]);
  }
  return pairs;
}

// a + half + kDoubt of the file's first comment: outside the doubtful places the same level.
KESTRA_INLINE Vector sumOf(const Vector* taps, const Pairs& pairs) {
  Vector coarse = allSums(kHalf + kDoubt);
  Vector fine = none();
  for (std::size_t k = 0; k < 3; ++k) {
    coarse = addSums(coarse, dot(taps[k], pairs.coarse[k]));
    fine = addSums(fine, dot(taps[k], pairs.fine[k]));
  }
  return addSums(coarse, withoutFine(fine));
}

// The levels of a vector of pixels, given as six words each: five tap pairs and the middle.
KESTRA_INLINE Vector blurWords(const Vector* words, const Pairs& pairs, Vector& doubt) {
  Vector low[3];
  Vector high[3];
  for (std::size_t k = 0; k < 3; ++k) {
    low[k] = lowPairs(words[2 * k], words[2 * k + 1]);
    high[k] = highPairs(words[2 * k], words[2 * k + 1]);
  }
  const Vector lowSum = sumOf(low, pairs);
  const Vector highSum = sumOf(high, pairs);
  doubt = either(doubt, either(doubtful(lowSum), doubtful(highSum)));
  return toWords(levels(lowSum), levels(highSum));
}

// kGaussianChunk pixels from `at` on. True where some are in doubt.
KESTRA_INLINE bool blurChunk(const unsigned char* const* taps, const Pairs& pairs,
                             unsigned char* out, std::size_t at) {
  Vector doubt = none();
  for (std::size_t i = at; i < at + kGaussianChunk; i += kStep) {
    Vector low[kGaussianReach + 1];
    Vector high[kGaussianReach + 1];
    for (int k = 0; k < kGaussianReach; ++k) {
      const Vector a = load(taps[k] + i);
      const Vector b = load(taps[kGaussianTaps - 1 - k] + i);
      low[k] = lowTotal(a, b);
      high[k] = highTotal(a, b);
    }
    const Vector middle = load(taps[kGaussianReach] + i);
    low[kGaussianReach] = lowWords(middle);
    high[kGaussianReach] = highWords(middle);
    const Vector lowLevels = blurWords(low, pairs, doubt);
    store(out + i, toBytes(lowLevels, blurWords(high, pairs, doubt)));
  }
  return anySet(doubt);
}

// 4 * own - 3 * blur = blur + 4 * (own - blur): -765 to 1020.
KESTRA_INLINE Vector sharpened(Vector own, Vector blur) {
  return addWords(blur, fourTimes(subWords(own, blur)));
}

KESTRA_INLINE bool isDoubtful(const unsigned char* const* taps, const GaussianWeights& weights,
                              std::size_t at) {
  int coarse = kHalf + kDoubt;
  int fine = 0;
  for (int k = 0; k <= kGaussianReach; ++k) {
    const int pair = k == kGaussianReach ? taps[k][at] : taps[k][at] + taps[10 - k][at];
    coarse += pair * weights.coarse[k];
    fine += pair * weights.fine[k];
  }
  return ((coarse + (fine >> kFineBits)) & kFraction) < 2 * kDoubt;
}

}  // namespace

std::size_t blurPixels(const unsigned char* const taps[kGaussianTaps],
                       const GaussianWeights& weights, unsigned char* out, std::size_t count) {
  const Pairs pairs = pairsOf(weights);
  // A copy that nobody else knows: what is stored into `out` cannot change it.
  const unsigned char* rows[kGaussianTaps];
  for (int k = 0; k < kGaussianTaps; ++k) rows[k] = taps[k];
  std::size_t exact = 0;
  std::size_t at = 0;
  while (at < count) {
    // The last chunk may begin in the one before it: its pixels come out the same again.
    if (at + kGaussianChunk > count) at = count - kGaussianChunk;
    if (blurChunk(rows, pairs, out, at)) {
      for (std::size_t i = at; i < at + kGaussianChunk; ++i) {
        if (!isDoubtful(taps, weights, i)) continue;
        out[i] = kestra::blurOnePixel(taps, weights, i);
        ++exact;
      }
    }
    at += kGaussianChunk;
  }
  return exact;
}

void sharpenPixels(const unsigned char* source, const unsigned char* blurred, unsigned char* out,
                   std::size_t count) {
  std::size_t i = 0;
  for (; i + kStep <= count; i += kStep) {
    const Vector own = load(source + i);
    const Vector blur = load(blurred + i);
    store(out + i, toBytes(sharpened(lowWords(own), lowWords(blur)),
                           sharpened(highWords(own), highWords(blur))));
  }
  for (; i < count; ++i) {
    const int level = 4 * source[i] - 3 * blurred[i];
    out[i] = static_cast<unsigned char>(level < 0 ? 0 : (level > 255 ? 255 : level));
  }
}

}  // namespace kestra::KESTRA_LEVEL
