// Streams that stop in the middle or never were page streams.
// Why: a cancelled conversion cuts the stream anywhere; the pages before must come out whole.
#include <gtest/gtest.h>

#include <set>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

namespace {

std::string twoPages(bool compressed) {
  return ts::writeStream({{ts::makeHeader(24, 9, 24), ts::noise(24, 9, 1)},
                          {ts::makeHeader(16, 12, 20), ts::photo(20, 12)}},
                         compressed);
}

void cutEverywhere(const std::string& whole, const std::set<std::size_t>& positions) {
  for (const std::size_t position : positions) {
    SCOPED_TRACE("cut at byte " + std::to_string(position));
    JobCase job;
    job.stream = whole.substr(0, position);
    expectAsPlain(job);
  }
}

}  // namespace

// Every byte of the stream, an eighth of them in each test so that they run side by side.
constexpr std::size_t kSlices = 8;
class CutStream : public testing::TestWithParam<std::size_t> {};

TEST_P(CutStream, PrintsThePagesThatAreWholeWhereverItEnds) {
  const std::string whole = twoPages(false);
  ASSERT_EQ(whole.size(), 4 + 2 * sizeof(cups_page_header2_t) + 24 * 9 + 20 * 12);
  std::set<std::size_t> positions;
  for (std::size_t at = GetParam(); at <= whole.size(); at += kSlices) positions.insert(at);
  cutEverywhere(whole, positions);
}

INSTANTIATE_TEST_SUITE_P(EveryByte, CutStream, testing::Range(std::size_t{0}, kSlices));

TEST(BrokenStream, PrintsTheWholePagesOfACutCompressedStream) {
  const std::string whole = twoPages(true);
  std::set<std::size_t> positions;
  for (std::size_t at = 0; at < whole.size(); at += 101) positions.insert(at);
  for (std::size_t back = 0; back < 20; ++back) positions.insert(whole.size() - back);
  cutEverywhere(whole, positions);
}

TEST(BrokenStream, EndsGarbageNormallyWithoutAnyPage) {
  std::vector<std::string> streams = {"x",
                                      "3Sa",
                                      "hello, this is no page at all\n",
                                      "%PDF-1.4\n%%EOF\n",
                                      std::string(5000, '\0'),
                                      "3SaR" + std::string(1796, '\0'),
                                      "3SaR" + std::string(5000, '\xFF')};
  for (std::uint32_t seed = 0; seed < 4; ++seed) {
    const ts::Pixels noise = ts::noise(3000, 1, seed);
    streams.emplace_back(noise.begin(), noise.end());
  }
  for (const auto& stream : streams) {
    SCOPED_TRACE(stream.substr(0, 12));
    JobCase job;
    job.stream = stream;
    const ts::Result result = expectAsPlain(job);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
  }
}

TEST(BrokenStream, PrintsThePageBeforeGarbage) {
  JobCase job;
  job.stream =
      ts::writeStream({{ts::makeHeader(16, 2, 16), ts::noise(16, 2, 1)}}) + std::string(100, 'x');
  EXPECT_EQ(expectAsPlain(job).output.size(), 7U);
}

}  // namespace kestra::blackbox
