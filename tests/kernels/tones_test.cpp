// Tests tables of levels, turned rows and histograms: every brightness, other tables, and every
// version against a plain one over many sizes.
// Why: a level that is looked up wrong prints another tone, one that is not counted another page.
#include "imaging/kernels/tones.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "tests/kernels/row_sizes.h"
#include "tests/kernels/versions.h"
#include "tests/support/grey_pages.h"

namespace kestra {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing_support::kPageKinds;
using testing_support::PageKind;
using Table = std::array<std::uint8_t, 256>;

Table tableOfSum(int sum) {
  Table table = {};
  for (int level = 0; level < 256; ++level) {
    table[static_cast<std::size_t>(level)] =
        static_cast<std::uint8_t>(std::clamp(level + sum, 0, 255));
  }
  return table;
}

Table scrambledTable() {
  Table table = {};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<std::uint8_t>(i * 37 + 11);
  return table;
}

/// Long enough for a table to be looked at as a whole, every level in it.
Bytes longRow() {
  Bytes row = makeLevels(PageKind::kRandom, 2481, 1);
  for (std::size_t level = 0; level < 256; ++level) row[level] = static_cast<std::uint8_t>(level);
  return row;
}

/// A table's levels for a row, in another row and in place; the byte behind stays.
void expectLookedUp(const Table& table, const Bytes& row) {
  Bytes wanted;
  for (const std::uint8_t level : row) wanted.push_back(table[level]);
  wanted.push_back(0xA5);
  inEveryVersion([&] {
    Bytes out(row.size() + 1, 0xA5);
    lookUpLevels(table.data(), row.data(), out.data(), row.size());
    ASSERT_EQ(wanted, out);
    Bytes same = row;
    same.push_back(0xA5);
    lookUpLevels(table.data(), same.data(), same.data(), row.size());
    ASSERT_EQ(wanted, same) << "in place";
  });
}

}  // namespace

TEST(Tones, TakeEveryBrightness) {
  for (int sum = -256; sum <= 256; ++sum) expectLookedUp(tableOfSum(sum), longRow());
}

TEST(Tones, FollowATableThatIsNearlyASum) {
  for (const int sum : {-100, -1, 0, 1, 100}) {
    for (const std::size_t other : {0U, 1U, 99U, 101U, 254U, 255U}) {
      Table table = tableOfSum(sum);
      table[other] = static_cast<std::uint8_t>(table[other] ^ 0x40U);
      expectLookedUp(table, longRow());
    }
  }
}

TEST(Tones, FollowTheirTableForEverySize) {
  for (const std::size_t size : kRowSizes) {
    const Bytes row = makeLevels(PageKind::kRandom, size, 1);
    for (const Table& table : {scrambledTable(), tableOfSum(75), tableOfSum(-75)}) {
      expectLookedUp(table, row);
    }
  }
}

TEST(Tones, OfTurnedRowsAreInTheOppositeOrder) {
  for (const std::size_t size : kRowSizes) {
    const Bytes row = makeLevels(PageKind::kRandom, size, 1);
    inEveryVersion([&] {
      Bytes turned = row;
      reverseLevels(turned.data(), size);
      ASSERT_EQ(Bytes(row.rbegin(), row.rend()), turned) << size;
    });
  }
}

TEST(Tones, AreCountedInRowsOfEverySizeAndAddedToWhatIsThere) {
  for (const PageKind kind : kPageKinds) {
    for (const std::size_t size : kRowSizes) {
      const Bytes row = makeLevels(kind, size, 1);
      std::array<std::uint32_t, 256> wanted = {};
      wanted[9] = 5;
      for (const std::uint8_t level : row) ++wanted[level];
      inEveryVersion([&] {
        std::array<std::uint32_t, 256> counts = {};
        counts[9] = 5;
        countLevels(row.data(), size, counts.data());
        ASSERT_EQ(wanted, counts) << size;
      });
    }
  }
}

}  // namespace kestra
