// Page headers with absurd values, between two good pages.
// Why: a damaged stream must end the job by the rules, never by a signal or with a wrong page.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

namespace {

struct Field {
  const char* name;
  std::size_t offset;
};

#define KESTRA_FIELD(name) Field({#name, offsetof(cups_page_header2_t, name)})

// Four-byte fields; the enumerations are changed as bytes, too.
const Field kFields[] = {KESTRA_FIELD(cupsWidth),        KESTRA_FIELD(cupsHeight),
                         KESTRA_FIELD(cupsBytesPerLine), KESTRA_FIELD(cupsBitsPerPixel),
                         KESTRA_FIELD(cupsBitsPerColor), KESTRA_FIELD(cupsColorOrder),
                         KESTRA_FIELD(cupsColorSpace),   KESTRA_FIELD(cupsNumColors),
                         KESTRA_FIELD(cupsMediaType),    KESTRA_FIELD(cupsCompression),
                         KESTRA_FIELD(cupsRowCount),     KESTRA_FIELD(cupsRowFeed),
                         KESTRA_FIELD(cupsRowStep),      KESTRA_FIELD(NumCopies),
                         KESTRA_FIELD(PageSize),         KESTRA_FIELD(ImagingBoundingBox),
                         KESTRA_FIELD(Orientation),      KESTRA_FIELD(MirrorPrint),
                         KESTRA_FIELD(NegativePrint),    KESTRA_FIELD(cupsPageSize)};

using Header = cups_page_header2_t;

void set(Header& header, std::size_t offset, std::uint32_t value) {
  std::memcpy(reinterpret_cast<char*>(&header) + offset, &value, sizeof value);
}

// A good page, the bad one with a few pixels, a good page again.
ts::Result runBetweenGoodPages(const Header& bad, std::size_t pixelBytes = 64) {
  JobCase job;
  const Header good = ts::makeHeader(16, 4, 16);
  job.stream = ts::rawStream({{good, ts::noise(16, 4, 1)},
                              {bad, ts::noise(static_cast<unsigned>(pixelBytes), 1, 2)},
                              {good, ts::noise(16, 4, 3)}});
  job.marker = hex("05 00");
  return expectAsPlain(job);
}

void expectRefused(const Header& bad, const std::vector<std::string>& named) {
  const ts::Result result = runBetweenGoodPages(bad);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output.size(), 7U) << "the good page's command only";
  EXPECT_EQ(counterOf(result), hex("05 00")) << "no job end";
  EXPECT_EQ(result.files.count(std::string(ts::kData) + "/page_0005_jobid_000042_0000.dat"), 1U);
  const std::size_t at = result.messages.rfind("\nERROR:");
  ASSERT_NE(at, std::string::npos);
  const std::string message = result.messages.substr(at);
  for (const auto& word : named) EXPECT_NE(message.find(word), std::string::npos) << message;
}

}  // namespace

TEST(BadHeader, EveryFieldAtItsEndsEndsTheJobByTheRules) {
  int cases = 0;
  for (const Field& field : kFields) {
    for (const std::uint32_t value : {0U, 1U, 2U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
      SCOPED_TRACE(std::string(field.name) + " = " + std::to_string(value));
      Header bad = ts::makeHeader(16, 4, 16);
      set(bad, field.offset, value);
      runBetweenGoodPages(bad);
      ++cases;
    }
  }
  EXPECT_GE(cases, 60);
}

TEST(BadHeader, AnyVerticalAndManyHorizontalResolutionsPrint) {
  // A larger horizontal resolution asks for margins of gigabytes, so it stops at a million.
  for (const std::uint32_t dpi : {0U, 1U, 2U, 65535U, 1000000U}) {
    SCOPED_TRACE(dpi);
    Header bad = ts::makeHeader(16, 4, 16);
    bad.HWResolution[0] = dpi;
    runBetweenGoodPages(bad);
  }
  for (const std::uint32_t dpi : {0U, 1U, 2U, 65535U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    SCOPED_TRACE(dpi);
    Header bad = ts::makeHeader(16, 4, 16);
    bad.HWResolution[1] = dpi;
    runBetweenGoodPages(bad);
  }
  Header none = ts::makeHeader(16, 4, 16, 0);
  runBetweenGoodPages(none);
}

TEST(BadHeader, LinesShorterThanThePageIsWideAreRefused) {
  expectRefused(ts::makeHeader(17, 4, 16), {"2", "17", "16"});
  expectRefused(ts::makeHeader(100, 4, 16), {"2", "100", "16"});
  expectRefused(ts::makeHeader(16, 4, 1), {"2", "16", "1"});
  expectRefused(ts::makeHeader(0xFFFFFFFFU, 4, 16), {"2", "16"});
  expectRefused(ts::makeHeader(0x80000000U, 4, 0x7FFFFFFFU), {"2"});
}

TEST(BadHeader, PagesOfMoreThanHalfAGigabyteAreRefused) {
  // 32768 x 16384 = 2^29 is one byte too many; 65536 x 65536 wraps to 0 in 32 bits.
  expectRefused(ts::makeHeader(16, 32768, 16384), {"2", "32768", "16384"});
  expectRefused(ts::makeHeader(16, 65536, 65536), {"2", "65536"});
  expectRefused(ts::makeHeader(16, 0x10000001U, 16), {"2", "268435457"});
  expectRefused(ts::makeHeader(16, 0x7FFFFFFFU, 0x7FFFFFFFU), {"2", "2147483647"});
}

TEST(BadHeader, ThePageOfHalfAGigabyteIsTriedAndSkippedWithoutItsPixels) {
  // 2089 x 256999 = 2^29 - 1 bytes; the stream holds 64 of them, and no page after it.
  const ts::Result result = runBetweenGoodPages(ts::makeHeader(16, 256999, 2089));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output.size(), 14U);
}

TEST(BadHeader, ARefusedPageLeavesTheSideFileAlone) {
  const ts::Result result = runBetweenGoodPages(ts::makeHeader(17, 4, 16));
  EXPECT_EQ(result.files.at("tmp/xxxxx.log"),
            "cupsWidth:16, cupsHeight:4, cupsBytesPerLine:16, cupsBitsPerPixel:8\n");
}

TEST(BadHeader, WidthZeroMakesNoImageAndTheJobGoesOn) {
  JobCase job;
  const Header good = ts::makeHeader(16, 4, 16);
  job.stream = ts::rawStream({{ts::makeHeader(0, 4, 16), ts::noise(16, 4, 1)},
                              {good, ts::noise(16, 4, 2)},
                              {ts::makeHeader(0, 4, 16), ts::noise(16, 4, 1)},
                              {good, ts::noise(16, 4, 2)}});
  const ts::Result result = expectAsPlain(job);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output.size(), 28U);
  EXPECT_EQ(counterOf(result), hex("03 00"));
}

