// Error diffusion a row at a time: first what the rows above owe, for the whole row at once, then
// the dots from left to right.
//
// Only the second part makes a dot wait for the one before it; it is kept to one addition and one
// look-up. No vector instructions are asked for, so this runs everywhere.
#include "imaging/kernels/diffusion_rows.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "imaging/kernels/diffusion_plan.h"

namespace kestra {
namespace {

using Errors = std::vector<std::int16_t>;

constexpr int errorOf(int level) { return level >= kFirstWhiteLevel ? level - 255 : level; }

/// What a pixel passes on, by a level that need not be clamped yet: one look-up does both.
struct ByLevel {
  static constexpr int kLowest = -128;
  static constexpr int kHighest = 255 + 128;

  template <class Rule>
  explicit ByLevel(Rule rule) {
    for (int level = kLowest; level <= kHighest; ++level) {
      values[level - kLowest] = static_cast<std::int16_t>(rule(std::clamp(level, 0, 255)));
    }
  }
  int of(int level) const { return values[level - kLowest]; }

  std::int16_t values[kHighest - kLowest + 1];
};

/// The share of a whole number's size, with its sign.
int shareWithSign(int error, unsigned multiplier) {
  const int size = static_cast<int>(shareOf(static_cast<unsigned>(std::abs(error)), multiplier));
  return error < 0 ? -size : size;
}

/// A pull from the row itself: 0 for all levels where the kernel has none.
ByLevel ownShares(const DiffusionPlan& plan, int columns) {
  unsigned multiplier = 0;
  for (std::size_t i = plan.upperPulls; i < plan.pullCount; ++i) {
    if (plan.pulls[i].columns == columns) multiplier = plan.multipliers[plan.pulls[i].share];
  }
  return ByLevel([multiplier](int level) { return shareWithSign(errorOf(level), multiplier); });
}

/// Adds a share of each of `errors` to the levels, clamped to 0..255.
void pullRow(std::int16_t* levels, const std::int16_t* errors, std::size_t count,
             unsigned multiplier) {
  for (std::size_t x = 0; x < count; ++x) {
    // All in 16 bits, of which compilers make vectors: the sign is 0 or -1, all bits set.
    const auto sign = static_cast<std::int16_t>(errors[x] >> 15);
    const auto size = static_cast<std::uint16_t>((errors[x] ^ sign) - sign);
    const auto part = static_cast<std::int16_t>(shareOf(size, multiplier));
    const auto share = static_cast<std::int16_t>((part ^ sign) - sign);
    const auto sum = static_cast<std::int16_t>(levels[x] + share);
    levels[x] = std::clamp<std::int16_t>(sum, 0, 255);
  }
}

/// Settles the levels from left to right; leaves those that lie outside 0..255 as they are.
template <bool kPullsSecond>
void settleRow(std::int16_t* levels, std::size_t width, const ByLevel& nextShare,
               const ByLevel& secondShare) {
  int before = 0;  // level 0 owes nothing
  int second = 0;
  for (std::size_t x = 0; x < width; ++x) {
    int level = levels[x];
    if (kPullsSecond) level = std::clamp(level + secondShare.of(second), 0, 255);
    level += nextShare.of(before);
    second = before;
    before = level;
    levels[x] = static_cast<std::int16_t>(level);
  }
}

/// What settled levels leave behind.
void keepErrors(std::int16_t* errors, const std::int16_t* levels, std::size_t width) {
  for (std::size_t x = 0; x < width; ++x) {
    const auto level = std::clamp<std::int16_t>(levels[x], 0, 255);
    errors[x] = static_cast<std::int16_t>(level - (level >= kFirstWhiteLevel ? 255 : 0));
  }
}

void writeRow(std::uint8_t* bits, const std::int16_t* levels, std::size_t width) {
  const auto dot = [levels](std::size_t x) { return levels[x] >= kFirstWhiteLevel ? 1U : 0U; };
  std::size_t x = 0;
  for (; x + 8 <= width; x += 8) {
    bits[x / 8] = static_cast<std::uint8_t>(dot(x) << 7 | dot(x + 1) << 6 | dot(x + 2) << 5 |
                                            dot(x + 3) << 4 | dot(x + 4) << 3 | dot(x + 5) << 2 |
                                            dot(x + 6) << 1 | dot(x + 7));
  }
  if (x == width) return;
  unsigned dots = 0;
  for (std::size_t i = x; i < width; ++i) dots |= dot(i) << (7 - i % 8);
  bits[x / 8] = static_cast<std::uint8_t>(dots);
}

}  // namespace

std::size_t diffuseRows(const DiffusionPage& page, std::uint8_t* /*scratch*/) {
  const DiffusionPlan plan = planOf(kDiffusionKernels[static_cast<std::size_t>(page.method)]);
  const ByLevel nextShare = ownShares(plan, 1);
  const ByLevel secondShare = ownShares(plan, 2);
  const bool pullsSecond = plan.pulls[plan.upperPulls].columns == 2;  // else only the next
  // The errors of the row that is printed and of those above it, with as many zeros on either side
  // as a kernel reaches: beyond the page nothing owes anything.
  const auto reach = static_cast<std::size_t>(plan.reach);
  const auto kept = static_cast<std::size_t>(plan.rows) + 1;
  std::vector<Errors> errors(kept, Errors(page.width + 2 * reach, 0));
  std::vector<std::int16_t> levels(page.width);
  for (std::size_t y = 0; y < page.height; ++y) {
    const std::uint8_t* grey = page.grey + y * page.greyStride;
    std::copy(grey, grey + page.width, levels.begin());
    for (std::size_t i = 0; i < plan.upperPulls; ++i) {
      const DiffusionPull& pull = plan.pulls[i];
      const auto rows = static_cast<std::size_t>(pull.rows);
      if (rows > y) continue;
      pullRow(levels.data(), errors[(y - rows) % kept].data() + plan.reach - pull.columns,
              page.width, plan.multipliers[pull.share]);
    }
    if (pullsSecond) {
      settleRow<true>(levels.data(), page.width, nextShare, secondShare);
    } else {
      settleRow<false>(levels.data(), page.width, nextShare, secondShare);
    }
    keepErrors(errors[y % kept].data() + reach, levels.data(), page.width);
    writeRow(page.bits + y * page.bitStride, levels.data(), page.width);
  }
  return 1;
}

}  // namespace kestra
