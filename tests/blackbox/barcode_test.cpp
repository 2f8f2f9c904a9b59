// The barcode choices 1 and 2: dashes in long runs, thinned lines, with examples worked by hand.
// Why: they only ever act on negative prints, where every byte is a dot that they take away again.
#include <gtest/gtest.h>

#include <functional>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

namespace ts = testing_support;

namespace {

// A negative print of width x height: paper (255 after the negative) except where `ink` says so
// (254 after it).
JobCase negativePage(const std::string& choice, unsigned width, unsigned height,
                     const std::function<bool(unsigned x, unsigned y)>& ink) {
  JobCase job;
  job.options = "NegativeImage=True VBarcodeDensity=" + choice;
  job.settings.negativeImage = 1;
  job.settings.barcode = std::stoi(choice);
  std::vector<std::uint8_t> pixels;
  for (unsigned y = 0; y < height; ++y) {
    for (unsigned x = 0; x < width; ++x) pixels.push_back(ink(x, y) ? 255 : 0);
  }
  job.pages.push_back({ts::makeHeader(width, height, width), pixels});
  return job;
}

// The dots of row y of a frame.
std::string rowDots(const std::string& frame, std::size_t y, std::size_t width) {
  const std::size_t record =
      static_cast<unsigned char>(frame[18]) + 256U * static_cast<unsigned char>(frame[19]);
  const std::size_t bytes = (width + 7) / 8;
  return frame.substr(22 + (y + 1) * record - bytes, bytes);
}

std::string repeat(int times, const std::string& hexByte) {
  std::string bytes;
  for (int i = 0; i < times; ++i) bytes += hex(hexByte);
  return bytes;
}

// Row 1 of an 800 x 9 page: what the first choice makes of it when the rows below carry dashes at
// 0..331 (white 0..329, ink from 330 on) and row 0 is white.
std::string firstChoiceRowOne(const std::function<bool(unsigned x)>& ink) {
  const JobCase job = negativePage(
      "1", 800, 9, [&ink](unsigned x, unsigned y) { return y == 1 ? ink(x) : y > 1 && x >= 330; });
  return rowDots(onlyFrame(expectAsPlain(job)), 1, 800);
}

}  // namespace

TEST(Barcode, PutsDashesIntoALongRunAndOverItsEnd) {
  // 9 rows: only row 2 (2 <= y < 9 - 6) is looked at. The run of 330 ends at x = 330; dashes start
  // at 0, 8, ..., 328 and the last one covers 328..331, the closing pixel too. Bytes 0..41 are 0000
  // 1111.
  for (const char* choice : {"1", "2"}) {
    JobCase job = negativePage(choice, 400, 9, [](unsigned x, unsigned) { return x == 330; });
    const std::string frame = onlyFrame(expectAsPlain(job));
    for (std::size_t y = 0; y < 9; ++y) {
      EXPECT_EQ(rowDots(frame, y, 400),
                y == 2 ? repeat(42, "0F") + repeat(8, "FF") : repeat(50, "FF"))
          << "row " << y;
    }
  }
}

TEST(Barcode, StartsTheDashesOnTheGridOfTheRow) {
  // The run 5..329 starts at 330 - 325 = 5: the first dash is at 8, byte 0 stays full.
  JobCase job = negativePage("1", 400, 9, [](unsigned x, unsigned) { return x == 4 || x == 330; });
  EXPECT_EQ(rowDots(onlyFrame(expectAsPlain(job)), 2, 400),
            repeat(1, "FF") + repeat(41, "0F") + repeat(8, "FF"));
}

TEST(Barcode, LeavesARunOf320AndDashesOneOf321) {
  JobCase shorter = negativePage("1", 400, 9, [](unsigned x, unsigned) { return x == 320; });
  EXPECT_EQ(rowDots(onlyFrame(expectAsPlain(shorter)), 2, 400), repeat(50, "FF"));
  JobCase longer = negativePage("1", 400, 9, [](unsigned x, unsigned) { return x == 321; });
  // Dashes at 0..320: bytes 0..39, and the dash 320..323 in byte 40.
  EXPECT_EQ(rowDots(onlyFrame(expectAsPlain(longer)), 2, 400), repeat(41, "0F") + repeat(9, "FF"));
}

