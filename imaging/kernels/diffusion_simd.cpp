// Error diffusion with many rows side by side: each row runs a few columns behind the row above.
//
// The error of a dot binds the next dot of its row, so a row alone leaves nothing to do at once.
// Rows that run askew never wait for each other, and their dots go through one vector together:
//
//     step t     row 0 prints column t
//                  row 1 prints column t - skew
//                    row 2 prints column t - 2 skew ...
//
// A pixel pulls its shares from the pixels before it (see diffusion_plan.h). What the pixel `c`
// columns to the left and `r` rows above owes was found r * skew + c steps ago, r lanes to the
// left. So the shares of the last steps are kept as vectors one behind the other, and a pull is a
// load r bytes before the vector of its step and an addition that clamps.
//
// The page is printed in blocks of as many rows as a vector has lanes. The first lanes of a block
// are ghosts: the last rows of the block above once more, whose levels are known and which only
// pass on their errors. What a block needs while it runs lies in the nearest cache:
//
//     arrivals   kChunk vectors      levels in the order of the steps
//     shares     a vector for each weight and step, of this chunk and the steps before that are
//                still needed
//     ghosts     4 bytes a step      final levels of the last rows, for the next block
//     columns    a bit a lane and step: the dots of the block's rows (see diffusion_columns.h)
#include "imaging/kernels/diffusion.h"
#include "imaging/kernels/diffusion_columns.h"
#include "imaging/kernels/diffusion_plan.h"
#include "imaging/kernels/lanes.h"

namespace kestra::KESTRA_VERSION {

namespace {

constexpr std::size_t kChunk = 64;      // steps from one preparation to the next
constexpr std::size_t kGhostBytes = 4;  // per step; as many of the last as there are ghosts count
constexpr std::size_t kSquare = 16;     // columns that are brought into order together

template <DiffusionMethod kMethod>
constexpr DiffusionPlan kPlan = planOf(kDiffusionKernels[static_cast<std::size_t>(kMethod)]);

template <std::size_t... kIs>
struct Indices {};

// Indices<0, 1, ... kCount - 1>.
template <std::size_t kCount, std::size_t... kIs>
struct Count : Count<kCount - 1, kCount - 1, kIs...> {};
template <std::size_t... kIs>
struct Count<0, kIs...> {
  using Type = Indices<kIs...>;
};

// A load from n bytes before the middle on gives 0xFF in the first n lanes and 0 in the others.
#define KESTRA_FF 255, 255, 255, 255, 255, 255, 255, 255
alignas(64) constexpr std::uint8_t kFirstLanes[2 * 32] = {KESTRA_FF, KESTRA_FF, KESTRA_FF,
                                                          KESTRA_FF};
#undef KESTRA_FF
constexpr const std::uint8_t* kMiddle = kFirstLanes + 32;

template <DiffusionMethod kMethod>
class Wavefront {
 public:
  Wavefront(const DiffusionPage& page, std::uint8_t* scratch)
      : page_(page),
        steps_(page.width + (kLanes - 1) * kSkew),
        paddedSteps_((steps_ + kChunk - 1) / kChunk * kChunk),
        ghosts_(scratch),
        columns_(scratch + (paddedSteps_ + kRows * kSkew) * kGhostBytes, paddedSteps_) {
    constexpr std::size_t kPlanes = kLanes / 8;
    constexpr std::size_t kBesides = (kLanes - 1) * kSkew + kChunk;  // steps that are no columns
    static_assert(
        (kGhostBytes + kPlanes) * kBesides + kGhostBytes * kRows * kSkew + kPlanes * kLanes <=
                diffusionScratch(0) &&
            kGhostBytes + kPlanes <= diffusionScratch(1) - diffusionScratch(0),
        "ghosts and columns fit into the scratch");
  }

