// Error diffusion in plain C++ with four rows side by side, each two chunks of columns behind the
// row above.
//
// The error of a dot binds the next dot of its row, so a row alone leaves a processor waiting. Rows
// that go down like a staircase never wait for each other:
//
//     turn     0   1   2   3   4   5   6   7   8
//     row 0    a   b   c   d   e   f   g   h              a, b, c ...: chunks of the row
//     row 1            a   b   c   d   e   f   g
//     row 2                    a   b   c   d   e
//     row 3                            a   b   c
//     row 4                                    a
//
// In a turn each lane first takes what the rows above owe to its chunk, all columns at once; then
// the chunks of all lanes are settled, a dot of each in turn. Only there a dot waits for the one
// before it; that is kept to one addition and one look-up. A lane whose row ends goes on with the
// row four below. No vector instructions are asked for, so this runs everywhere.
#include "imaging/kernels/diffusion_rows.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "imaging/kernels/diffusion_plan.h"

namespace kestra {
namespace {

constexpr std::size_t kLanes = 4;          // rows side by side
constexpr std::size_t kMostColumns = 128;  // of a chunk

// Turns from a row to the next. Two, as a pixel also pulls from columns to its right: the row above
// must have settled the chunk that follows as well.
constexpr std::size_t kLag = 2;

/// The levels of a lane's chunk.
using Levels = std::int16_t[kMostColumns];

constexpr int errorOf(int level) { return level >= kFirstWhiteLevel ? level - 255 : level; }

/// What a pixel passes on in its row, by a level that need not be clamped yet: one look-up does
/// both. All 0 where the kernel passes nothing on to that column.
class OwnShares {
 public:
  OwnShares(const DiffusionPlan& plan, int columns) {
    for (std::size_t i = plan.upperPulls; i < plan.pullCount; ++i) {
      if (plan.pulls[i].columns != columns) continue;
      const int multiplier = static_cast<int>(plan.multipliers[plan.pulls[i].share]);
      for (int level = kLowest; level <= kHighest; ++level) {
        shares_[level - kLowest] = signedShareOf(errorOf(std::clamp(level, 0, 255)), multiplier);
      }
    }
  }
  std::ptrdiff_t of(std::ptrdiff_t level) const { return shares_[level - kLowest]; }

 private:
  static constexpr int kLowest = -128;
  static constexpr int kHighest = 255 + 128;

  // As wide as an address: the sum of a level and a share is the next index as it stands.
  std::ptrdiff_t shares_[kHighest - kLowest + 1] = {};
};

/// The last two levels that were settled in a row. At its start 0, which owes nothing.
struct Settled {
  std::ptrdiff_t last = 0;
  std::ptrdiff_t second = 0;
};

/// Adds a share of each of `errors` to the levels, clamped to 0..255.
void pullChunk(std::int16_t* levels, const std::int16_t* errors, std::size_t count,
               std::int16_t multiplier) {
  for (std::size_t x = 0; x < count; ++x) {
    // All in 16 bits, of which compilers make vectors.
    const auto share = static_cast<std::int16_t>(signedShareOf(errors[x], multiplier));
    const auto sum = static_cast<std::int16_t>(levels[x] + share);
    levels[x] = std::min<std::int16_t>(std::max<std::int16_t>(sum, 0), 255);
  }
}

/// Settles the chunks of all lanes from left to right; leaves levels outside 0..255 as they are.
template <bool kPullsSecond>
void settleChunks(Levels (&levels)[kLanes], Settled (&settled)[kLanes], std::size_t columns,
                  const OwnShares& nextShare, const OwnShares& secondShare) {
  Settled lanes[kLanes];  // a copy that compilers keep in registers
  std::copy(settled, settled + kLanes, lanes);
  for (std::size_t x = 0; x < columns; ++x) {
    for (std::size_t i = 0; i < kLanes; ++i) {
      std::ptrdiff_t level = levels[i][x];
      if (kPullsSecond) {
        level += secondShare.of(lanes[i].second);
        level = std::min<std::ptrdiff_t>(std::max<std::ptrdiff_t>(level, 0), 255);
      }
      level += nextShare.of(lanes[i].last);
      lanes[i] = {level, lanes[i].last};
      levels[i][x] = static_cast<std::int16_t>(level);
    }
  }
  std::copy(lanes, lanes + kLanes, settled);
}

/// What settled levels leave behind.
void keepErrors(std::int16_t* errors, const std::int16_t* levels, std::size_t count) {
  for (std::size_t x = 0; x < count; ++x) {
    const auto level = std::min<std::int16_t>(std::max<std::int16_t>(levels[x], 0), 255);
    // -1 where the dot is white: again something that compilers make vectors of.
    const auto white = static_cast<std::int16_t>((kFirstWhiteLevel - 1 - levels[x]) >> 15);
    errors[x] = static_cast<std::int16_t>(level - (white & 255));
  }
}

void writeBytes(std::uint8_t* dots, const std::int16_t* levels, std::size_t count) {
  for (std::size_t x = 0; x < count; ++x) dots[x] = levels[x] >= kFirstWhiteLevel ? 1 : 0;
}

/// Writes the dots of whole bytes, the leftmost of each in its highest bit.
void writeBits(std::uint8_t* bits, const std::int16_t* levels, std::size_t bytes) {
  std::uint8_t dots[kMostColumns];
  for (std::size_t x = 0; x < 8 * bytes; ++x) dots[x] = levels[x] >= kFirstWhiteLevel ? 255 : 0;
  // Eight dots at once: each keeps the bit that it is in its byte, then all are added up, which
  // leaves the sum in the highest byte. In which order a processor stores bytes does not matter.
  constexpr std::uint8_t kBits[8] = {128, 64, 32, 16, 8, 4, 2, 1};
  std::uint64_t mask = 0;
  std::memcpy(&mask, kBits, 8);
  for (std::size_t i = 0; i < bytes; ++i) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, dots + 8 * i, 8);
    bits[i] = static_cast<std::uint8_t>((eight & mask) * 0x0101010101010101U >> 56);
  }
}

