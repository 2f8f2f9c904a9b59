// The barcode choices on stencil pages, each rule with a drawing worked out by hand.
// Why: only stencil pages hold both 255 ("white", a dot) and 0 ("black", paper) in a positive
// print, so only there do the rules act on single dots.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/blackbox/drawn_stencil.h"

namespace kestra::blackbox {

namespace {

using Lines = std::vector<std::string>;

// White apart from one column.
Drawing allBut(unsigned column) {
  return [column](unsigned x, unsigned) { return x != column; };
}

// Takes the dots from `first` to `last` of a row.
void clear(Lines& rows, std::size_t y, std::size_t first, std::size_t last) {
  for (std::size_t x = first; x <= last; ++x) rows[y][x] = '.';
}

// Takes the dashes that start at `first`, eight on, and so to `last`.
void dash(Lines& rows, std::size_t y, std::size_t first, std::size_t last) {
  for (std::size_t x = first; x <= last; x += 8) clear(rows, y, x, x + 3);
}

// What the second choice takes of 16 white columns that end above row 10.
void dotColumnEnds(Lines& rows) {
  rows[5] = rows[7] = ".###.###.###.###";
  rows[6] = rows[8] = "##.###.###.###.#";
}

// 200 x 8 for the first choice: white where `white` says so, crossed by a black line in rows `top`
// to `bottom`; the columns from 180 on are white throughout, so that the last pixel stands in
// white. Eight rows are too few for dashes.
Drawing crossed(unsigned top, unsigned bottom, const Drawing& white) {
  return
      [=](unsigned x, unsigned y) { return x >= 180 || ((y < top || y > bottom) && white(x, y)); };
}

// 16 wide for the second choice: white from row `first` on, with a black line in rows 10 to `last`.
Drawing lineBelow(unsigned first, unsigned last) {
  return [=](unsigned, unsigned y) { return y >= first && (y < 10 || y > last); };
}

}  // namespace

class BarcodeTattoo : public ::testing::TestWithParam<int> {
 protected:
  static void expectUnchanged(int choice, unsigned width, unsigned height, const Drawing& page) {
    EXPECT_EQ(printDrawn(GetParam(), choice, width, height, page), drawnRows(width, height, page))
        << "choice " << choice;
  }
};

// ---- Dashes: runs of more than 320 white pixels in rows 2 to height - 7.

TEST_P(BarcodeTattoo, LeavesARunOf320AndDashesOneOf321) {
  // 9 rows: only row 2 is looked at. White 0..319 is too short. White 0..320 gets dashes at 0, 8,
  // ..., 320; the last covers 320..323, the closing pixel and two white ones behind it. More than
  // half of each row is white, so the first choice changes nothing else; the second has no rows
  // between 3 and 9 - 6.
  for (const int choice : {1, 2}) {
    expectUnchanged(choice, 400, 9, allBut(320));
    Lines dashed = drawnRows(400, 9, allBut(321));
    dash(dashed, 2, 0, 320);
    EXPECT_EQ(printDrawn(GetParam(), choice, 400, 9, allBut(321)), dashed);
  }
}

TEST_P(BarcodeTattoo, LaysTheDashesOnTheGridOfTheRow) {
  // The run 5..329 starts at 5: the first dash is the one at 8, the last 328..331 covers the
  // closing pixel 330.
  const Drawing white = [](unsigned x, unsigned) { return x != 4 && x != 330; };
  Lines want = drawnRows(400, 9, white);
  dash(want, 2, 8, 328);
  EXPECT_EQ(printDrawn(GetParam(), 1, 400, 9, white), want);
}

TEST_P(BarcodeTattoo, SeesTheEndOfTheLastDashInTheSameScan) {
  // The run 0..329 is closed at 330 and its last dash takes 331 as well. What follows is white from
  // 332 on: up to 651 that makes 320, too few, although 331..651 was 321 before.
  for (const unsigned close : {652U, 653U}) {
    const Drawing white = [close](unsigned x, unsigned) { return x != 330 && x != close; };
    Lines want = drawnRows(700, 9, white);
    dash(want, 2, 0, 328);
    if (close == 653) dash(want, 2, 336, 648);  // 332..652 is 321
    EXPECT_EQ(printDrawn(GetParam(), 1, 700, 9, white), want) << close;
  }
}

TEST_P(BarcodeTattoo, DashesFromTheThirdRowToTheSeventhFromBelow) {
  // 12 rows: 2 <= y < 6. With the second choice 3 <= y < 6 is looked at too, but no white pixel
  // there has a run above 3 before a black one: the dashes stand in rows 2 to 5 alike.
  for (const int choice : {1, 2}) {
    Lines want = drawnRows(400, 12, allBut(330));
    for (std::size_t y = 2; y < 6; ++y) dash(want, y, 0, 328);
    EXPECT_EQ(printDrawn(GetParam(), choice, 400, 12, allBut(330)), want);
  }
}

TEST_P(BarcodeTattoo, LeavesRunsToTheRowEndAndPagesOfEightRows) {
  for (const int choice : {1, 2}) {
    expectUnchanged(choice, 400, 9, allBut(0));
    expectUnchanged(choice, 400, 8, allBut(350));
  }
}

TEST_P(BarcodeTattoo, CountsTheGridFromTheLeftOfTheMirroredPage) {
  // Drawn with the black column at 321 from the right: mirrored it stands at 321.
  JobCase job = drawnJob(GetParam(), 1, 400, 9, allBut(321));
  ts::Pixels& pixels = job.pages[0].pixels;
  for (std::size_t y = 0; y < 9; ++y) {
    std::reverse(pixels.begin() + static_cast<long>(y * 400),
                 pixels.begin() + static_cast<long>(y * 400 + 400));
  }
  job.mirror();
  Lines want = drawnRows(400, 9, allBut(321));
  dash(want, 2, 0, 320);
  EXPECT_EQ(frameRows(frameOf(job), 400), want);
}

// ---- First choice: white runs of more than 40 above a thin black line turn black.

TEST_P(BarcodeTattoo, FirstChoiceThickensLinesOfOneToThreeRows) {
  // White 10..59, a line from row 3 on. Row 2: 50 + 20 white pixels are fewer than 100, the run of
  // 50 is closed at 60, above it is white. The other rows have no black below their white.
  const Drawing block = [](unsigned x, unsigned) { return x >= 10 && x < 60; };
  for (unsigned thick = 1; thick <= 5; ++thick) {
    const Drawing page = crossed(3, 2 + thick, block);
    Lines want = drawnRows(200, 8, page);
    if (thick <= 3) clear(want, 2, 10, 59);
    EXPECT_EQ(printDrawn(GetParam(), 1, 200, 8, page), want) << thick;
  }
}

TEST_P(BarcodeTattoo, FirstChoiceCountsTheLineDownToTheLastRow) {
  // Rows 5..7 are three black rows with the last one, rows 4..7 four: too thick.
  const Drawing block = [](unsigned x, unsigned) { return x >= 10 && x < 60; };
  Lines want = drawnRows(200, 8, crossed(5, 7, block));
  clear(want, 4, 10, 59);
  EXPECT_EQ(printDrawn(GetParam(), 1, 200, 8, crossed(5, 7, block)), want);
  expectUnchanged(1, 200, 8, crossed(4, 7, block));
}

TEST_P(BarcodeTattoo, FirstChoiceNeedsARunOf41) {
  for (const unsigned end : {50U, 51U}) {
    const Drawing page = crossed(3, 3, [end](unsigned x, unsigned) { return x >= 10 && x < end; });
    Lines want = drawnRows(200, 8, page);
    if (end == 51) clear(want, 2, 10, 50);
    EXPECT_EQ(printDrawn(GetParam(), 1, 200, 8, page), want) << end;
  }
}

TEST_P(BarcodeTattoo, FirstChoiceStartsItsRunsInTheThirdColumn) {
  // White from 0 to 41 counts 40, to 42 it counts 41: 2..42 turn black, 0 and 1 stay.
  for (const unsigned end : {42U, 43U}) {
    const Drawing page = crossed(3, 3, [end](unsigned x, unsigned) { return x < end; });
    Lines want = drawnRows(200, 8, page);
    if (end == 43) clear(want, 2, 2, 42);
    EXPECT_EQ(printDrawn(GetParam(), 1, 200, 8, page), want) << end;
  }
}

TEST_P(BarcodeTattoo, FirstChoiceLeavesRowsThatAreHalfWhite) {
  // 50 + 20 + 29 = 99 white pixels are fewer than 200 / 2, with 30 they are not.
  for (const unsigned more : {29U, 30U}) {
    const Drawing page = crossed(3, 3, [more](unsigned x, unsigned) {
      return (x >= 10 && x < 60) || (x >= 100 && x < 100 + more);
    });
    Lines want = drawnRows(200, 8, page);
    if (more == 29) clear(want, 2, 10, 59);
    EXPECT_EQ(printDrawn(GetParam(), 1, 200, 8, page), want) << more;
  }
}

TEST_P(BarcodeTattoo, FirstChoiceNeedsWhiteAbove) {
  // In row 1 the pixels 20..29 are black: below them row 2 stays white.
  const Drawing page = crossed(3, 3, [](unsigned x, unsigned y) {
    return x >= 10 && x < 60 && !(y == 1 && x >= 20 && x < 30);
  });
  Lines want = drawnRows(200, 8, page);
  clear(want, 2, 10, 19);
  clear(want, 2, 30, 59);
  EXPECT_EQ(printDrawn(GetParam(), 1, 200, 8, page), want);
}

TEST_P(BarcodeTattoo, FirstChoiceLooksPixelByPixelAtWhatLiesBelow) {
  // The line is one row thick up to x = 29 and four rows from 30 on.
  const Drawing page = [](unsigned x, unsigned y) {
    return x >= 180 || (x >= 10 && x < 60 && (y < 3 || y > (x < 30 ? 3U : 6U)));
  };
  Lines want = drawnRows(200, 8, page);
  clear(want, 2, 10, 29);
  EXPECT_EQ(printDrawn(GetParam(), 1, 200, 8, page), want);
}

// ---- Second choice, column by column, rows 3 to height - 7.

TEST_P(BarcodeTattoo, SecondChoiceDotsTheEndOfLongWhiteColumns) {
  // Row 9 is the seventh white pixel from row 3 on and stands above black.
  //   x mod 4 = 0: rows 7 and 5; x mod 4 = 2: rows 8 and 6 (rule A)
  //   row 9 itself: lines of one or two rows take it (rule B), thicker ones do not
  for (unsigned thick = 1; thick <= 4; ++thick) {
    const Drawing page = lineBelow(0, 9 + thick);
    Lines want = drawnRows(16, 20, page);
    dotColumnEnds(want);
    if (thick <= 2) clear(want, 9, 0, 15);
    EXPECT_EQ(printDrawn(GetParam(), 2, 16, 20, page), want) << thick;
  }
}

TEST_P(BarcodeTattoo, SecondChoiceNeedsRunsOfSevenAndOfFour) {
  // White from row 3 on is 7 long (rules A and B), 4 to 6: 6 to 4 long (B only), 7: 3 long.
  for (unsigned first = 3; first <= 7; ++first) {
    const Drawing page = lineBelow(first, 10);
    Lines want = drawnRows(16, 20, page);
    if (first == 3) dotColumnEnds(want);
    if (first <= 6) clear(want, 9, 0, 15);
    EXPECT_EQ(printDrawn(GetParam(), 2, 16, 20, page), want) << first;
  }
}

TEST_P(BarcodeTattoo, SecondChoiceStopsSevenRowsFromBelow) {
  // Row 9 is looked at from 16 rows on.
  const Drawing page = lineBelow(0, 10);
  expectUnchanged(2, 16, 15, page);
  Lines want = drawnRows(16, 16, page);
  dotColumnEnds(want);
  clear(want, 9, 0, 15);
  EXPECT_EQ(printDrawn(GetParam(), 2, 16, 16, page), want);
}

TEST_P(BarcodeTattoo, SecondChoiceTakesNothingBackFromDarkRuns) {
  // Six black rows, then white (rule C would take row 8 back, but the run has ended with row 9).
  const Drawing page = [](unsigned, unsigned y) { return y < 3 || y > 8; };
  expectUnchanged(2, 16, 20, page);
}

TEST_P(BarcodeTattoo, SecondChoiceTreatsEachColumnAlone) {
  // The line reaches from x = 4 to 9 only.
  const Drawing page = [](unsigned x, unsigned y) { return y != 10 || x < 4 || x > 9; };
  Lines want = drawnRows(16, 20, page);
  want[5] = want[7] = "####.###.#######";
  want[6] = want[8] = "######.#########";
  clear(want, 9, 4, 9);
  EXPECT_EQ(printDrawn(GetParam(), 2, 16, 20, page), want);
}

TEST_P(BarcodeTattoo, OtherChoicesChangeNothing) {
  for (const int choice : {0, 3}) {
    expectUnchanged(choice, 400, 20, allBut(330));
    expectUnchanged(choice, 16, 20, lineBelow(0, 10));
  }
}

// ---- Whatever the halftone makes of a page, by comparison.

TEST_P(BarcodeTattoo, TreatsPagesOfEverySmallSizeAsThePlainVersionDoes) {
  for (const int choice : {1, 2}) {
    SCOPED_TRACE(choice);
    JobCase job;
    job.halftone(GetParam());
    job.barcode(choice);
    for (const unsigned width : {1U, 2U, 3U, 4U, 5U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 33U}) {
      for (const unsigned height : {1U, 2U, 3U, 4U, 7U, 8U, 9U, 10U, 17U}) {
        job.addPage(width, height, (width + height) % 2 == 0 ? "noise" : "bars");
      }
    }
    expectAsPlain(job);
  }
}

TEST_P(BarcodeTattoo, TreatsLongRunsAsThePlainVersionDoes) {
  for (const int choice : {1, 2}) {
    for (const bool negative : {false, true}) {
      SCOPED_TRACE(choice + (negative ? 10 : 0));
      JobCase job;
      job.halftone(GetParam());
      job.barcode(choice);
      if (negative) job.negative();
      for (unsigned seed = 0; seed < 6; ++seed) {
        const unsigned width = 799 + seed;
        ts::Pixels pixels = ts::longRuns(width, 10 + seed * 4, seed);
        for (auto& pixel : pixels)
          pixel = static_cast<std::uint8_t>(negative ? pixel : 255 - pixel);
        pixels.back() = 100;
        job.pages.push_back({ts::makeHeader(width, 10 + seed * 4, width), pixels});
      }
      expectAsPlain(job);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Stencil, BarcodeTattoo, ::testing::Values(8, 9),
                         [](const auto& each) { return halftoneName(each.param); });

}  // namespace kestra::blackbox
