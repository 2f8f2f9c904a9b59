// The wavefront of the stencil's error diffusion: one step turns one pixel of each of sixteen rows
// into a dot, and each lane computes exactly what the rule says, in its order.
//
// A pixel's error sum receives its shares in the order in which the pixels come that give them:
//
//   row above:  from x - 1, x, x + 1, x + 2;   own row:  from x - 2, then x - 1;   then its grey.
//
// Shares from beyond an edge are shares of an error 0. They and the 0 from which a sum starts
// change at most the sign of a zero, and adding a grey level, which is never -0, forgets that.
#include <cstring>

#include "imaging/kernels/stencil_diffusion.h"

namespace kestra::KESTRA_LEVEL {
namespace {

#if defined(__AVX2__)
constexpr std::size_t kLanes = 8;
#else
constexpr std::size_t kLanes = 4;
#endif
constexpr std::size_t kGroups = kStencilBandRows / kLanes;
constexpr int kBlock = 16;                                     // steps between two transpositions
constexpr int kDelay = kStencilSkew * (kStencilBandRows - 1);  // the last row's

using Floats = float __attribute__((vector_size(4 * kLanes)));
using Ints = std::int32_t __attribute__((vector_size(4 * kLanes)));
using Bytes16 = unsigned char __attribute__((vector_size(16)));

#define KESTRA_INLINE static inline __attribute__((always_inline))

template <typename Vector, typename Element>
KESTRA_INLINE Vector load(const Element* from) {
  Vector v;
  std::memcpy(&v, from, sizeof v);
  return v;
}

template <typename Vector, typename Element>
KESTRA_INLINE void store(Element* to, const Vector& v) {
  std::memcpy(to, &v, sizeof v);
}

// The last block of steps begins before width + kDelay; its first row looks ahead from its last
// step.
static_assert(kStencilMargin >= kDelay + kBlock + kStencilSkew - 1, "lanes stay in the margins");

// Moves every lane one up; the last lane of `before` enters.
//
//   before . . . 3   v 4 5 6 7   ->   3 4 5 6
template <typename Vector>
KESTRA_INLINE Vector shiftedIn(const Vector& before, const Vector& v) {
#if defined(__AVX2__)
  return __builtin_shufflevector(before, v, 7, 8, 9, 10, 11, 12, 13, 14);
#else
  return __builtin_shufflevector(before, v, 3, 4, 5, 6);
#endif
}

KESTRA_INLINE Bytes16 lowPairs(const Bytes16& a, const Bytes16& b) {
  return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}

KESTRA_INLINE Bytes16 highPairs(const Bytes16& a, const Bytes16& b) {
  return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15,
                                 31);
}

// 16 x 16 bytes, rows to columns: four perfect shuffles of all 256.
KESTRA_INLINE void transpose(Bytes16* v) {
  Bytes16 w[kBlock];
  for (std::size_t i = 0; i < 8; ++i) {
    w[2 * i] = lowPairs(v[i], v[i + 8]);
    w[2 * i + 1] = highPairs(v[i], v[i + 8]);
  }
  for (std::size_t i = 0; i < 8; ++i) {
    v[2 * i] = lowPairs(w[i], w[i + 8]);
    v[2 * i + 1] = highPairs(w[i], w[i + 8]);
  }
  for (std::size_t i = 0; i < 8; ++i) {
    w[2 * i] = lowPairs(v[i], v[i + 8]);
    w[2 * i + 1] = highPairs(v[i], v[i + 8]);
  }
  for (std::size_t i = 0; i < 8; ++i) {
    v[2 * i] = lowPairs(w[i], w[i + 8]);
    v[2 * i + 1] = highPairs(w[i], w[i + 8]);
  }
}

// What the lanes remember from step to step.
struct Lanes {
  Floats previous[kGroups];        // own row's errors at x - 1
  Floats beforePrevious[kGroups];  // and at x - 2
  Ints leftBlack[kGroups];
  Floats above[kStencilSkew + 1][kGroups];  // upper row's errors at x + 3 down to x - 1
};

// What stays the same for a whole band.
struct Charges {
  Floats threshold;
  Floats one[kGroups];  // beside one black neighbour; the full charge on the page's outer rows
  Floats two[kGroups];  // beside two
};

KESTRA_INLINE Floats all(float value) { return value - Floats{}; }

KESTRA_INLINE Ints laneRows(std::size_t group) {
  Ints rows = {};
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    rows[lane] = static_cast<std::int32_t>(group * kLanes + lane);
  }
  return rows;
}

