// Tests of the verdict: small streams whose verdict is worked by hand, then all of them against a
// plain version.
//
// Every promise of delivery is measured with it.
#include "tools/paper/judge.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <utility>

namespace kestra::paper {
namespace {

// "ABA": three labels, the third equal to the first; names are a0, b1, a2.
std::vector<ListedLabel> list(const std::string& letters) {
  std::vector<ListedLabel> labels;
  for (const char letter : letters) {
    const auto small = static_cast<char>(letter - 'A' + 'a');
    labels.push_back({std::string(1, letter), small + std::to_string(labels.size())});
  }
  return labels;
}

std::vector<std::string> stream(const std::string& letters) {
  std::vector<std::string> digests;
  for (const char letter : letters) digests.emplace_back(1, letter);
  return digests;
}

// "lost x; twice y:2; late z; unknown 3", empty parts left out.
std::string inWords(const Verdict& verdict) {
  std::string words;
  for (const std::string& name : verdict.lost) words += "lost " + name + "; ";
  for (const Repeat& repeat : verdict.twice) {
    words += "twice " + repeat.name + ":" + std::to_string(repeat.count) + "; ";
  }
  for (const std::string& name : verdict.outOfOrder) words += "disorder " + name + "; ";
  for (const std::size_t which : verdict.unknown)
    words += "unknown " + std::to_string(which) + "; ";
  return words;
}

struct Case {
  const char* wanted;
  const char* came;
  const char* verdict;
};

// "AXC_wanted_ABC"; nothing is a word.
std::string nameOf(const testing::TestParamInfo<Case>& each) {
  const auto word = [](const std::string& letters) {
    return letters.empty() ? "nothing" : letters;
  };
  return word(each.param.came) + "_wanted_" + word(each.param.wanted);
}

class JudgedStream : public testing::TestWithParam<Case> {};

TEST_P(JudgedStream, SaysWhatIsWrong) {
  const Case& given = GetParam();
  EXPECT_EQ(inWords(judge(list(given.wanted), stream(given.came))), given.verdict)
      << given.wanted << " wanted, came " << given.came;
}

INSTANTIATE_TEST_SUITE_P(Good, JudgedStream,
                         testing::Values(Case{"", "", ""}, Case{"A", "A", ""},
                                         Case{"ABC", "ABC", ""}, Case{"AAA", "AAA", ""},
                                         Case{"ABA", "ABA", ""}, Case{"ABAB", "ABAB", ""}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(
    Lost, JudgedStream,
    testing::Values(Case{"A", "", "lost a0; "}, Case{"ABC", "AC", "lost b1; "},
                    Case{"ABC", "BC", "lost a0; "}, Case{"ABC", "AB", "lost c2; "},
                    Case{"ABC", "", "lost a0; lost b1; lost c2; "},
                    // One of three equal labels, and the one of two that is not in its place.
                    Case{"AAA", "AA", "lost a2; "}, Case{"ABA", "AB", "lost a2; "},
                    Case{"ABA", "BA", "lost a0; "}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Twice, JudgedStream,
    testing::Values(Case{"ABC", "ABBC", "twice b1:1; "},
                    Case{"ABC", "ABABC", "twice a0:1; twice b1:1; "},
                    Case{"ABC", "AAAABC", "twice a0:3; "},
                    // A repeat may come at any time after the label.
                    Case{"ABC", "ABCA", "twice a0:1; "},
                    Case{"ABC", "ABCABC", "twice a0:1; twice b1:1; twice c2:1; "},
                    Case{"ABA", "AABA", "twice a0:1; "}, Case{"ABA", "ABBA", "twice b1:1; "},
                    Case{"ABA", "ABAA", "twice a0:1; "}, Case{"AAA", "AAAAA", "twice a0:2; "}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    OutOfOrder, JudgedStream,
    testing::Values(Case{"ABCD", "BCDA", "disorder a0; "}, Case{"ABCD", "DABC", "disorder d3; "},
                    Case{"ABCDE", "ABDEC", "disorder c2; "},
                    // Two blocks changed places: the shorter one is out of order.
                    Case{"ABCDE", "DEABC", "disorder d3; disorder e4; "}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(Unknown, JudgedStream,
                         testing::Values(Case{"ABC", "ABXC", "unknown 2; "},
                                         Case{"", "XX", "unknown 0; unknown 1; "},
                                         Case{"A", "X", "lost a0; unknown 0; "}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(
    Several, JudgedStream,
    testing::Values(Case{"ABCDE", "AACXDE", "lost b1; twice a0:1; unknown 3; "},
                    Case{"ABCDE", "BCDDA", "lost e4; twice d3:1; disorder a0; "}),
    nameOf);

// The first copy is the delivery: a later one cannot make up for its coming too early.
TEST(Judge, ARepeatDoesNotMakeUpForALabelThatCameTooEarly) {
  const Verdict verdict = judge(list("ABC"), stream("ACBC"));
  ASSERT_EQ(verdict.twice.size(), 1U);
  EXPECT_EQ(verdict.twice[0].name, "c2");
  EXPECT_EQ(verdict.outOfOrder.size(), 1U);
}

TEST(Judge, OneOfTwoThatChangedPlacesIsOutOfOrder) {
  for (const auto& [wanted, came] : {std::pair{"ABC", "ACB"}, std::pair{"ABA", "AAB"}}) {
    const Verdict verdict = judge(list(wanted), stream(came));
    EXPECT_EQ(verdict.outOfOrder.size(), 1U);
    EXPECT_TRUE(verdict.lost.empty());
    EXPECT_TRUE(verdict.twice.empty());
  }
}

// The plain version of the order, for lists without equal labels: the longest increasing sequence
// of places among all subsets of the deliveries.
std::size_t plainDisorder(const std::string& wanted, const std::string& came) {
  std::string deliveries;
  for (const char letter : came) {
    const bool isWanted = wanted.find(letter) != std::string::npos;
    if (isWanted && deliveries.find(letter) == std::string::npos) deliveries += letter;
  }
  std::size_t longest = 0;
  for (unsigned subset = 0; subset < (1U << deliveries.size()); ++subset) {
    std::string kept;
    for (std::size_t i = 0; i < deliveries.size(); ++i) {
      if (((subset >> i) & 1U) != 0) kept += deliveries[i];
    }
    // Letters of the list stand in alphabetic order.
    if (std::is_sorted(kept.begin(), kept.end())) longest = std::max(longest, kept.size());
  }
  return deliveries.size() - longest;
}

TEST(Judge, AgreesWithThePlainVersionOnEveryStreamOfFourLetters) {
  const std::string wanted = "ABCD";
  const std::string letters = "ABCDX";
  std::size_t streams = 0;
  for (std::size_t size = 0; size <= 6; ++size) {
    std::size_t all = 1;
    for (std::size_t i = 0; i < size; ++i) all *= letters.size();
    for (std::size_t code = 0; code < all; ++code, ++streams) {
      std::string came;
      for (std::size_t rest = code; came.size() < size; rest /= letters.size()) {
        came += letters[rest % letters.size()];
      }
      const Verdict verdict = judge(list(wanted), stream(came));
      std::size_t lost = 0;
      std::size_t repeats = 0;
      for (const char letter : wanted) {
        const auto times = static_cast<std::size_t>(std::count(came.begin(), came.end(), letter));
        lost += times == 0 ? 1 : 0;
        repeats += times > 1 ? times - 1 : 0;
      }
      ASSERT_EQ(verdict.lost.size(), lost) << came;
      ASSERT_EQ(verdict.repeats(), repeats) << came;
      ASSERT_EQ(verdict.outOfOrder.size(), plainDisorder(wanted, came)) << came;
      ASSERT_EQ(verdict.unknown.size(),
                static_cast<std::size_t>(std::count(came.begin(), came.end(), 'X')))
          << came;
    }
  }
  EXPECT_EQ(streams, 1U + 5U + 25U + 125U + 625U + 3125U + 15625U);
}

// With equal labels: the table of common subsequences, filled in cell by cell.
std::size_t plainCommon(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> table(a.size() + 1,
                                              std::vector<std::size_t>(b.size() + 1, 0));
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j <= b.size(); ++j) {
      table[i][j] = a[i - 1] == b[j - 1] ? table[i - 1][j - 1] + 1
                                         : std::max(table[i - 1][j], table[i][j - 1]);
    }
  }
  return table[a.size()][b.size()];
}

TEST(Judge, AgreesWithThePlainVersionOnEqualLabels) {
  std::mt19937 random(7);
  for (int run = 0; run < 3000; ++run) {
    // Each letter of the list stands in it at least twice.
    std::string wanted = "ABCABC";
    wanted.resize(6 + random() % 6);
    for (std::size_t i = 6; i < wanted.size(); ++i) {
      wanted[i] = static_cast<char>('A' + random() % 3);
    }
    std::shuffle(wanted.begin(), wanted.end(), random);
    std::string came(random() % 14, 'A');
    for (char& letter : came) letter = static_cast<char>('A' + random() % 3);
    std::size_t deliveries = 0;
    for (const char letter : {'A', 'B', 'C'}) {
      deliveries +=
          static_cast<std::size_t>(std::min(std::count(wanted.begin(), wanted.end(), letter),
                                            std::count(came.begin(), came.end(), letter)));
    }
    const Verdict verdict = judge(list(wanted), stream(came));
    ASSERT_EQ(verdict.outOfOrder.size(), deliveries - plainCommon(wanted, came))
        << wanted << " wanted, came " << came;
    ASSERT_EQ(verdict.lost.size(), wanted.size() - deliveries);
    ASSERT_EQ(verdict.repeats(), came.size() - deliveries);
  }
}

TEST(Judge, AgreesOnThousandsOfLabelsWithAFewFaults) {
  std::vector<ListedLabel> wanted;
  std::vector<std::string> came;
  wanted.reserve(3000);
  for (int i = 0; i < 3000; ++i) wanted.push_back({"d" + std::to_string(i), std::to_string(i)});
  for (int i = 0; i < 3000; ++i) {
    if (i == 17 || i == 2500) continue;  // lost, and late
    came.push_back("d" + std::to_string(i));
    if (i % 1000 == 5) came.push_back(came.back());  // three repeats
    if (i == 2600) came.emplace_back("d2500");
  }
  const Verdict verdict = judge(wanted, came);
  EXPECT_EQ(verdict.lost, std::vector<std::string>{"17"});
  EXPECT_EQ(verdict.outOfOrder, std::vector<std::string>{"2500"});
  EXPECT_EQ(verdict.repeats(), 3U);
}

}  // namespace
}  // namespace kestra::paper
