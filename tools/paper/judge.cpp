// Counts labels by digest, and finds the order with the longest common subsequence of list and
// deliveries: what it leaves out is out of order.
//
// The subsequence is found in halves (Hirschberg, 1975), so that long lists need little memory.
#include "tools/paper/judge.h"

#include <algorithm>
#include <cstdint>
#include <map>

namespace kestra::paper {
namespace {

using Labels = std::vector<std::size_t>;  // digests as small numbers

// A stretch of such a list.
struct Stretch {
  const Labels& labels;
  std::size_t begin;
  std::size_t end;
  [[nodiscard]] std::size_t size() const { return end - begin; }
};

// Lengths of the longest common subsequence of all of `a` and the first 0, 1, 2 ... of `b`;
// with `backward` of the last 0, 1, 2 ... of `b`.
std::vector<std::uint32_t> lengths(const Stretch& a, const Stretch& b, bool backward) {
  std::vector<std::uint32_t> row(b.size() + 1, 0);
  for (std::size_t i = 0; i < a.size(); ++i) {
    const std::size_t left = a.labels[backward ? a.end - 1 - i : a.begin + i];
    std::uint32_t diagonal = 0;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t right = b.labels[backward ? b.end - 1 - j : b.begin + j];
      const std::uint32_t above = row[j + 1];
      row[j + 1] = left == right ? diagonal + 1 : std::max(above, row[j]);
      diagonal = above;
    }
  }
  return row;
}

// Marks the members of `a` that belong to a longest common subsequence.
void mark(Stretch a, Stretch b, std::vector<bool>& inOrder) {
  while (a.size() > 0 && b.size() > 0 && a.labels[a.begin] == b.labels[b.begin]) {
    inOrder[a.begin] = true;
    ++a.begin;
    ++b.begin;
  }
  while (a.size() > 0 && b.size() > 0 && a.labels[a.end - 1] == b.labels[b.end - 1]) {
    inOrder[a.end - 1] = true;
    --a.end;
    --b.end;
  }
  if (a.size() == 0 || b.size() == 0) return;
  if (a.size() == 1) {
    const auto first = b.labels.begin();
    const auto begin = first + static_cast<std::ptrdiff_t>(b.begin);
    const auto end = first + static_cast<std::ptrdiff_t>(b.end);
    if (std::find(begin, end, a.labels[a.begin]) != end) inOrder[a.begin] = true;
    return;
  }
  const std::size_t middle = a.begin + a.size() / 2;
  const auto before = lengths({a.labels, a.begin, middle}, b, false);
  const auto behind = lengths({a.labels, middle, a.end}, b, true);
  std::size_t best = 0;
  for (std::size_t j = 0; j <= b.size(); ++j) {
    if (before[j] + behind[b.size() - j] > before[best] + behind[b.size() - best]) best = j;
  }
  mark({a.labels, a.begin, middle}, {b.labels, b.begin, b.begin + best}, inOrder);
  mark({a.labels, middle, a.end}, {b.labels, b.begin + best, b.end}, inOrder);
}

struct Counts {
  std::size_t wanted = 0;
  std::size_t came = 0;
  std::size_t inOrder = 0;
};

}  // namespace

std::size_t Verdict::repeats() const {
  std::size_t sum = 0;
  for (const Repeat& repeat : twice) sum += repeat.count;
  return sum;
}

Verdict judge(const std::vector<ListedLabel>& wanted, const std::vector<std::string>& came) {
  Verdict verdict;
  std::map<std::string, std::size_t> numbers;
  std::vector<Counts> counts;
  Labels list;
  for (const ListedLabel& label : wanted) {
    const std::size_t number = numbers.emplace(label.digest, numbers.size()).first->second;
    if (number == counts.size()) counts.emplace_back();
    ++counts[number].wanted;
    list.push_back(number);
  }

  Labels deliveries;
  for (std::size_t i = 0; i < came.size(); ++i) {
    const auto known = numbers.find(came[i]);
    if (known == numbers.end()) {
      verdict.unknown.push_back(i);
      continue;
    }
    Counts& count = counts[known->second];
    ++count.came;
    if (count.wanted > 1 || count.came == 1) deliveries.push_back(known->second);
  }

  std::vector<bool> inOrder(list.size(), false);
  mark({list, 0, list.size()}, {deliveries, 0, deliveries.size()}, inOrder);
  for (std::size_t i = 0; i < list.size(); ++i) counts[list[i]].inOrder += inOrder[i] ? 1U : 0U;

  // Of equal labels that are not in order the first are called lost, the others out of order.
  std::vector<std::size_t> toLose;
  toLose.reserve(counts.size());
  for (const Counts& count : counts) {
    toLose.push_back(count.wanted - std::min(count.wanted, count.came));
  }
  std::vector<bool> told(counts.size(), false);
  for (std::size_t i = 0; i < list.size(); ++i) {
    const std::size_t number = list[i];
    const Counts& count = counts[number];
    if (!inOrder[i]) {
      if (toLose[number] > 0) {
        --toLose[number];
        verdict.lost.push_back(wanted[i].name);
      } else {
        verdict.outOfOrder.push_back(wanted[i].name);
      }
    }
    if (count.came > count.wanted && !told[number]) {
      told[number] = true;
      verdict.twice.push_back({wanted[i].name, count.came - count.wanted});
    }
  }
  return verdict;
}

}  // namespace kestra::paper