  void run() {
    // Above the page nothing owes anything: level 0 is black without an error.
    std::memset(ghosts_, 0, (paddedSteps_ + kRows * kSkew) * kGhostBytes);
    columns_.clear();
    std::memset(shares_, 0, sizeof shares_);
    std::memset(dots_, 0, sizeof dots_);
    for (std::size_t top = 0; top < page_.height; top += kRows) {
      findRows(top);
      std::memset(shares_, 0, (1 + kDepth * kShares) * kLanes);
      for (std::size_t start = 0; start < steps_; start += kChunk) {
        arrive(start);
        print(start);
        columns_.keep(start, dots_);
      }
      writeRows(top);
    }
  }

 private:
  static constexpr const DiffusionPlan& kThePlan = kPlan<kMethod>;
  static constexpr std::size_t kGhosts = static_cast<std::size_t>(kThePlan.rows);
  static constexpr std::size_t kRows = kLanes - kGhosts;  // of the page in a block
  // A row needs one column more than the reach. Some more, and a share is stored long enough before
  // its first pull, which begins some bytes before the vector: a processor cannot forward that.
  static constexpr std::size_t kSkew = 5;
  static_assert(kSkew > static_cast<std::size_t>(kThePlan.reach), "the row above is ahead");
  static constexpr std::size_t kShares = kThePlan.shareCount;
  static constexpr std::size_t kUpper = kThePlan.upperPulls;
  static constexpr std::size_t kPulls = kThePlan.pullCount;
  // Steps back to the oldest share that is pulled: at most the leftmost column of the farthest row.
  static constexpr std::size_t kDepth = kGhosts * kSkew + static_cast<std::size_t>(kThePlan.reach);
  static_assert(kGhosts < kGhostBytes + 1, "ghosts fit into their bytes");

  // Where lane l would find its level of step 0, as a place in `page_.levels`. Ghosts, and rows
  // below the page, take any row: their levels are replaced or not used.
  void findRows(std::size_t top) {
    const std::size_t last = page_.height - 1;
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      const std::size_t row = top + lane < kGhosts ? 0 : top + lane - kGhosts;
      rowStart_[lane] = static_cast<std::ptrdiff_t>((row < last ? row : last) * page_.stride) -
                        static_cast<std::ptrdiff_t>(lane * kSkew);
      nextRowStart_[lane] = (row + kRows < last ? row + kRows : last) * page_.stride;
    }
  }

  // Asks for the levels that the next block will want: so many rows at once are more than a
  // processor foresees.
  void fetchAhead(std::size_t start) const {
    const std::size_t x = start < page_.width ? start : page_.width - 1;
    for (std::size_t lane = kGhosts; lane < kLanes; ++lane) {
      __builtin_prefetch(page_.levels + nextRowStart_[lane] + x);
    }
  }

  // 16 levels from a place in `page_.levels` on, which may lie before or behind it: what is not
  // there reads as 0 and is not used.
  const std::uint8_t* levels(std::ptrdiff_t from, std::uint8_t* spare) const {
    const std::size_t size = (page_.height - 1) * page_.stride + page_.width;
    if (from >= 0 && static_cast<std::size_t>(from) + kSquare <= size) return page_.levels + from;
    std::memset(spare, 0, kSquare);
    for (std::size_t i = 0; i < kSquare; ++i) {
      const std::ptrdiff_t at = from + static_cast<std::ptrdiff_t>(i);
      if (at >= 0 && static_cast<std::size_t>(at) < size) spare[i] = page_.levels[at];
    }
    return spare;
  }

  // Whether all lanes are on the page from `start` to the end of the chunk.
  bool isInside(std::size_t start) const {
    return start >= (kLanes - 1) * kSkew && start + kChunk <= page_.width;
  }

