// The wavefront of the stencil's error diffusion: one step turns one pixel of each of sixteen rows
// into a dot, and each lane computes exactly what the rule says, in its order (see diffusePlain in
// stencil_diffusion.cpp).
#include "imaging/kernels/stencil_diffusion.h"

#include "imaging/kernels/lanes.h"

namespace kestra::KESTRA_VERSION {
namespace {

constexpr std::size_t kGroups = kStencilBandRows / kFloats;
constexpr int kSteps = 16;                                     // between two transpositions
constexpr int kDelay = kStencilSkew * (kStencilBandRows - 1);  // the last row's

// The last block of steps begins before width + kDelay; its first row looks ahead from its last
// step.
static_assert(kStencilMargin >= kDelay + kSteps + kStencilSkew - 1, "lanes stay in the margins");

// What the lanes remember from step to step.
struct State {
  Floats previous[kGroups];        // own row's errors at x - 1
  Floats beforePrevious[kGroups];  // and at x - 2
  Ints leftWhite[kGroups];
  // The upper row's shares of the pixels at x to x + 4, of which the first two are complete: a
  // share is added as soon as its error is there, which is the order of the rule.
  Floats upper[5][kGroups];
};

// What stays the same for a whole band.
struct Charges {
  Floats threshold;
  Floats one[kGroups];   // beside one black neighbour; the full charge on the page's outer rows
  Floats two[kGroups];   // beside two
  Ints rowBit[kGroups];  // the lowest bit for row 0
};

// Whether the row above the band is black: 1 or 0.
KESTRA_INLINE std::uint32_t blackInRowAbove(const StencilBand& band, int x) {
  return *(band.rows - band.stride + x) == 0 ? 1 : 0;
}

KESTRA_INLINE Ints laneRows(std::size_t group) {
  Ints rows = {};
  for (std::size_t lane = 0; lane < kFloats; ++lane) {
    rows[lane] = static_cast<std::int32_t>(group * kFloats + lane);
  }
  return rows;
}

// Takes the upper row's errors at x + 3.
KESTRA_INLINE void addUpper(State& state, std::size_t group, const Floats& errors) {
  state.upper[0][group] = state.upper[1][group];
  state.upper[1][group] = state.upper[2][group] + errors * kStencilBelowSecondLeft;
  state.upper[2][group] = state.upper[3][group] + errors * kStencilBelowLeft;
  state.upper[3][group] = state.upper[4][group] + errors * kStencilBelow;
  state.upper[4][group] = errors * kStencilBelowRight;
}

// One block of steps.
//
// levels[step][row] is read. Bit r of upperBlack[step] tells whether the row above row r is black
// at the same column: its lowest one is there, the step writes the others four steps further on,
// where the rows below look. white[r / 8][step] receives a bit a row.
//
// kAtEdge: some lane is outside the page, or on its first or last column.
template <bool kAtEdge>
KESTRA_INLINE void diffuseBlock(const StencilBand& band, const Charges& charges, int time,
                                const std::uint8_t (*levels)[kStencilBandRows],
                                std::uint32_t* upperBlack, std::uint8_t (*white)[kSteps],
                                State& state) {
  const Floats full = allFloats(kStencilCharge);
  for (int step = 0; step < kSteps; ++step) {
    const int x = time + step;  // of row 0
    const Ints upperBits = static_cast<std::int32_t>(upperBlack[step]) - Ints{};
    Floats errorAbove = allFloats(band.upperErrors[x + kStencilSkew]);
    std::uint32_t whiteBits = 0;
    for (std::size_t g = 0; g < kGroups; ++g) {
      Floats v = state.upper[0][g] + state.beforePrevious[g] * kStencilSecondRight;
      v = v + state.previous[g] * kStencilRight;
      v = v + loadFloats(&levels[step][g * kFloats]);

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
      const Ints upperIsBlack = (upperBits & charges.rowBit[g]) == charges.rowBit[g];
      const Floats besideWhite = upperIsBlack ? one : full;
      const Floats besideBlack = upperIsBlack ? two : one;
      const Floats charge = state.leftWhite[g] ? besideWhite : besideBlack;

      const Ints isWhite = v > charges.threshold;
      Floats e = isWhite ? v - charge : v;
      if (kAtEdge) e = inside ? e : Floats{};
      whiteBits |= highBits(isWhite) << (g * kFloats);

      addUpper(state, g, shiftedIn(errorAbove, e));
      state.beforePrevious[g] = state.previous[g];
      state.previous[g] = e;
      state.leftWhite[g] = isWhite;
      errorAbove = e;
    }
    white[0][step] = static_cast<std::uint8_t>(whiteBits);
    white[1][step] = static_cast<std::uint8_t>(whiteBits >> 8);
    upperBlack[step + kStencilSkew] = blackInRowAbove(band, x + kStencilSkew) | ~whiteBits << 1;
    band.upperErrors[x - kDelay] = errorAbove[kFloats - 1];
  }
}

KESTRA_INLINE Charges chargesOf(const StencilBand& band) {
  // The charges as the rule computes them, each operation rounded.
  const float oneBlack = kStencilCharge * (1.0F - kStencilRelief);
  const float twoBlack = kStencilCharge * (1.0F - (kStencilRelief + kStencilRelief));
  Charges charges = {};
  charges.threshold = allFloats(band.threshold);
  for (std::size_t g = 0; g < kGroups; ++g) {
    const Ints row = band.firstRow + laneRows(g);
    const Ints inner = (row >= 1) & (row < band.height - 1);
    charges.one[g] = inner ? allFloats(oneBlack) : allFloats(kStencilCharge);
    charges.two[g] = inner ? allFloats(twoBlack) : allFloats(kStencilCharge);
    charges.rowBit[g] = 1 << laneRows(g);
  }
  return charges;
}

// Where a row's pixels of the steps from `time` on lie.
KESTRA_INLINE unsigned char* placeOf(const StencilBand& band, int row, int time) {
  return band.rows + row * static_cast<std::ptrdiff_t>(band.stride) + (time - kStencilSkew * row);
}

// What row 0 of the band finds above it in the first steps; the other rows start outside the page.
KESTRA_INLINE void lookAhead(const StencilBand& band, State& state, std::uint32_t* upperBlack) {
  for (int x = -1; x < kStencilSkew; ++x) {
    Floats errors = {};
    errors[0] = band.upperErrors[x];
    addUpper(state, 0, errors);
  }
  for (int x = 0; x < kStencilSkew; ++x) upperBlack[x] = blackInRowAbove(band, x);
}

}  // namespace

void diffuseStencilBand(const StencilBand& band) {
  const Charges charges = chargesOf(band);
  State state = {};
  std::uint32_t upperBlack[kSteps + kStencilSkew];
  std::uint8_t white[kStencilBandRows / 8][kSteps];
  std::uint8_t levels[kSteps][kStencilBandRows];
  lookAhead(band, state, upperBlack);

  for (int time = 0; time < band.width + kDelay; time += kSteps) {
    Sixteen square[kSteps];
    for (int row = 0; row < kStencilBandRows; ++row) {
      square[row] = loadAs<Sixteen>(placeOf(band, row, time));
    }
    transpose(square);
    for (int step = 0; step < kSteps; ++step) storeAs(levels[step], square[step]);

    if (time - kDelay >= 1 && time + kSteps < band.width) {
      diffuseBlock<false>(band, charges, time, levels, upperBlack, white, state);
    } else {
      diffuseBlock<true>(band, charges, time, levels, upperBlack, white, state);
    }
    std::memcpy(upperBlack, upperBlack + kSteps, sizeof upperBlack[0] * kStencilSkew);

    for (int row = 0; row < kStencilBandRows; ++row) {
      const Sixteen bit = allSixteen(1U << (row % 8));
      const Sixteen dots = both(loadAs<Sixteen>(white[row / 8]), bit);
      storeAs(placeOf(band, row, time), same(dots, bit));
    }
  }
}

}  // namespace kestra::KESTRA_VERSION