// One block of steps.
//
// levels[step][row] is read. upperBlack[step][row] is what the row above has at the same column;
// the step writes its own blacks four steps further on, where the row below looks. white[step][row]
// receives -1 for a white dot.
// kAtEdge: some lane is outside the page, or on its first or last column.
template <bool kAtEdge>
KESTRA_INLINE void diffuseBlock(const StencilBand& band, const Charges& charges, int time,
                                const float (*levels)[kStencilBandRows],
                                std::int32_t (*upperBlack)[kStencilBandRows],
                                std::int32_t (*white)[kStencilBandRows], Lanes& lanes) {
  const Floats full = all(kStencilCharge);
  for (int step = 0; step < kBlock; ++step) {
    const int x = time + step;  // of row 0
    Floats errorAbove = all(band.upperErrors[x + kStencilSkew]);
    Ints blackAbove = band.upperBlack[x + kStencilSkew] - Ints{};
    for (std::size_t g = 0; g < kGroups; ++g) {
      Floats v = lanes.above[4][g] * kStencilBelowRight;
      v = v + lanes.above[3][g] * kStencilBelow;
      v = v + lanes.above[2][g] * kStencilBelowLeft;
      v = v + lanes.above[1][g] * kStencilBelowSecondLeft;
      v = v + lanes.beforePrevious[g] * kStencilSecondRight;
      v = v + lanes.previous[g] * kStencilRight;
      v = v + load<Floats>(&levels[step][g * kLanes]);

      Floats one = charges.one[g];
      Floats two = charges.two[g];
      Ints inside = {};
      if (kAtEdge) {
        const Ints column = x - kStencilSkew * laneRows(g);
        inside = (column >= 0) & (column < band.width);
        const Ints inner = (column >= 1) & (column < band.width - 1);
        one = inner ? one : full;
        two = inner ? two : full;
      }
      const Ints upper = load<Ints>(&upperBlack[step][g * kLanes]);
      const Floats besideWhite = upper ? one : full;
      const Floats besideBlack = upper ? two : one;
      const Floats charge = lanes.leftBlack[g] ? besideBlack : besideWhite;

      const Ints isWhite = v > charges.threshold;
      Floats e = isWhite ? v - charge : v;
      if (kAtEdge) e = inside ? e : Floats{};
      const Ints isBlack = ~isWhite;
      store(&white[step][g * kLanes], isWhite);
      store(&upperBlack[step + kStencilSkew][g * kLanes], shiftedIn(blackAbove, isBlack));

      for (int age = kStencilSkew; age > 0; --age) lanes.above[age][g] = lanes.above[age - 1][g];
      lanes.above[0][g] = shiftedIn(errorAbove, e);
      lanes.beforePrevious[g] = lanes.previous[g];
      lanes.previous[g] = e;
      lanes.leftBlack[g] = isBlack;
      errorAbove = e;
      blackAbove = isBlack;
    }
    band.upperErrors[x - kDelay] = errorAbove[kLanes - 1];
    band.upperBlack[x - kDelay] = blackAbove[kLanes - 1];
  }
}

KESTRA_INLINE Charges chargesOf(const StencilBand& band) {
  // The charges as the rule computes them, each operation rounded.
  const float oneBlack = kStencilCharge * (1.0F - kStencilRelief);
  const float twoBlack = kStencilCharge * (1.0F - (kStencilRelief + kStencilRelief));
  Charges charges = {};
  charges.threshold = all(band.threshold);
  for (std::size_t g = 0; g < kGroups; ++g) {
    const Ints row = band.firstRow + laneRows(g);
    const Ints inner = (row >= 1) & (row < band.height - 1);
    charges.one[g] = inner ? all(oneBlack) : all(kStencilCharge);
    charges.two[g] = inner ? all(twoBlack) : all(kStencilCharge);
  }
  return charges;
}

// What row 0 of the band finds above it in the first steps; the other rows start outside the page.
KESTRA_INLINE void lookAhead(const StencilBand& band, Lanes& lanes,
                             std::int32_t (*upperBlack)[kStencilBandRows]) {
  for (int age = 0; age <= kStencilSkew; ++age) {
    lanes.above[age][0][0] = band.upperErrors[kStencilSkew - 1 - age];
  }
  for (int step = 0; step < kStencilSkew; ++step) upperBlack[step][0] = band.upperBlack[step];
}

}  // namespace

void diffuseStencilBand(const StencilBand& band) {
  const Charges charges = chargesOf(band);
  Lanes lanes = {};
  std::int32_t upperBlack[kBlock + kStencilSkew][kStencilBandRows] = {};
  std::int32_t white[kBlock][kStencilBandRows];
  float levels[kBlock][kStencilBandRows];
  lookAhead(band, lanes, upperBlack);

  for (int time = 0; time < band.width + kDelay; time += kBlock) {
    Bytes16 bytes[kBlock];
    for (int row = 0; row < kStencilBandRows; ++row) {
      bytes[row] = load<Bytes16>(band.rows + row * static_cast<std::ptrdiff_t>(band.stride) +
                                 (time - kStencilSkew * row));
    }
    transpose(bytes);
    for (int step = 0; step < kBlock; ++step) {
      for (int row = 0; row < kStencilBandRows; ++row) {
        levels[step][row] = static_cast<float>(bytes[step][row]);
      }
    }

    if (time - kDelay >= 1 && time + kBlock < band.width) {
      diffuseBlock<false>(band, charges, time, levels, upperBlack, white, lanes);
    } else {
      diffuseBlock<true>(band, charges, time, levels, upperBlack, white, lanes);
    }
    std::memcpy(upperBlack, upperBlack + kBlock, sizeof upperBlack[0] * kStencilSkew);

    for (int step = 0; step < kBlock; ++step) {
      for (int row = 0; row < kStencilBandRows; ++row) {
        bytes[step][row] = static_cast<unsigned char>(white[step][row] & 0xFF);
      }
    }
    transpose(bytes);
    for (int row = 0; row < kStencilBandRows; ++row) {
      store(
          band.rows + row * static_cast<std::ptrdiff_t>(band.stride) + (time - kStencilSkew * row),
          bytes[row]);
    }
  }
}

}  // namespace kestra::KESTRA_LEVEL