/// A page on its way through the lanes.
class Staircase {
 public:
  explicit Staircase(const DiffusionPage& page)
      : page_(page),
        plan_(planOf(kDiffusionKernels[static_cast<std::size_t>(page.method)])),
        nextShare_(plan_, 1),
        secondShare_(plan_, 2),
        keptRows_(static_cast<std::size_t>(plan_.rows) + 1),
        errorStride_(page.width + 2 * static_cast<std::size_t>(plan_.reach)),
        errors_(keptRows_ * errorStride_, 0) {
    // A lane's next row is the one below the last lane's and must not come too close to it, so a
    // row takes at least kLanes * kLag turns: chunks of narrow pages are small.
    const std::size_t chunks =
        std::max((page.width + kMostColumns - 1) / kMostColumns, kLanes * kLag);
    columns_ = ((page.width + chunks - 1) / chunks + 7) / 8 * 8;  // whole bytes of dots
    turnsOfRow_ = std::max((page.width + columns_ - 1) / columns_, kLanes * kLag);
  }

  void run() {
    const bool pullsSecond = plan_.pulls[plan_.upperPulls].columns == 2;  // else only the next
    const std::size_t lastRow = page_.height - 1;
    const std::size_t turns =
        lastRow / kLanes * turnsOfRow_ + lastRow % kLanes * kLag + turnsOfRow_;
    for (std::size_t turn = 0; turn < turns; ++turn) {
      for (std::size_t lane = 0; lane < kLanes; ++lane) prepare(lane, turn);
      if (pullsSecond) {
        settleChunks<true>(levels_, settled_, columns_, nextShare_, secondShare_);
      } else {
        settleChunks<false>(levels_, settled_, columns_, nextShare_, secondShare_);
      }
      for (std::size_t lane = 0; lane < kLanes; ++lane) finish(lane);
    }
  }

 private:
  /// Where a lane is; without columns it has nothing to do in this turn.
  struct Chunk {
    std::size_t row = 0;
    std::size_t start = 0;
    std::size_t count = 0;
  };

  Chunk chunkOf(std::size_t lane, std::size_t turn) const {
    if (turn < lane * kLag) return {};
    const std::size_t own = turn - lane * kLag;
    const std::size_t row = own / turnsOfRow_ * kLanes + lane;
    const std::size_t start = own % turnsOfRow_ * columns_;
    if (row >= page_.height || start >= page_.width) return {};
    return {row, start, std::min(columns_, page_.width - start)};
  }

  /// The errors of a row from a column on. They take the place of those of a row that nobody pulls
  /// from any more. Beside the page nothing owes anything; nor above it, as the rows that share a
  /// place with rows above the page come later than those that pull from there.
  std::int16_t* errorsOf(std::size_t row, std::size_t column) {
    return errors_.data() + row % keptRows_ * errorStride_ + static_cast<std::size_t>(plan_.reach) +
           column;
  }

  /// Fetches the lane's next chunk and lets it pull from the rows above.
  void prepare(std::size_t lane, std::size_t turn) {
    const Chunk chunk = chunkOf(lane, turn);
    chunks_[lane] = chunk;
    if (chunk.start == 0) settled_[lane] = {};
    std::int16_t* levels = levels_[lane];
    const std::uint8_t* grey = page_.grey + chunk.row * page_.greyStride + chunk.start;
    std::copy(grey, grey + chunk.count, levels);
    // Right of the page level 0 stays black, and with it the unused bits: no error is above 128.
    std::fill(levels + chunk.count, levels + columns_, std::int16_t{0});
    if (chunk.count == 0) return;
    for (std::size_t i = 0; i < plan_.upperPulls; ++i) {
      const DiffusionPull& pull = plan_.pulls[i];
      const std::size_t row = chunk.row + keptRows_ - static_cast<std::size_t>(pull.rows);
      pullChunk(levels, errorsOf(row, chunk.start) - pull.columns, chunk.count,
                static_cast<std::int16_t>(plan_.multipliers[pull.share]));
    }
  }

  /// Keeps the errors of the lane's chunk and writes its dots.
  void finish(std::size_t lane) {
    const Chunk& chunk = chunks_[lane];
    keepErrors(errorsOf(chunk.row, chunk.start), levels_[lane], chunk.count);
    std::uint8_t* row = page_.dots + chunk.row * page_.dotStride;
    if (page_.asBytes) {
      writeBytes(row + chunk.start, levels_[lane], chunk.count);
    } else {
      writeBits(row + chunk.start / 8, levels_[lane], (chunk.count + 7) / 8);
    }
  }

  const DiffusionPage& page_;  // the caller's
  const DiffusionPlan plan_;
  const OwnShares nextShare_;
  const OwnShares secondShare_;
  const std::size_t keptRows_;
  const std::size_t errorStride_;
  std::vector<std::int16_t> errors_;
  std::size_t columns_ = 0;     // of a chunk
  std::size_t turnsOfRow_ = 0;  // from a lane's row to its next one
  Chunk chunks_[kLanes];
  Levels levels_[kLanes] = {};
  Settled settled_[kLanes];
};

}  // namespace

std::size_t diffuseRows(const DiffusionPage& page, std::uint8_t* /*scratch*/) {
  if (page.width > 0 && page.height > 0) Staircase(page).run();
  return kLanes;
}

}  // namespace kestra
