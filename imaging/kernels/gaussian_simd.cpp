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
#include "imaging/kernels/lanes.h"

namespace kestra::KESTRA_VERSION {
namespace {

constexpr int kFineBits = 15;
constexpr int kCoarseBits = 17;
constexpr int kHalf = 1 << (kCoarseBits - 1);
constexpr int kFraction = (1 << kCoarseBits) - 1;
constexpr int kDoubt = 8;

/// All bits set where a fraction is below 2 * kDoubt.
KESTRA_INLINE Lanes doubtful(Lanes sum) {
  return sameInts(both(sum, allInts(kFraction & ~(2 * kDoubt - 1))), zeros());
}

static_assert(kGaussianChunk % kLanes == 0 && (kDoubt & (kDoubt - 1)) == 0, "whole steps, one bit");

// Two weights as neighbours, repeated.
KESTRA_INLINE Lanes neighbours(int first, int second) { return allInts(second * 65536 + first); }

struct Pairs {
  Lanes coarse[3];
  Lanes fine[3];
};

KESTRA_INLINE Pairs pairsOf(const GaussianWeights& weights) {
  Pairs pairs;
  for (std::size_t k = 0; k < 3; ++k) {
    pairs.coarse[k] = neighbours(weights.coarse[2 * k], weights.coarse[2 * k + 1]);
    pairs.fine[k] = neighbours(weights.fine[2 * k], weights.fine[2 * k + 1]);
  }
  return pairs;
}

// a + half + kDoubt of the file's first comment: outside the doubtful places the same level.
KESTRA_INLINE Lanes sumOf(const Lanes* taps, const Pairs& pairs) {
  Lanes coarse = allInts(kHalf + kDoubt);
  Lanes fine = zeros();
  for (std::size_t k = 0; k < 3; ++k) {
    coarse = addInts(coarse, sumsOfProducts(taps[k], pairs.coarse[k]));
    fine = addInts(fine, sumsOfProducts(taps[k], pairs.fine[k]));
  }
  return addInts(coarse, cutInts<kFineBits>(fine));
}

// The levels of a vector of pixels, given as six words each: five tap pairs and the middle.
KESTRA_INLINE Lanes blurWords(const Lanes* words, const Pairs& pairs, Lanes& doubt) {
  Lanes first[3];
  Lanes second[3];
  for (std::size_t k = 0; k < 3; ++k) {
    first[k] = firstPairs(words[2 * k], words[2 * k + 1]);
    second[k] = secondPairs(words[2 * k], words[2 * k + 1]);
  }
  const Lanes firstSum = sumOf(first, pairs);
  const Lanes secondSum = sumOf(second, pairs);
  doubt = either(doubt, either(doubtful(firstSum), doubtful(secondSum)));
  return toWords(cutInts<kCoarseBits>(firstSum), cutInts<kCoarseBits>(secondSum));
}

// kGaussianChunk pixels from `at` on. True where some are in doubt.
KESTRA_INLINE bool blurChunk(const unsigned char* const* taps, const Pairs& pairs,
                             unsigned char* out, std::size_t at) {
  Lanes doubt = zeros();
  for (std::size_t i = at; i < at + kGaussianChunk; i += kLanes) {
    Lanes first[kGaussianReach + 1];
    Lanes second[kGaussianReach + 1];
    for (int k = 0; k < kGaussianReach; ++k) {
      const Lanes a = load(taps[k] + i);
      const Lanes b = load(taps[kGaussianTaps - 1 - k] + i);
      first[k] = firstTotals(a, b);
      second[k] = secondTotals(a, b);
    }
    const Lanes middle = load(taps[kGaussianReach] + i);
    first[kGaussianReach] = firstWords(middle);
    second[kGaussianReach] = secondWords(middle);
    const Lanes firstLevels = blurWords(first, pairs, doubt);
    store(out + i, unzip(firstLevels, blurWords(second, pairs, doubt)));
  }
  return highBits(doubt) != 0;
}

// 4 * own - 3 * blur = blur + 4 * (own - blur): -765 to 1020.
KESTRA_INLINE Lanes sharpened(Lanes own, Lanes blur) {
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

void blurPixels(const unsigned char* const taps[kGaussianTaps], const GaussianWeights& weights,
                unsigned char* out, std::size_t count) {
  const Pairs pairs = pairsOf(weights);
  // A copy that nobody else knows: what is stored into `out` cannot change it.
  const unsigned char* rows[kGaussianTaps];
  for (int k = 0; k < kGaussianTaps; ++k) rows[k] = taps[k];
  std::size_t at = 0;
  while (at < count) {
    // The last chunk may begin in the one before it: its pixels come out the same again.
    if (at + kGaussianChunk > count) at = count - kGaussianChunk;
    if (blurChunk(rows, pairs, out, at)) {
      for (std::size_t i = at; i < at + kGaussianChunk; ++i) {
        if (isDoubtful(taps, weights, i)) out[i] = kestra::blurOnePixel(taps, weights, i);
      }
    }
    at += kGaussianChunk;
  }
}

void sharpenPixels(const unsigned char* source, const unsigned char* blurred, unsigned char* out,
                   std::size_t count) {
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const Lanes own = load(source + i);
    const Lanes blur = load(blurred + i);
    store(out + i, unzip(sharpened(firstWords(own), firstWords(blur)),
                         sharpened(secondWords(own), secondWords(blur))));
  }
  for (; i < count; ++i) {
    const int level = 4 * source[i] - 3 * blurred[i];
    out[i] = static_cast<unsigned char>(level < 0 ? 0 : (level > 255 ? 255 : level));
  }
}

}  // namespace kestra::KESTRA_VERSION
