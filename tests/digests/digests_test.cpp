// Holds the filter and the plain version against the committed list of digests.
// Why: the same page must give the same dots with every compiler, optimisation and machine.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <set>

#include "tests/digests/combinations.h"
#include "tests/digests/digest.h"

namespace kestra::digests {

namespace {

constexpr std::size_t kSlices = 12;

struct Entry {
  std::string digest;
  std::string name;
};

// The committed list: a line "digest: combination" for each job; those with '#' are skipped.
const std::vector<Entry>& list() {
  static const std::vector<Entry> kList = [] {
    std::ifstream in(KESTRA_DIGEST_LIST);
    std::vector<Entry> entries;
    for (std::string line; std::getline(in, line);) {
      if (line.empty() || line[0] == '#') continue;
      EXPECT_EQ(line.substr(16, 2), ": ") << line;
      entries.push_back({line.substr(0, 16), line.substr(18)});
    }
    return entries;
  }();
  return kList;
}

const std::vector<Combination>& combinations() {
  static const std::vector<Combination> kAll = allCombinations();
  return kAll;
}

}  // namespace

class Digests : public ::testing::TestWithParam<std::size_t> {};

TEST_P(Digests, OfTheFilterAreThoseOfTheList) {
  ASSERT_EQ(list().size(), combinations().size());
  std::size_t done = 0;
  for (std::size_t i = GetParam(); i < list().size(); i += kSlices) {
    const testing_support::Result result = blackbox::runFilter(combinations()[i].job);
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(digestOf(result), list()[i].digest) << list()[i].name << "\n" << result.messages;
    ++done;
  }
  EXPECT_GE(done, list().size() / kSlices);
}

INSTANTIATE_TEST_SUITE_P(Slice, Digests, ::testing::Range(std::size_t{0}, kSlices));

TEST(DigestList, IsWhatThePlainVersionGives) {
  ASSERT_EQ(list().size(), combinations().size());
  for (std::size_t i = 0; i < list().size(); ++i) {
    EXPECT_EQ(list()[i].name, combinations()[i].name);
    EXPECT_EQ(list()[i].digest, digestOf(blackbox::predict(combinations()[i].job)))
        << list()[i].name;
  }
}

TEST(DigestList, HasAtLeastTwoHundredDifferentEntries) {
  std::set<std::string> names;
  std::set<std::string> digests;
  for (const Entry& entry : list()) {
    names.insert(entry.name);
    digests.insert(entry.digest);
  }
  EXPECT_GE(digests.size(), 200U);
  EXPECT_EQ(names.size(), list().size()) << "two combinations are the same";
}

TEST(DigestList, TouchesEveryHalftoneAndSwitch) {
  for (const char* word : {"None ",       "FloydSteinberg ",  "Ordered ",
                           "Burkes ",     "Stucki ",          "JarvisJudiceNinke ",
                           "Sierra ",     "StevensonArce ",   "Tattoo ",
                           "Tattoo_V7 ",  " mirror ",         " negative ",
                           " barcode0 ",  " barcode1 ",       " barcode2 ",
                           " barcode3 ",  " brightness-100 ", " brightness100 ",
                           " LabelMark ", " Continue ",       " head30pt ",
                           " no-columns", " counter "}) {
    const auto has = [word](const Entry& e) { return e.name.find(word) != std::string::npos; };
    EXPECT_GE(std::count_if(list().begin(), list().end(), has), 5) << word;
  }
}

TEST(Digest, IsTheKnownFunction) {
  // Values published with the function by its authors.
  EXPECT_EQ(fnv1a(""), 0xCBF29CE484222325ULL);
  EXPECT_EQ(fnv1a("a"), 0xAF63DC4C8601EC8CULL);
  EXPECT_EQ(fnv1a("foobar"), 0x85944171F73967E8ULL);
  EXPECT_EQ(fnv1a("bar", fnv1a("foo")), fnv1a("foobar"));
}

TEST(Digest, PutsTheLengthBeforeEachPiece) {
  Digest digest;
  EXPECT_EQ(digest.text(), "cbf29ce484222325");
  Digest other;
  digest.add("ab");
  digest.add("c");
  other.add("a");
  other.add("bc");
  EXPECT_NE(digest.text(), other.text());
}

TEST(Digest, SeesEveryPartOfAJob) {
  plain::Outcome outcome;
  outcome.status = 0;
  outcome.output = {1, 2};
  outcome.frames["page"] = {3};
  outcome.markerName = "label.pgc";
  outcome.marker = plain::Bytes{4, 0};
  outcome.debugImages = {{"origin_#_0.bmp", {5}}, {"dithered_#_1.bmp", {6}}};
  outcome.sideFile = "7";
  std::set<std::string> different = {digestOf(outcome)};
  const auto changed = [&different, &outcome](const std::function<void(plain::Outcome&)>& change) {
    plain::Outcome other = outcome;
    change(other);
    different.insert(digestOf(other));
  };
  changed([](plain::Outcome& o) { o.status = 1; });
  changed([](plain::Outcome& o) { o.output = {1}; });
  changed([](plain::Outcome& o) { o.frames["page"] = {4}; });
  changed([](plain::Outcome& o) { o.frames = {{"page2", {3}}}; });
  changed([](plain::Outcome& o) { o.marker.reset(); });
  changed([](plain::Outcome& o) { o.marker = plain::Bytes{5, 0}; });
  changed([](plain::Outcome& o) { o.debugImages.pop_back(); });
  changed([](plain::Outcome& o) { std::swap(o.debugImages[0].bytes, o.debugImages[1].bytes); });
  changed([](plain::Outcome& o) { o.sideFile.reset(); });
  changed([](plain::Outcome& o) { o.sideFile = "8"; });
  EXPECT_EQ(different.size(), 11U);
}

TEST(Digest, IsTheSameForAPredictedAndARealOutcome) {
  plain::Outcome predicted;
  predicted.status = 0;
  predicted.output = {'c'};
  predicted.frames["page_0001_jobid_000042_0000.dat"] = {'f'};
  predicted.markerName = "label.pgc";
  predicted.marker = plain::Bytes{'m', 'm'};
  predicted.debugImages = {{"origin_#_0.bmp", {'o'}}, {"dithered_#_10.bmp", {'d'}}};
  predicted.sideFile = "s";
  testing_support::Result real;
  real.status = 0;
  real.output = "c";
  real.files = {{"tmp/test.ppd", "not counted"},
                {"tmp/xxxxx.log", "s"},
                {"var/spool/cups/tmp/dithered_2026-1-2_3_4_5_10.bmp", "d"},
                {"var/spool/cups/tmp/origin_2026-1-2_3_4_5_0.bmp", "o"},
                {"var/spool/cups/tmp/kcv6data/label.pgc", "mm"},
                {"var/spool/cups/tmp/kcv6data/page_0001_jobid_000042_0000.dat", "f"}};
  EXPECT_EQ(digestOf(real), digestOf(predicted));
}

}  // namespace kestra::digests
