// Jobs on a machine with less and less memory.
// Why: a page that does not fit may be lost, but never half printed; the user is told, except where
// only the frame itself finds no room: there the filter is deliberately silent.
#include <gtest/gtest.h>

#include "tests/blackbox/job_case.h"
#include "tests/support/sanitized.h"

namespace kestra::blackbox {

namespace {

constexpr long kMegabyte = 1'000'000;

struct Seen {
  bool printed = false;
  bool lost = false;
};

// A page of 1 MB with less and less memory.
Seen expectWholePagesOrNone(int halftone) {
  JobCase job;
  job.halftone(halftone);
  job.addPage(1000, 1000, "photo");
  const plain::Outcome expected = predict(job);
  const auto& page = expected.frames.begin()->second;
  Seen seen;
  for (long limit = 64 * kMegabyte; limit > 8 * kMegabyte; limit -= kMegabyte) {
    SCOPED_TRACE(std::to_string(limit) + " bytes of memory");
    ts::Sandbox box;
    ts::Run run = prepare(job, box);
    run.memoryLimit = limit;
    const ts::Result result = box.start(run);
    constexpr int kNotLoaded = 127;  // no memory for the program itself
    if (result.status == kNotLoaded) break;
    EXPECT_EQ(result.signal, 0) << result.messages;
    bool printed = false;
    for (const auto& [path, bytes] : result.files) {
      if (path.rfind(ts::kData, 0) != 0 || path.find(".pgc") != std::string::npos) continue;
      printed = true;
      EXPECT_NE(path.find("/page_"), std::string::npos) << path;
      EXPECT_EQ(bytes, std::string(page.begin(), page.end()));
    }
    const bool said = result.messages.find("ERROR:") != std::string::npos ||
                      result.messages.find("CRIT:") != std::string::npos || result.status != 0;
    const bool frameWasNext = result.messages.find("KCLSendPaperInfo:") != std::string::npos;
    EXPECT_TRUE(printed || said || frameWasNext) << result.messages;
    seen.printed = seen.printed || printed;
    seen.lost = seen.lost || !printed;
  }
  return seen;
}

class NoMemory : public testing::TestWithParam<int> {};

}  // namespace

TEST_P(NoMemory, PrintsAPageWholeOrNotAtAll) {
#ifdef KESTRA_SANITIZED
  GTEST_SKIP() << "the address sanitizer needs more memory than there is";
#endif
  const Seen seen = expectWholePagesOrNone(GetParam());
  EXPECT_TRUE(seen.printed);
  EXPECT_TRUE(seen.lost);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, NoMemory, testing::Values(0, 1, 3, 8),
                         [](const auto& each) { return halftoneName(each.param); });

}  // namespace kestra::blackbox
