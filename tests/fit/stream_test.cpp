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
std::vector<ts::StreamPage> everyWidth() {
  std::vector<ts::StreamPage> pages;
  for (unsigned width = 1; width <= kHead + 9; ++width) {
    pages.push_back(makePage("noise", width, 1 + width % 3));
  }
  return pages;
}

}  // namespace

TEST(FittedStream, OfPagesThatFitLeavesByteForByte) {
  const std::vector<ts::StreamPage> pages = {makePage("noise", 40, 7), makePage("text", 4, 1),
                                             makePage("photo", 36, 50)};
  for (const Form form : kForms) {
    const std::string stream = inForm(pages, form);
    const Fitted fitted = throughStage(stream, kSmallHead);
    EXPECT_EQ(fitted.stream, stream) << form.version << form.swapped;
    EXPECT_TRUE(fitted.changes.empty());
  }
  const std::string packed = ts::writeStream(pages, true);
  EXPECT_EQ(throughStage(packed, kSmallHead).stream, packed);
}

TEST(FittedStream, OfEveryWidthBecomesThePagesDrawnToFit) {
  const std::vector<ts::StreamPage> pages = everyWidth();
  for (const Form form : kForms) {
    EXPECT_EQ(throughStage(inForm(pages, form), kSmallHead).stream,
              inForm(plainFit(pages, kHead), form))
        << form.version << form.swapped;
  }
}

TEST(FittedStream, OfCompressedRowsBecomesThePagesDrawnToFit) {
  std::vector<ts::StreamPage> pages = everyWidth();
  // Runs longer than a piece may be, rows alike, rows that end in paper.
  for (const unsigned width : {127U, 129U, 130U, 257U, 401U}) {
    for (const char* picture : {"solid", "blank", "bars", "text", "noise"}) {
      pages.push_back(makePage(picture, width, 40));
    }
  }
  const std::string packed = ts::writeStream(pages, true);
  ASSERT_EQ(packed.substr(0, 4), "2SaR");
  for (const unsigned head : {0U, kHead}) {
    const Fitted fitted = throughStage(packed, head == 0 ? 0 : kSmallHead);
    EXPECT_EQ(fitted.stream.substr(0, 4), "2SaR");
    expectSamePages(fitted.stream, ts::writeStream(plainFit(pages, head)));
  }
}

TEST(FittedStream, KeepsTheRestOfARowThatIsPaperToItsEnd) {
  // One row of 6 dots: two of level 9, then paper to the end; filled up to 8 dots.
  std::string stream = "2SaR" + ts::rawStream({{ts::makeHeader(6, 1, 6), {}}}).substr(4);
  stream += std::string("\0\x01\x09\x80", 4);
  expectSamePages(throughStage(stream, 0).stream,
                  ts::rawStream({{ts::makeHeader(8, 1, 8), {9, 9, 0, 0, 0, 0, 0, 0}}}));
}

TEST(FittedStream, FillsWithThePaperOfThePagesColours) {
  for (const cups_cspace_t space : {CUPS_CSPACE_W, CUPS_CSPACE_SW, CUPS_CSPACE_K, CUPS_CSPACE_CMY,
                                    CUPS_CSPACE_SRGB, CUPS_CSPACE_DEVICE1}) {
    ts::StreamPage page = makePage("noise", 5, 2);
    page.header.cupsColorSpace = space;
    const std::string fitted = throughStage(ts::rawStream({page}), 0).stream;
    EXPECT_EQ(fitted, ts::rawStream({plainFit(page, 0)})) << space;
    const bool light =
        space == CUPS_CSPACE_W || space == CUPS_CSPACE_SW || space == CUPS_CSPACE_SRGB;
    EXPECT_EQ(fitted.back(), light ? '\xFF' : '\0') << space;
  }
}

TEST(FittedStream, LosesTheBytesBehindARowsDots) {
  // They would be taken for dots of the next row.
  const ts::StreamPage page = makePage("noise", 8, 5, 12);
  EXPECT_EQ(throughStage(ts::rawStream({page}), 0).stream, ts::rawStream({plainFit(page, 0)}));
  const ts::StreamPage odd = makePage("noise", 9, 5, 12);
  EXPECT_EQ(throughStage(ts::rawStream({odd}), 0).stream, ts::rawStream({plainFit(odd, 0)}));
  expectSamePages(throughStage(ts::writeStream({page, odd}, true), 0).stream,
                  ts::rawStream(plainFit({page, odd}, 0)));
}

TEST(FittedStream, TakesTheHeadsDotsFromThePagesOwnResolution) {
  // 14.19 points are 40 dots at 203 dots per inch and 59 at 300, of which 56 are printed.
  const ts::StreamPage fine = makePage("noise", 70, 2, 0, 300);
  EXPECT_EQ(throughStage(ts::rawStream({fine}), kSmallHead).stream,
            ts::rawStream({plainFit(fine, 59)}));
}

TEST(FittedStream, LeavesEveryOtherNumberOfTheHeader) {
  ts::StreamPage page = makePage("noise", 41, 2);
  page.header.PageSize[0] = 77;
  page.header.cupsPageSize[0] = 77.5F;
  page.header.Margins[0] = 3;
  page.header.ImagingBoundingBox[2] = 70;
  page.header.NumCopies = 2;
  page.header.cupsInteger[3] = 0x01020304;
  for (const Form form : kForms) {
    EXPECT_EQ(throughStage(inForm({page}, form), kSmallHead).stream,
              inForm({plainFit(page, kHead)}, form));
  }
}

TEST(FittedStream, TellsOfEachPageThatChanges) {
  const std::vector<ts::StreamPage> pages = {makePage("text", 40, 1), makePage("text", 60, 1),
                                             makePage("text", 39, 1), makePage("text", 36, 1, 40)};
  const std::vector<PageChange> changes = throughStage(ts::rawStream(pages), kSmallHead).changes;
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
  const std::vector<ts::StreamPage> pages = {
      makePage("noise", 832, 300), makePage("noise", 70001, 3), makePage("noise", 833, 300)};
  EXPECT_EQ(throughStage(ts::rawStream(pages), 0).stream, ts::rawStream(plainFit(pages, 0)));
  EXPECT_EQ(throughStage(ts::rawStream(pages), 295.1).stream, ts::rawStream(plainFit(pages, 832)));
  expectSamePages(throughStage(ts::writeStream(pages, true), 295.1).stream,
                  ts::rawStream(plainFit(pages, 832)));
}

}  // namespace kestra::fit_tests
