// Whole streams of every form and width.
// Why: a page that fits must reach the filter as it came, any other as if it had been drawn to fit.
#include <gtest/gtest.h>

#include "tests/fit/plain_fit.h"

namespace kestra::fit_tests {

namespace ts = testing_support;

namespace {

constexpr unsigned kHead = 40;

constexpr Form kForms[] = {{3, false}, {3, true}, {1, false}, {1, true}};

// Every width up to beyond the head, fits and misfits after each other.
std::vector<ts::StreamPage> EveryWidth() {
  std::vector<ts::StreamPage> pages;
  for (unsigned width = 1; width <= kHead + 9; ++width) {
    pages.push_back(Page("noise", width, 1 + width % 3));
  }
  return pages;
}

}  // namespace

TEST(FittedStream, OfPagesThatFitLeavesByteForByte) {
  const std::vector<ts::StreamPage> pages = {Page("noise", 40, 7), Page("text", 4, 1),
                                             Page("photo", 36, 50)};
  for (const Form form : kForms) {
    const std::string stream = InForm(pages, form);
    const Fitted fitted = FitStream(stream, kSmallHead);
    EXPECT_EQ(fitted.stream, stream) << form.version << form.swapped;
    EXPECT_TRUE(fitted.changes.empty());
  }
  const std::string packed = ts::WriteStream(pages, true);
  EXPECT_EQ(FitStream(packed, kSmallHead).stream, packed);
}

TEST(FittedStream, OfEveryWidthBecomesThePagesDrawnToFit) {
  const std::vector<ts::StreamPage> pages = EveryWidth();
  for (const Form form : kForms) {
    EXPECT_EQ(FitStream(InForm(pages, form), kSmallHead).stream,
              InForm(PlainFit(pages, kHead), form))
        << form.version << form.swapped;
  }
}

TEST(FittedStream, OfCompressedRowsBecomesThePagesDrawnToFit) {
  std::vector<ts::StreamPage> pages = EveryWidth();
  // Runs longer than a piece may be, rows alike, rows that end in paper.
  for (const unsigned width : {127U, 129U, 130U, 257U, 401U}) {
    for (const char* picture : {"solid", "blank", "bars", "text", "noise"}) {
      pages.push_back(Page(picture, width, 40));
    }
  }
  const std::string packed = ts::WriteStream(pages, true);
  ASSERT_EQ(packed.substr(0, 4), "2SaR");
  for (const unsigned head : {0U, kHead}) {
    const Fitted fitted = FitStream(packed, head == 0 ? 0 : kSmallHead);
    EXPECT_EQ(fitted.stream.substr(0, 4), "2SaR");
    ExpectSamePages(fitted.stream, ts::WriteStream(PlainFit(pages, head)));
  }
}

TEST(FittedStream, KeepsTheRestOfARowThatIsPaperToItsEnd) {
  // One row of 6 dots: two of level 9, then paper to the end; filled up to 8 dots.
  std::string stream = "2SaR" + ts::RawStream({{ts::MakeHeader(6, 1, 6), {}}}).substr(4);
  stream += std::string("\0\x01\x09\x80", 4);
  ExpectSamePages(FitStream(stream, 0).stream,
                  ts::RawStream({{ts::MakeHeader(8, 1, 8), {9, 9, 0, 0, 0, 0, 0, 0}}}));
}

TEST(FittedStream, FillsWithThePaperOfThePagesColours) {
  for (const cups_cspace_t space : {CUPS_CSPACE_W, CUPS_CSPACE_SW, CUPS_CSPACE_K, CUPS_CSPACE_CMY,
                                    CUPS_CSPACE_SRGB, CUPS_CSPACE_DEVICE1}) {
    ts::StreamPage page = Page("noise", 5, 2);
    page.header.cupsColorSpace = space;
    const std::string fitted = FitStream(ts::RawStream({page}), 0).stream;
    EXPECT_EQ(fitted, ts::RawStream({PlainFit(page, 0)})) << space;
    const bool light =
        space == CUPS_CSPACE_W || space == CUPS_CSPACE_SW || space == CUPS_CSPACE_SRGB;
    EXPECT_EQ(fitted.back(), light ? '\xFF' : '\0') << space;
  }
}

TEST(FittedStream, LosesTheBytesBehindARowsDots) {
  // They would be taken for dots of the next row.
  const ts::StreamPage page = Page("noise", 8, 5, 12);
  EXPECT_EQ(FitStream(ts::RawStream({page}), 0).stream, ts::RawStream({PlainFit(page, 0)}));
  const ts::StreamPage odd = Page("noise", 9, 5, 12);
  EXPECT_EQ(FitStream(ts::RawStream({odd}), 0).stream, ts::RawStream({PlainFit(odd, 0)}));
  ExpectSamePages(FitStream(ts::WriteStream({page, odd}, true), 0).stream,
                  ts::RawStream(PlainFit({page, odd}, 0)));
}

TEST(FittedStream, TakesTheHeadsDotsFromThePagesOwnResolution) {
  // 14.19 points are 40 dots at 203 dots per inch and 59 at 300, of which 56 are printed.
  const ts::StreamPage fine = Page("noise", 70, 2, 0, 300);
  EXPECT_EQ(FitStream(ts::RawStream({fine}), kSmallHead).stream,
            ts::RawStream({PlainFit(fine, 59)}));
}

TEST(FittedStream, LeavesEveryOtherNumberOfTheHeader) {
  ts::StreamPage page = Page("noise", 41, 2);
  page.header.PageSize[0] = 77;
  page.header.cupsPageSize[0] = 77.5F;
  page.header.Margins[0] = 3;
  page.header.ImagingBoundingBox[2] = 70;
  page.header.NumCopies = 2;
  page.header.cupsInteger[3] = 0x01020304;
  for (const Form form : kForms) {
    EXPECT_EQ(FitStream(InForm({page}, form), kSmallHead).stream,
              InForm({PlainFit(page, kHead)}, form));
  }
}

TEST(FittedStream, TellsOfEachPageThatChanges) {
  const std::vector<ts::StreamPage> pages = {Page("text", 40, 1), Page("text", 60, 1),
                                             Page("text", 39, 1), Page("text", 36, 1, 40)};
  const std::vector<PageChange> changes = FitStream(ts::RawStream(pages), kSmallHead).changes;
  ASSERT_EQ(changes.size(), 3U);
  EXPECT_EQ(changes[0].page, 2U);
  EXPECT_EQ(changes[0].fit.skip, 10U);
  EXPECT_EQ(changes[0].dotsPerInch, 203U);
  EXPECT_EQ(changes[1].page, 3U);
  EXPECT_EQ(changes[1].fit.fill, 1U);
  EXPECT_EQ(changes[2].page, 4U);
}

// Larger than any block that is read or written at once.
TEST(FittedStream, OfPagesLargerThanABlockBecomesThePagesDrawnToFit) {
  const std::vector<ts::StreamPage> pages = {Page("noise", 832, 300), Page("noise", 70001, 3),
                                             Page("noise", 833, 300)};
  EXPECT_EQ(FitStream(ts::RawStream(pages), 0).stream, ts::RawStream(PlainFit(pages, 0)));
  EXPECT_EQ(FitStream(ts::RawStream(pages), 295.1).stream, ts::RawStream(PlainFit(pages, 832)));
  ExpectSamePages(FitStream(ts::WriteStream(pages, true), 295.1).stream,
                  ts::RawStream(PlainFit(pages, 832)));
}

}  // namespace kestra::fit_tests
