// Tests tables of levels and turned rows: every brightness, other tables, and every version against
// the plain one over many sizes.
#include "imaging/kernels/level_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "tests/unit/row_sizes.h"

namespace kestra {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Table = std::array<std::uint8_t, 256>;

Table tableOfSum(int sum) {
  Table table = {};
  for (int level = 0; level < 256; ++level) {
    table[static_cast<std::size_t>(level)] =
        static_cast<std::uint8_t>(std::clamp(level + sum, 0, 255));
  }
  return table;
}

/// Long enough for a table to be looked at as a whole, every level in it.
Bytes longRow() {
  Bytes row = filledRow(2481, RowFill::Random);
  for (std::size_t level = 0; level < 256; ++level) row[level] = static_cast<std::uint8_t>(level);
  return row;
}

class LevelRows : public testing::TestWithParam<KernelLevel> {
 protected:
  Bytes lookedUp(const Table& table, Bytes row) const {
    kernels.lookUp(table.data(), row.data(), row.size());
    return row;
  }

  LevelRowKernels kernels = levelRowKernels(GetParam());
  LevelRowKernels plain = levelRowKernels(KernelLevel::kPlain);
};

TEST_P(LevelRows, TakeEveryBrightness) {
  const Bytes row = longRow();
  for (int sum = -256; sum <= 256; ++sum) {
    Bytes wanted;
    for (const std::uint8_t level : row) {
      wanted.push_back(static_cast<std::uint8_t>(std::clamp(level + sum, 0, 255)));
    }
    ASSERT_EQ(wanted, lookedUp(tableOfSum(sum), row)) << sum;
  }
}

TEST_P(LevelRows, FollowATableThatIsNearlyASum) {
  const Bytes row = longRow();
  for (const int sum : {-100, -1, 0, 1, 100}) {
    for (const std::size_t other : {0U, 1U, 99U, 101U, 254U, 255U}) {
      Table table = tableOfSum(sum);
      table[other] = static_cast<std::uint8_t>(table[other] ^ 0x40U);
      Bytes wanted;
      for (const std::uint8_t level : row) wanted.push_back(table[level]);
      ASSERT_EQ(wanted, lookedUp(table, row)) << sum << " but for " << other;
    }
  }
}

TEST_P(LevelRows, AreTheSameAsPlainForEverySize) {
  Table scrambled = {};
  for (std::size_t i = 0; i < scrambled.size(); ++i) {
    scrambled[i] = static_cast<std::uint8_t>(i * 37 + 11);
  }
  for (const std::size_t size : kRowSizes) {
    const Bytes row = filledRow(size, RowFill::Random);
    for (const Table& table : {scrambled, tableOfSum(75), tableOfSum(-75)}) {
      Bytes wanted = row;
      plain.lookUp(table.data(), wanted.data(), size);
      ASSERT_EQ(wanted, lookedUp(table, row)) << size;
    }
    Bytes turned = row;
    kernels.reverse(turned.data(), size);
    ASSERT_EQ(Bytes(row.rbegin(), row.rend()), turned) << size;
    plain.reverse(turned.data(), size);
    ASSERT_EQ(row, turned) << size;
  }
}

INSTANTIATE_TEST_SUITE_P(EveryLevel, LevelRows, testing::ValuesIn(kernelLevels()), levelName);

TEST(LevelRowLevels, AreVersionsOfTheirOwn) {
  std::vector<LevelRowKernels> seen;
  for (const KernelLevel level : kernelLevels()) {
    const LevelRowKernels now = levelRowKernels(level);
    for (const LevelRowKernels& other : seen) {
      EXPECT_NE(other.lookUp, now.lookUp) << kernelLevelName(level);
      EXPECT_NE(other.reverse, now.reverse) << kernelLevelName(level);
    }
    seen.push_back(now);
  }
}

}  // namespace
}  // namespace kestra
