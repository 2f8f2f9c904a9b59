// Examples by hand for the plain version and for the tools of these tests.
// Why: what everything else is compared with must itself be held against something.
#include <gtest/gtest.h>

#include <numeric>

#include "tests/plain/barcode.h"
#include "tests/plain/debug_image.h"
#include "tests/plain/frame.h"
#include "tests/plain/halftone.h"
#include "tests/plain/page.h"
#include "tests/support/log_text.h"
#include "tests/support/raster_stream.h"

namespace kestra::plain {

TEST(Plain, OrderedMatrixTurnsMiddleGreyIntoHalfTheDots) {
  // Level 128 -> 8: below 8 lie 0 2 / 4 6 / 3 1 / 7 5.
  EXPECT_EQ(halftone(Rows(4, {128, 128, 128, 128}), 1),
            (Rows{{1, 0, 1, 0}, {0, 1, 0, 1}, {1, 0, 1, 0}, {0, 1, 0, 1}}));
  EXPECT_EQ(halftone({{255, 0}}, 1), (Rows{{1, 0}}));
}

TEST(Plain, SixteenThresholdsFollowTheirBitRule) {
  // Cell i = 4 y + x: a = i / 4, b = i mod 4; four times d = d2 + bit of (a ^ b), d = d2 + bit of
  // b.
  for (unsigned i = 0; i < 16; ++i) {
    unsigned a = i / 4;
    unsigned b = i % 4;
    unsigned d = 0;
    for (int n = 0; n < 4; ++n) {
      d = (d * 2 + ((a ^ b) & 1U)) * 2 + (b & 1U);
      a /= 2;
      b /= 2;
    }
    // Entry i is used at (x mod 4) + 4 (y mod 4).
    Rows page(4, std::vector<int>(4, 0));
    page[i / 4][i % 4] = static_cast<int>(d);
    EXPECT_EQ(halftone(page, 7)[i / 4][i % 4], 0) << "equal is not above";
    page[i / 4][i % 4] = static_cast<int>(d) + 1;
    EXPECT_EQ(halftone(page, 7)[i / 4][i % 4], 1);
  }
}

TEST(Plain, FloydSteinbergByHand) {
  // 100: off, error 100, right + 100 x 7 / 16 = 43 -> 143: on, error -112; below: 100 x 5 / 16 = 31
  // -> 131, right below + 100 / 16 = 6 -> 106; then the second pixel gives -112 x 3 / 16 = -21 to
  // the left below -> 110 and -112 x 5 / 16 = -35 below -> 71. 110: off, error 110, right + 48 ->
  // 119: off.
  EXPECT_EQ(halftone({{100, 100}, {100, 100}}, 99), (Rows{{0, 1}, {0, 0}}));
  // 3 passes on 3 x 7 / 16 = 1 only.
  EXPECT_EQ(halftone({{3, 128}}, -1), (Rows{{0, 1}}));
  EXPECT_EQ(halftone({{2, 128}}, -1), (Rows{{0, 0}}));
}

TEST(Plain, KernelsGiveTheirSharesToTheRightNeighbour) {
  // Error 128 x weight / D: Burkes 8/32 -> 32, Stucki 8/42 -> 24, Jarvis 7/48 -> 18, Sierra 5/32 ->
  // 20, Stevenson-Arce gives nothing to +1 but 32/200 -> 20 to +2.
  const std::vector<std::pair<int, int>> shares = {{2, 32}, {3, 24}, {4, 18}, {5, 20}};
  for (const auto& [method, share] : shares) {
    EXPECT_EQ(halftone({{128, 129 - share}}, method), (Rows{{0, 1}})) << method;
    EXPECT_EQ(halftone({{128, 128 - share}}, method), (Rows{{0, 0}})) << method;
  }
  EXPECT_EQ(halftone({{128, 0, 109}}, 6), (Rows{{0, 0, 1}}));
  EXPECT_EQ(halftone({{128, 0, 108}}, 6), (Rows{{0, 0, 0}}));
}

TEST(Plain, ToneTableEnds) {
  std::vector<int> same(256);
  std::iota(same.begin(), same.end(), 0);
  EXPECT_EQ(toneTable(0, 0), same);
  EXPECT_EQ(toneTable(500, 0), std::vector<int>(256, 255));
  EXPECT_EQ(toneTable(-500, 0), std::vector<int>(256, 0));
  // Contrast -200: factor -1, (i - 128) x -1 + 128.5: 0 -> 256 -> 255, 1 -> 255, 255 -> 1.
  EXPECT_EQ(toneTable(0, -200)[0], 255);
  EXPECT_EQ(toneTable(0, -200)[255], 1);
}

TEST(Plain, MovesAndComplementsPixels) {
  EXPECT_EQ(mirror({{1, 2, 3}}), (Rows{{3, 2, 1}}));
  EXPECT_EQ(rotate180({{1, 2}, {3, 4}}), (Rows{{4, 3}, {2, 1}}));
  EXPECT_EQ(negative(pad({{0, 1, 255}})), (Rows{{255, 254, 0, 255}}));
}

TEST(Plain, ReadsNumbersAsTheLibraryDoes) {
  EXPECT_EQ(leadingNumber(" \t-12x"), -12);
  EXPECT_EQ(leadingNumber("2147483648"), -2147483647 - 1);
  EXPECT_EQ(leadingNumber("9223372036854775807"), -1);
  EXPECT_EQ(leadingNumber("9223372036854775808"), -1);
  EXPECT_EQ(leadingNumber("-9223372036854775809"), 0);
  EXPECT_EQ(leadingNumber("- 5"), 0);
}

TEST(Plain, TwoColourImageByHand) {
  const auto file = debugImage1(std::vector<std::uint8_t>(10, 0), 10, 10, 1);
  ASSERT_EQ(file.size(), 66U);
  EXPECT_EQ(Bytes(file.begin() + 54, file.end()),
            (Bytes{0, 0, 0, 0, 255, 255, 255, 0, 0xFF, 0xFF, 0, 0}));
}

TEST(TestTools, MaskAddressesTimesAndMeaninglessNumbersOnly) {
  using testing_support::maskLog;
  EXPECT_EQ(maskLog("DEBUG:printImage: Freed the allocated memory, address: 0x7f01\n"),
            "DEBUG:printImage: Freed the allocated memory, address: #\n");
  EXPECT_EQ(maskLog("pointer address: 140, width: 5"), "pointer address: #, width: 5");
  EXPECT_EQ(maskLog("DEBUG:settings->VBarcodeOpt:0.000000"), "DEBUG:settings->VBarcodeOpt:#");
  EXPECT_EQ(maskLog("DEBUG:settings->pageWidth:1.5"), "DEBUG:settings->pageWidth:1.5");
  EXPECT_EQ(maskLog("x/origin_2024-5-7_9_3_12_0.bmp"), "x/origin_#_0.bmp");
}

TEST(TestTools, CompareLogsShowsTheFirstDifference) {
  using testing_support::compareLogs;
  EXPECT_EQ(compareLogs("a\nERROR:*\n", "a\nERROR:any\n"), "");
  EXPECT_NE(compareLogs("a\nb\n", "a\nc\n"), "");
  EXPECT_NE(compareLogs("a\n", "a"), "") << "a missing line end counts";
  EXPECT_NE(compareLogs("a\n", "a\nb\n"), "");
  EXPECT_NE(compareLogs("ERROR:*\n", "WARN:any\n"), "");
}

TEST(TestTools, RawStreamsAreWhatTheLibraryWrites) {
  using namespace testing_support;  // NOLINT
  const std::vector<StreamPage> pages = {{makeHeader(4, 2, 4), {1, 2, 3, 4, 5, 6, 7, 8}}};
  EXPECT_EQ(rawStream(pages).size(), writeStream(pages).size());
  const auto all = [](const cups_page_header2_t&) { return true; };
  const auto raw = deliver(rawStream(pages), all);
  ASSERT_EQ(raw.size(), 1U);
  EXPECT_EQ(raw[0].pixels, pages[0].pixels);
  EXPECT_EQ(deliver(writeStream(pages, true), all).at(0).pixels, pages[0].pixels);
}

}  // namespace kestra::plain