  // Prepares the levels of the steps from `start` on.
  void arrive(std::size_t start) {
    fetchAhead(start);
    const bool inside = isInside(start);
    std::uint8_t spare[kLanes][kSquare];
    const std::uint8_t* rows[kLanes];
    for (std::size_t step = 0; step < kChunk; step += kSquare) {
      const auto from = static_cast<std::ptrdiff_t>(start + step);
      if (inside) {
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
          rows[lane] = page_.levels + (rowStart_[lane] + from);
        }
      } else {
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
          rows[lane] = levels(rowStart_[lane] + from, spare[lane]);
        }
      }
      Lanes square[kSquare];
      for (std::size_t i = 0; i < kSquare; ++i) square[i] = loadRows(rows + i);
      transpose(square);
      for (std::size_t i = 0; i < kSquare; ++i) store(arrivals_ + (step + i) * kLanes, square[i]);
    }
  }

  // 0xFF for the lanes whose column, step - lane * skew, lies on the page.
  Lanes activeLanes(std::size_t step) const {
    const std::size_t begun = step / kSkew + 1;
    const std::size_t ended = step < page_.width ? 0 : (step - page_.width) / kSkew + 1;
    const Lanes haveBegun = load(kMiddle - (begun < kLanes ? begun : kLanes));
    const Lanes haveEnded = load(kMiddle - (ended < kLanes ? ended : kLanes));
    return flipped(haveBegun, haveEnded);
  }

  // The lanes' levels, less 128, with a pull from an upper row added.
  template <std::size_t kPull>
  KESTRA_INLINE static Lanes pullUpper(Lanes levels, const std::uint8_t* shares) {
    constexpr DiffusionPull kThis = kThePlan.pulls[kPull];
    constexpr std::ptrdiff_t kStepsAgo =
        kThis.rows * static_cast<std::ptrdiff_t>(kSkew) + kThis.columns;
    constexpr std::ptrdiff_t kPlace = (static_cast<std::ptrdiff_t>(kThis.share) -
                                       kStepsAgo * static_cast<std::ptrdiff_t>(kShares)) *
                                          static_cast<std::ptrdiff_t>(kLanes) -
                                      kThis.rows;
    return plusClamped(levels, load(shares + kPlace));
  }

  // The same with a pull from the row itself, which ghosts do not take part in. The dot just before
  // is what the next one waits for: its shares are still in registers.
  template <std::size_t kPull>
  KESTRA_INLINE static Lanes pullOwn(Lanes levels, const std::uint8_t* shares,
                                     const Lanes (&latest)[kShares], Lanes real) {
    constexpr DiffusionPull kThis = kThePlan.pulls[kUpper + kPull];
    if constexpr (kThis.columns == 1) {
      return plusClamped(levels, latest[kThis.share]);
    } else {
      constexpr std::ptrdiff_t kPlace = (static_cast<std::ptrdiff_t>(kThis.share) -
                                         kThis.columns * static_cast<std::ptrdiff_t>(kShares)) *
                                        static_cast<std::ptrdiff_t>(kLanes);
      return plusClamped(levels, both(load(shares + kPlace), real));
    }
  }

  template <std::size_t kShare>
  KESTRA_INLINE static void share(Lanes first, Lanes second, Lanes white, Lanes real,
                                  std::uint8_t* shares, Lanes (&latest)[kShares]) {
    const Lanes multiplier = allWords(kThePlan.multipliers[kShare]);
    const Lanes size = unzip(productHigh(first, multiplier), productHigh(second, multiplier));
    store(shares + kShare * kLanes, turned(size, white));  // white dots owe less than nothing
    latest[kShare] = turnedWhere(size, white, real);
  }

  void print(std::size_t start) {
    const typename Count<kUpper>::Type upper;
    const typename Count<kPulls - kUpper>::Type own;
    const typename Count<kShares>::Type each;
    isInside(start) ? print<true>(start, upper, own, each) : print<false>(start, upper, own, each);
  }

  // Prints the steps that have arrived.
  template <bool kInside, std::size_t... kUppers, std::size_t... kOwns, std::size_t... kEach>
  void print(std::size_t start, Indices<kUppers...>, Indices<kOwns...>, Indices<kEach...>) {
    const Lanes middle = all(128);
    const Lanes real = flipped(load(kMiddle - kGhosts), all(255));
    const Lanes none = zeros();
    // Of this chunk's first step; those of the steps before lie in front.
    std::uint8_t* shares = shares_ + (1 + kDepth * kShares) * kLanes;
    std::uint8_t* ghosts = ghosts_ + start * kGhostBytes;
    // Behind this step's ghosts, as the block above left them. The lanes behind them load what
    // follows, at the end the columns, and do not use it.
    const std::uint8_t* last = ghosts + (kRows * kSkew + 1) * kGhostBytes;
    Lanes latest[kShares] = {both(load(shares + kEach * kLanes - kShares * kLanes), real)...};
    for (std::size_t step = 0; step < kChunk; ++step, shares += kShares * kLanes) {
      // Less 128, so that signed sums clamp at 0 and 255.
      Lanes level = flipped(load(arrivals_ + step * kLanes), middle);
      ((level = pullUpper<kUppers>(level, shares)), ...);
      level = chosen(real, level, flipped(load(last + step * kGhostBytes - kGhosts), middle));
      ((level = pullOwn<kOwns>(level, shares, latest, real)), ...);
      const Lanes white = above(level, none);
      static_assert(kFirstWhiteLevel == 129, "white lies above 0, less 128");
      level = flipped(level, middle);
      // Of a black dot the error is the level, of a white one level - 255: level with all bits
      // flipped is the size of that.
      Lanes size = flipped(level, white);
      if constexpr (!kInside) size = both(size, activeLanes(start + step));
      const Lanes first = zipFirst(size, none);
      const Lanes second = zipSecond(size, none);
      (share<kEach>(first, second, white, real, shares, latest), ...);
      dots_[step] = highBits(white);
      // The next block's ghosts reach this column kRows * kSkew steps earlier in their time.
      storeLastFour(ghosts + step * kGhostBytes, level);
    }
    // The steps that are still needed go in front.
    for (std::size_t i = 1; i <= kDepth * kShares; ++i) {
      store(shares_ + i * kLanes, load(shares_ + (i + kChunk * kShares) * kLanes));
    }
  }

  void writeRows(std::size_t top) const {
    for (std::size_t lane = kGhosts; lane < kLanes; ++lane) {
      const std::size_t row = top + lane - kGhosts;
      if (row >= page_.height) return;
      columns_.writeRow(lane, lane * kSkew, page_.width, page_.levels + row * page_.stride);
    }
  }

  alignas(64) std::uint8_t arrivals_[kChunk * kLanes];
  // A vector in front, as the oldest pulls begin some bytes before theirs.
  alignas(64) std::uint8_t shares_[(1 + (kDepth + kChunk) * kShares) * kLanes];
  LaneBits dots_[kChunk];  // of each step
  std::ptrdiff_t rowStart_[kLanes];
  std::size_t nextRowStart_[kLanes];  // in the next block
  const DiffusionPage& page_;
  const std::size_t steps_;
  const std::size_t paddedSteps_;
  std::uint8_t* const ghosts_;  // scratch of the caller, like the memory of the next
  const DotColumns columns_;
};

template <DiffusionMethod kMethod>
void diffuseBy(const DiffusionPage& page, std::uint8_t* scratch) {
  Wavefront<kMethod>(page, scratch).run();
}

}  // namespace

void diffuse(const DiffusionPage& page, std::uint8_t* scratch) {
  if (page.width == 0 || page.height == 0) return;
  switch (page.method) {
    case DiffusionMethod::kBurkes:
      return diffuseBy<DiffusionMethod::kBurkes>(page, scratch);
    case DiffusionMethod::kStucki:
      return diffuseBy<DiffusionMethod::kStucki>(page, scratch);
    case DiffusionMethod::kJarvisJudiceNinke:
      return diffuseBy<DiffusionMethod::kJarvisJudiceNinke>(page, scratch);
    case DiffusionMethod::kSierra:
      return diffuseBy<DiffusionMethod::kSierra>(page, scratch);
    case DiffusionMethod::kStevensonArce:
      return diffuseBy<DiffusionMethod::kStevensonArce>(page, scratch);
    case DiffusionMethod::kFloydSteinberg:
      return diffuseBy<DiffusionMethod::kFloydSteinberg>(page, scratch);
  }
}

}  // namespace kestra::KESTRA_VERSION
