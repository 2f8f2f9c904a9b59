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
  Ints leftBlack[kGroups];
  Floats above[kStencilSkew + 1][kGroups];  // upper row's errors at x + 3 down to x - 1
};

// What stays the same for a whole band.
struct Charges {
  Floats threshold;
  Floats one[kGroups];  // beside one black neighbour; the full charge on the page's outer rows
  Floats two[kGroups];  // beside two
};

// -1 where the row above the band is black, else 0.
KESTRA_INLINE std::int32_t blackInRowAbove(const StencilBand& band, int x) {
  return *(band.rows - band.stride + x) == 0 ? -1 : 0;
}

KESTRA_INLINE Ints laneRows(std::size_t group) {
  Ints rows = {};
  for (std::size_t lane = 0; lane < kFloats; ++lane) {
    rows[lane] = static_cast<std::int32_t>(group * kFloats + lane);
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
                                std::int32_t (*white)[kStencilBandRows], State& state) {
  const Floats full = allFloats(kStencilCharge);
  std::int32_t black[kSteps];  // what row 0 looks ahead to
  for (int step = 0; step < kSteps; ++step) {
    black[step] = blackInRowAbove(band, time + kStencilSkew + step);
  }
  for (int step = 0; step < kSteps; ++step) {
    const int x = time + step;  // of row 0
    Floats errorAbove = allFloats(band.upperErrors[x + kStencilSkew]);
    Ints blackAbove = black[step] - Ints{};
    for (std::size_t g = 0; g < kGroups; ++g) {
      Floats v = state.above[4][g] * kStencilBelowRight;
      v = v + state.above[3][g] * kStencilBelow;
      v = v + state.above[2][g] * kStencilBelowLeft;
      v = v + state.above[1][g] * kStencilBelowSecondLeft;
      v = v + state.beforePrevious[g] * kStencilSecondRight;
      v = v + state.previous[g] * kStencilRight;
      v = v + loadAs<Floats>(&levels[step][g * kFloats]);

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
      const Ints upper = loadAs<Ints>(&upperBlack[step][g * kFloats]);
      const Floats besideWhite = upper ? one : full;
      const Floats besideBlack = upper ? two : one;
      const Floats charge = state.leftBlack[g] ? besideBlack : besideWhite;

      const Ints isWhite = v > charges.threshold;
      Floats e = isWhite ? v - charge : v;
      if (kAtEdge) e = inside ? e : Floats{};
      const Ints isBlack = ~isWhite;
      storeAs(&white[step][g * kFloats], isWhite);
      storeAs(&upperBlack[step + kStencilSkew][g * kFloats], shiftedIn(blackAbove, isBlack));

      for (int age = kStencilSkew; age > 0; --age) state.above[age][g] = state.above[age - 1][g];
      state.above[0][g] = shiftedIn(errorAbove, e);
      state.beforePrevious[g] = state.previous[g];
      state.previous[g] = e;
      state.leftBlack[g] = isBlack;
      errorAbove = e;
      blackAbove = isBlack;
    }
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
  }
  return charges;
}

// Where a row's pixels of the steps from `time` on lie.
KESTRA_INLINE unsigned char* placeOf(const StencilBand& band, int row, int time) {
  return band.rows + row * static_cast<std::ptrdiff_t>(band.stride) + (time - kStencilSkew * row);
}

// What row 0 of the band finds above it in the first steps; the other rows start outside the page.
KESTRA_INLINE void lookAhead(const StencilBand& band, State& state,
                             std::int32_t (*upperBlack)[kStencilBandRows]) {
  for (int age = 0; age <= kStencilSkew; ++age) {
    state.above[age][0][0] = band.upperErrors[kStencilSkew - 1 - age];
  }
  for (int step = 0; step < kStencilSkew; ++step) upperBlack[step][0] = blackInRowAbove(band, step);
}

}  // namespace

void diffuseStencilBand(const StencilBand& band) {
  const Charges charges = chargesOf(band);
  State state = {};
  std::int32_t upperBlack[kSteps + kStencilSkew][kStencilBandRows] = {};
  std::int32_t white[kSteps][kStencilBandRows];
  float levels[kSteps][kStencilBandRows];
  std::uint8_t columns[kSteps][kStencilBandRows];
  lookAhead(band, state, upperBlack);

  for (int time = 0; time < band.width + kDelay; time += kSteps) {
    Sixteen square[kSteps];
    for (int row = 0; row < kStencilBandRows; ++row) {
      square[row] = loadAs<Sixteen>(placeOf(band, row, time));
    }
    transpose(square);
    for (int step = 0; step < kSteps; ++step) storeAs(columns[step], square[step]);
    for (int step = 0; step < kSteps; ++step) {
      for (int row = 0; row < kStencilBandRows; ++row) {
        levels[step][row] = static_cast<float>(columns[step][row]);
      }
    }

    if (time - kDelay >= 1 && time + kSteps < band.width) {
      diffuseBlock<false>(band, charges, time, levels, upperBlack, white, state);
    } else {
      diffuseBlock<true>(band, charges, time, levels, upperBlack, white, state);
    }
    std::memcpy(upperBlack, upperBlack + kSteps, sizeof upperBlack[0] * kStencilSkew);

    for (int step = 0; step < kSteps; ++step) {
      for (int row = 0; row < kStencilBandRows; ++row) {
        columns[step][row] = static_cast<std::uint8_t>(white[step][row] & 0xFF);
      }
    }
    for (int step = 0; step < kSteps; ++step) square[step] = loadAs<Sixteen>(columns[step]);
    transpose(square);
    for (int row = 0; row < kStencilBandRows; ++row) {
      storeAs(placeOf(band, row, time), square[row]);
    }
  }
}

}  // namespace kestra::KESTRA_VERSION
