// Streams that break off, pages that the filter refuses, bytes that are no stream.
// Why: what is broken must arrive broken in the same way, or half a page is printed as a whole one.
#include <gtest/gtest.h>

#include "tests/fit/plain_fit.h"
#include "tests/support/fixed_random.h"

namespace kestra::fit_tests {

namespace ts = testing_support;

namespace {

bool anyPixels(const cups_page_header2_t&) { return true; }

// A page that fits, one to fill, one to cut, one that fits.
std::vector<ts::StreamPage> fourPages() {
  return {makePage("noise", 16, 4), makePage("noise", 7, 5), makePage("noise", 45, 4),
          makePage("text", 8, 6)};
}

// The pages of a cut stream are those of the whole one, as far as they are readable in it.
void expectCutAlike(const std::string& whole, std::size_t size,
                    const std::vector<ts::StreamPage>& fit) {
  const std::string cut = whole.substr(0, size);
  const auto before = ts::deliver(cut, anyPixels);
  const auto behind = ts::deliver(throughStage(cut, kSmallHead).stream, anyPixels);
  ASSERT_EQ(behind.size(), before.size()) << size;
  for (std::size_t i = 0; i < before.size(); ++i) {
    EXPECT_EQ(behind[i].readable, before[i].readable) << "cut at " << size << ", page " << i;
    if (before[i].readable) {
      EXPECT_TRUE(behind[i].pixels == fit[i].pixels) << size;
    }
  }
}

ts::StreamPage with(void (*change)(cups_page_header2_t*)) {
  ts::StreamPage page = makePage("noise", 7, 3);
  change(&page.header);
  return page;
}

}  // namespace

TEST(UnfitStream, StreamHasTheSameReadablePagesWhereverItEnds) {
  const std::vector<ts::StreamPage> pages = fourPages();
  const std::vector<ts::StreamPage> fit = plainFit(pages, 40);
  for (const bool packed : {false, true}) {
    const std::string whole = ts::writeStream(pages, packed);
    for (std::size_t size = 0; size <= whole.size(); ++size) expectCutAlike(whole, size, fit);
  }
}

TEST(UnfitStream, StreamOfPagesThatFitLeavesAsItCameWhereverItEnds) {
  for (const bool packed : {false, true}) {
    const std::string whole =
        ts::writeStream({makePage("noise", 16, 4), makePage("text", 8, 6)}, packed);
    for (std::size_t size = 0; size <= whole.size(); ++size) {
      const std::string cut = whole.substr(0, size);
      ASSERT_EQ(throughStage(cut, kSmallHead).stream, cut) << size;
    }
  }
}

TEST(UnfitStream, BytesThatAreNoStreamLeaveAsTheyCame) {
  for (const std::string& bytes :
       {std::string(), std::string("x"), std::string("3Sa"), std::string("%PDF-1.4\n%%EOF\n"),
        std::string(200000, '\0'), "3SaR" + std::string(1796, '\0'), std::string("UNIRAST\0", 8),
        "2SaR" + std::string(70000, '\xFF')}) {
    EXPECT_EQ(throughStage(bytes, kSmallHead).stream, bytes) << bytes.size();
  }
}

// The filter ends the job at such a page, with words of its own; nothing behind it is looked at.
TEST(UnfitStream, PagesThatTheFilterRefusesLeaveAsTheyCameWithAllBehindThem) {
  const std::vector<ts::StreamPage> refused = {
      with([](cups_page_header2_t* header) { header->cupsBitsPerPixel = 1; }),
      with([](cups_page_header2_t* header) { header->cupsBitsPerPixel = 16; }),
      with([](cups_page_header2_t* header) { header->cupsHeight = 0; }),
      with([](cups_page_header2_t* header) { header->cupsBytesPerLine = 0; }),
      with([](cups_page_header2_t* header) { header->cupsBytesPerLine = 6; }),
      with([](cups_page_header2_t* header) { header->cupsWidth = 0; }),
      with([](cups_page_header2_t* header) { header->cupsWidth = 0xFFFFFFFF; }),
      with([](cups_page_header2_t* header) {
        header->cupsBytesPerLine = 0xFFFFFFFF;
        header->cupsHeight = 0xFFFFFFFF;
      }),
      with([](cups_page_header2_t* header) { header->cupsColorOrder = CUPS_ORDER_PLANAR; })};
  for (const ts::StreamPage& page : refused) {
    const std::string stream =
        ts::rawStream({makePage("noise", 8, 2), page, makePage("noise", 7, 3)});
    const Fitted fitted = throughStage(stream, kSmallHead);
    EXPECT_EQ(fitted.stream, stream);
    EXPECT_TRUE(fitted.changes.empty());
  }
}

// A header may promise half a gigabyte in one row; memory is taken for what comes.
TEST(UnfitStream, RowThatNeverComesTakesNoMemory) {
  ts::StreamPage page = makePage("noise", 7, 1);
  page.header.cupsWidth = (1U << 29) - 1;
  page.header.cupsBytesPerLine = page.header.cupsWidth;
  for (const double head : {0.0, kSmallHead}) {
    const auto pages = ts::deliver(throughStage(ts::rawStream({page}), head).stream,
                                   [](const cups_page_header2_t&) { return false; });
    ASSERT_EQ(pages.size(), 1U);
    EXPECT_EQ(pages[0].header.cupsWidth, head == 0 ? 1U << 29 : 40U);
  }
}

// Bytes that nobody would write, the same ones in every run.
class MadeUpStream : public testing::Test {
 protected:
  unsigned below(unsigned limit) { return random_.word() % limit; }
  ts::FixedRandom random_{20261122};
};

// Pieces that reach beyond their row: the raster library's reading of such a page counts.
TEST_F(MadeUpStream, CompressedBytesOfAPageThatFitsLeaveAsTheyCame) {
  for (int round = 0; round < 2000; ++round) {
    std::string stream = "2SaR";
    for (int page = 0; page < 2; ++page) {
      stream += ts::rawStream({{ts::makeHeader(12, 5, 12), {}}}).substr(4);
      for (unsigned i = below(60); i > 0; --i) stream += static_cast<char>(below(256));
    }
    ASSERT_EQ(throughStage(stream, kSmallHead).stream, stream) << round;
  }
}

TEST_F(MadeUpStream, CompressedBytesOfAPageToFitGiveThePageThatTheLibraryReads) {
  int readable = 0;
  for (int round = 0; round < 2000; ++round) {
    const unsigned width = 1 + below(50);
    std::string stream = "2SaR" + ts::rawStream({{ts::makeHeader(width, 3, width), {}}}).substr(4);
    for (unsigned i = below(200); i > 0; --i) stream += static_cast<char>(below(256));
    const auto before = ts::deliver(stream, anyPixels);
    const auto behind = ts::deliver(throughStage(stream, kSmallHead).stream, anyPixels);
    ASSERT_FALSE(before.empty());
    ASSERT_FALSE(behind.empty());
    ASSERT_EQ(behind[0].readable, before[0].readable) << round;
    if (!before[0].readable) continue;
    ++readable;
    const ts::StreamPage page = {before[0].header, before[0].pixels};
    ASSERT_TRUE(behind[0].pixels == plainFit(page, 40).pixels) << round;
  }
  EXPECT_GT(readable, 500);
}

}  // namespace kestra::fit_tests