TEST(Barcode, LeavesARunThatReachesTheRowEnd) {
  JobCase job = negativePage("1", 400, 12, [](unsigned, unsigned) { return false; });
  const std::string frame = onlyFrame(expectAsPlain(job));
  for (std::size_t y = 0; y < 12; ++y) EXPECT_EQ(rowDots(frame, y, 400), repeat(50, "FF"));
}

TEST(Barcode, LeavesPagesOfEightRowsAlone) {
  for (const char* choice : {"1", "2"}) {
    JobCase job = negativePage(choice, 400, 8, [](unsigned x, unsigned) { return x == 350; });
    const std::string frame = onlyFrame(expectAsPlain(job));
    for (std::size_t y = 0; y < 8; ++y) EXPECT_EQ(rowDots(frame, y, 400), repeat(50, "FF"));
  }
}

TEST(Barcode, FirstChoiceThinsTheRowAboveTheDashes) {
  // 800 x 9, white 0..329, ink from 330 on: row 2 gets its dashes. Row 1: 330 white pixels are
  // fewer than 400; the run counted from x = 2 is 328 long and closed at 330. Where one black pixel
  // lies below (the dashes) and white above, the pixel becomes black: k = 2, 3, 8..11, ..., 328,
  // 329.
  //   byte 0: 1100 1111 = CF, bytes 1..40: 0F, byte 41: 0011 1111 = 3F
  // Rows 3 to 7 have nothing black below them; row 2 has only runs of 4.
  JobCase job = negativePage("1", 800, 9, [](unsigned x, unsigned) { return x >= 330; });
  const std::string frame = onlyFrame(expectAsPlain(job));
  for (std::size_t y = 0; y < 9; ++y) {
    std::string want = repeat(100, "FF");
    if (y == 1) want = repeat(1, "CF") + repeat(40, "0F") + repeat(1, "3F") + repeat(58, "FF");
    if (y == 2) want = repeat(42, "0F") + repeat(58, "FF");
    EXPECT_EQ(rowDots(frame, y, 800), want) << "row " << y;
  }
}

TEST(Barcode, FirstChoiceThinsAboveOneToThreeBlackRowsOnly) {
  // A page of 8 + n rows has n dashed rows below row 1.
  for (unsigned dashed = 1; dashed <= 5; ++dashed) {
    SCOPED_TRACE(dashed);
    JobCase job = negativePage("1", 800, 8 + dashed, [](unsigned x, unsigned) { return x >= 330; });
    const std::string thin =
        repeat(1, "CF") + repeat(40, "0F") + repeat(1, "3F") + repeat(58, "FF");
    EXPECT_EQ(rowDots(onlyFrame(expectAsPlain(job)), 1, 800),
              dashed <= 3 ? thin : repeat(100, "FF"));
  }
}

TEST(Barcode, FirstChoiceLeavesRowsThatAreHalfWhite) {
  // White 0..329 and from 331 on. Up to 399 that makes 330 + 69 = 399 of 800: thinned, also at 331,
  // below which the last dash (328..331) ends: byte 41 = 0010 1111. One pixel more is 400: left
  // alone.
  EXPECT_EQ(firstChoiceRowOne([](unsigned x) { return x == 330 || x > 399; }),
            repeat(1, "CF") + repeat(40, "0F") + repeat(1, "2F") + repeat(58, "FF"));
  EXPECT_EQ(firstChoiceRowOne([](unsigned x) { return x == 330 || x > 400; }), repeat(100, "FF"));
}

TEST(Barcode, FirstChoiceNeedsARunOf41) {
  // White 16..56 is 41 long: bytes 2..6 lose their dashes, byte 7 its first pixel. 16..55 is 40.
  EXPECT_EQ(firstChoiceRowOne([](unsigned x) { return x < 16 || x > 56; }),
            repeat(2, "FF") + repeat(5, "0F") + repeat(1, "7F") + repeat(92, "FF"));
  EXPECT_EQ(firstChoiceRowOne([](unsigned x) { return x < 16 || x > 55; }), repeat(100, "FF"));
}

