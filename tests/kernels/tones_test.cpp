// Tests tables of levels, turned rows and histograms: every brightness, other tables, and every
// version against a plain one over many sizes.
// Why: a level that is looked up wrong prints another tone, one that is not counted another page.
#include "imaging/kernels/tones.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>

#include "tests/kernels/rows_of_all_sizes.h"
#include "tests/kernels/versions.h"

namespace kestra {
namespace {

using Table = std::array<std::uint8_t, 256>;

Table tableOfSum(int sum) {
  Table table = {};
  int level = sum;
  for (std::uint8_t& entry : table) entry = static_cast<std::uint8_t>(std::clamp(level++, 0, 255));
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
  std::iota(row.begin(), row.begin() + 256, std::uint8_t{0});
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
  withRowsOfAllSizes([](const Bytes& row) {
    for (const Table& table : {scrambledTable(), tableOfSum(75), tableOfSum(-75)}) {
      expectLookedUp(table, row);
    }
  });
}

TEST(Tones, OfTurnedRowsAreInTheOppositeOrder) {
  withRowsOfAllSizes([](const Bytes& row) {
    inEveryVersion([&] {
      Bytes turned = row;
      reverseLevels(turned.data(), row.size());
      ASSERT_EQ(Bytes(row.rbegin(), row.rend()), turned);
    });
  });
}

TEST(Tones, AreCountedInRowsOfEverySizeAndAddedToWhatIsThere) {
  withRowsOfAllSizes([](const Bytes& row) {
    std::array<std::uint32_t, 256> before = {};
    before[9] = 5;
    std::array<std::uint32_t, 256> wanted = before;
    for (const std::uint8_t level : row) ++wanted[level];
    inEveryVersion([&] {
      std::array<std::uint32_t, 256> counts = before;
      countLevels(row.data(), row.size(), counts.data());
      ASSERT_EQ(wanted, counts);
    });
  });
}

}  // namespace kestra