TEST(BadHeader, BitDepthIsCheckedBeforeHeightAndSize) {
  for (const std::uint32_t height : {4U, 0x7FFFFFFFU}) {
    Header bad = ts::makeHeader(16, height, 2);
    bad.cupsBitsPerPixel = 1;
    bad.cupsBitsPerColor = 1;
    const ts::Result result = runBetweenGoodPages(bad);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(says(result,
                     "ERROR:Unsupported bits per pixel : 1 ! Requires 8 bits per "
                     "pixel!\n"));
  }
}

TEST(BadHeader, DisagreeingPairsEndByTheRules) {
  struct Pair {
    std::uint32_t width, height, bytesPerLine, bitsPerColor, numColors;
  };
  const Pair pairs[] = {{16, 4, 15, 8, 1}, {16, 4, 17, 8, 1},  {16, 4, 64, 8, 1}, {16, 4, 32, 8, 2},
                        {1, 1, 64, 8, 1},  {64, 1, 64, 8, 1},  {64, 2, 64, 8, 1}, {3, 21, 3, 8, 1},
                        {16, 4, 16, 1, 1}, {16, 4, 16, 16, 1}, {16, 4, 16, 4, 1}, {16, 4, 48, 8, 3},
                        {0, 1, 1, 8, 1},   {0, 0, 0, 8, 1},    {16, 0, 0, 8, 1},  {16, 1, 0, 8, 1}};
  for (const Pair& p : pairs) {
    SCOPED_TRACE(std::to_string(p.width) + " x " + std::to_string(p.height) + ", " +
                 std::to_string(p.bytesPerLine) + " bytes, " + std::to_string(p.bitsPerColor));
    Header bad = ts::makeHeader(p.width, p.height, p.bytesPerLine);
    bad.cupsBitsPerColor = p.bitsPerColor;
    bad.cupsNumColors = p.numColors;
    runBetweenGoodPages(bad);
    // With and without the pixels that the header promises.
    runBetweenGoodPages(bad, static_cast<std::size_t>(p.height) * p.bytesPerLine + 1);
  }
}

TEST(BadHeader, TextFieldsWithoutEndDoNoHarm) {
  Header bad = ts::makeHeader(16, 4, 16);
  std::memset(bad.MediaClass, 'x', sizeof bad.MediaClass);
  std::memset(bad.MediaType, '%', sizeof bad.MediaType);
  std::memset(bad.OutputType, 's', sizeof bad.OutputType);
  std::memset(bad.cupsPageSizeName, 'n', sizeof bad.cupsPageSizeName);
  EXPECT_EQ(runBetweenGoodPages(bad).status, 0);
}

TEST(BadHeader, HeaderBytesFromAGeneratorEndWithoutASignal) {
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    Header bad = ts::makeHeader(16, 4, 16);
    const ts::Pixels noise = ts::noise(8, 1, seed);
    // Two bytes of the raster fields each time (width to colour space).
    for (std::size_t i = 0; i < 4; i += 2) {
      const std::size_t at = offsetof(Header, cupsWidth) + noise[i] % 40U;
      reinterpret_cast<char*>(&bad)[at] = static_cast<char>(noise[i + 1]);
    }
    runBetweenGoodPages(bad);
  }
}

}  // namespace kestra::blackbox