TEST(Barcode, FirstChoiceDoesNotCountTheMiddlePixelOfAnOddWidth) {
  // Width 801, middle 400: white 0..329 and 331..400 are 399 without the middle, fewer than 400.
  const auto page = [](const char* choice) {
    return negativePage(choice, 801, 9, [](unsigned x, unsigned y) {
      return y == 1 ? x == 330 || x > 400 : y > 1 && x >= 330;
    });
  };
  const std::string thinned = onlyFrame(expectAsPlain(page("1")));
  // Thinned in row 1, dashed only with the second choice (its columns end above row 3).
  EXPECT_NE(thinned, onlyFrame(expectAsPlain(page("2"))));
}

TEST(Barcode, SecondChoiceThinsTheColumnsAboveTheDashes) {
  // 400 x 17, rows 0..9 white, from row 10 on ink at x = 330: only row 10 (y < 17 - 6) gets dashes.
  // At row 9 a dashed column has 7 white pixels (rows 3..9) and black below:
  //   x mod 4 = 0: rows 7 and 5 black -> 0111 1111 = 7F;  x mod 4 = 2: rows 8 and 6 -> 1101 1111 =
  //   DF row 9 black too, as row 11 below the dash is white; not at x = 330, where rows 11 and 12
  //   are ink -> byte 41: 0010 1111 = 2F
  JobCase job =
      negativePage("2", 400, 17, [](unsigned x, unsigned y) { return y >= 10 && x == 330; });
  const std::string frame = onlyFrame(expectAsPlain(job));
  const std::string rest = repeat(8, "FF");
  for (std::size_t y = 0; y < 17; ++y) {
    std::string want = repeat(50, "FF");
    if (y == 5 || y == 7) want = repeat(42, "7F") + rest;
    if (y == 6 || y == 8) want = repeat(42, "DF") + rest;
    if (y == 9) want = repeat(41, "0F") + repeat(1, "2F") + rest;
    if (y == 10) want = repeat(42, "0F") + rest;
    EXPECT_EQ(rowDots(frame, y, 400), want) << "row " << y;
  }
}

TEST(Barcode, ChangesNothingInAPositivePrint) {
  std::vector<std::string> frames;
  for (const char* choice : {"0", "1", "2", "3"}) {
    JobCase job;
    job.choose("VBarcodeDensity", choice);
    job.settings.barcode = std::stoi(choice);
    job.addPage(812, 40, "runs");
    frames.push_back(onlyFrame(expectAsPlain(job)));
  }
  for (const auto& frame : frames) EXPECT_EQ(frame, frames[0]);
}

TEST(Barcode, ChangesNegativePagesAsThePlainVersionDoes) {
  for (const char* choice : {"0", "1", "2", "3"}) {
    for (const unsigned width : {5U, 330U, 333U, 400U, 799U, 811U, 812U}) {
      SCOPED_TRACE(std::string(choice) + " width " + std::to_string(width));
      JobCase job;
      job.options = std::string("NegativeImage=True VBarcodeDensity=") + choice;
      job.settings.negativeImage = 1;
      job.settings.barcode = std::stoi(choice);
      for (unsigned seed = 0; seed < 12; ++seed) {
        const unsigned height = 3 + seed * 4;
        job.pages.push_back(
            {ts::makeHeader(width, height, width), ts::longRuns(width, height, seed)});
      }
      expectAsPlain(job);
    }
  }
}

TEST(Barcode, ChangesHalftonedNegativePagesAsThePlainVersionDoes) {
  for (int halftone = 0; halftone < 8; ++halftone) {
    for (const char* choice : {"1", "2"}) {
      SCOPED_TRACE(halftoneName(halftone) + " " + choice);
      JobCase job;
      job.options = std::string("NegativeImage MirrorImage VBarcodeDensity=") + choice;
      job.settings.negativeImage = 1;
      job.settings.mirrorImage = 1;
      job.settings.barcode = std::stoi(choice);
      job.halftone(halftone);
      job.addPage(700, 30, "runs");
      job.addPage(700, 30, "bars");
      expectAsPlain(job);
    }
  }
}

}  // namespace kestra::blackbox
