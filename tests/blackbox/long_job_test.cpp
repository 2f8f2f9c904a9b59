// Jobs of a thousand pages, through every halftone with every barcode choice, in one process each.
// Why: page images do not free themselves; a forgotten one would fill the print server's memory
// during a long run of labels.
#include <gtest/gtest.h>

#include <tuple>

#include "tests/blackbox/job_case.h"
#include "tests/plain/page_log.h"
#include "tests/support/log_text.h"
#include "tests/support/sanitized.h"

namespace kestra::blackbox {

namespace {

constexpr std::size_t kPages = 1000;
constexpr unsigned kWidth = 64;
constexpr unsigned kHeight = 48;
// Growth from page 2 to page 1,000 that is still none: the least that could be forgotten of a page,
// one row of bytes, would be 64 kB of it; one image of a page is 3 MB.
constexpr long kToleranceKilobytes = 32;

const char* const kPictures[] = {"photo", "text", "bars", "noise"};
constexpr std::size_t kKinds = 4;

// The same pictures over and over.
JobCase pages(int halftone, int barcode, std::size_t count) {
  JobCase job;
  job.halftone(halftone);
  job.barcode(barcode);
  for (std::size_t i = 0; i < count; ++i) job.addPage(kWidth, kHeight, kPictures[i % kKinds]);
  return job;
}

std::string frameName(std::size_t page) {
  const int number = static_cast<int>(page);
  return std::string(ts::kData) + plain::format("/page_%04d_jobid_000042_0000.dat", number);
}

// Everything but the page number, which is in bytes 12 and 13.
std::string withoutNumber(const std::string& frame) {
  return frame.size() < 14 ? frame : frame.substr(0, 12) + frame.substr(14);
}

class LongJob : public ::testing::TestWithParam<std::tuple<int, int>> {};

}  // namespace

TEST_P(LongJob, KeepsItsMemoryAndPrintsEveryPageAlike) {
  const auto [halftone, barcode] = GetParam();
  const plain::Outcome first = predict(pages(halftone, barcode, kKinds));
  ASSERT_EQ(first.frames.size(), kKinds);

  JobCase job = pages(halftone, barcode, kPages);
  job.stream = ts::rawStream(job.pages);
  const std::size_t pageBytes = sizeof(cups_page_header2_t) + kWidth * kHeight;
  const std::size_t syncBytes = job.stream->size() - kPages * pageBytes;
  job.milestones = {{syncBytes + 2 * pageBytes, 2}, {job.stream->size(), kPages}};
  job.manyFiles = true;
  const ts::Result result = runFilter(job);
  ASSERT_EQ(result.status, 0);
  EXPECT_EQ(result.output.size(), 7 * kPages);
  EXPECT_EQ(counterOf(result), hex("E9 03")) << "1001";

  std::size_t alike = 0;
  for (std::size_t page = 1; page <= kPages; ++page) {
    const auto found = result.files.find(frameName(page));
    ASSERT_NE(found, result.files.end()) << frameName(page);
    const std::string& frame = found->second;
    ASSERT_GT(frame.size(), 22U);
    EXPECT_EQ(static_cast<unsigned char>(frame[12]) + 256U * static_cast<unsigned char>(frame[13]),
              page);
    const std::string name = frameName((page - 1) % kKinds + 1);
    const plain::Bytes& like = first.frames.at(name.substr(name.rfind('/') + 1));
    if (withoutNumber(frame) == withoutNumber({like.begin(), like.end()})) ++alike;
  }
  EXPECT_EQ(alike, kPages);
  std::size_t images = 0;
  for (const auto& [name, bytes] : result.files) {
    if (name.find(".bmp") != std::string::npos) ++images;
  }
  EXPECT_EQ(images, 2 * kPages);

#ifdef KESTRA_SANITIZED
  GTEST_SKIP() << "the sanitizer keeps freed memory, so memory is not measured";
#else
  ASSERT_EQ(result.residentKilobytes.size(), 2U);
  const long second = result.residentKilobytes[0];
  const long last = result.residentKilobytes[1];
  ASSERT_GT(second, 0);
  EXPECT_LE(last, second + kToleranceKilobytes);
  RecordProperty("kilobytes_after_page_2", static_cast<int>(second));
  RecordProperty("kilobytes_after_page_1000", static_cast<int>(last));
#endif
}

INSTANTIATE_TEST_SUITE_P(ThousandPages, LongJob,
                         ::testing::Combine(::testing::Range(0, 10), ::testing::Range(0, 3)),
                         [](const auto& each) {
                           return halftoneName(std::get<0>(each.param)) + "_Barcode" +
                                  std::to_string(std::get<1>(each.param));
                         });

TEST(LongJobMemory, IsMeasuredSoThatALargerPageShows) {
  // A page of 600 x 1000 after a small one needs at least its own 600,000 bytes, 585 kB: what is
  // measured above is alive.
  JobCase job;
  job.addPage(kWidth, kHeight, "photo");
  job.addPage(600, 1000, "photo");
  job.stream = ts::rawStream(job.pages);
  const std::size_t small = job.stream->size() - sizeof(cups_page_header2_t) - 600 * 1000;
  job.milestones = {{small, 1}, {job.stream->size(), 2}};
  const ts::Result result = runFilter(job);
  ASSERT_EQ(result.residentKilobytes.size(), 2U);
  EXPECT_GT(result.residentKilobytes[1], result.residentKilobytes[0] + 585);
}

}  // namespace kestra::blackbox
