// The barcode choices 1 and 2: dashes in long runs, thinned lines, with examples worked by hand.
// Why: they only ever act on negative prints, where every byte is a dot that they take away again.
#include <gtest/gtest.h>

#include <functional>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

namespace {

// A negative print of width x height: paper (255 after the negative) except where `ink` says so
// (254 after it).
JobCase negativePage(int choice, unsigned width, unsigned height,
                     const std::function<bool(unsigned x, unsigned y)>& ink) {
  JobCase job;
  job.negative();
  job.barcode(choice);
  std::vector<std::uint8_t> pixels;
  for (unsigned y = 0; y < height; ++y) {
    for (unsigned x = 0; x < width; ++x) pixels.push_back(ink(x, y) ? 255 : 0);
  }
  job.addPixels(width, height, pixels);
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

}  // namespace

TEST(Barcode, PutsDashesIntoALongRunAndOverItsEnd) {
  // 9 rows: only row 2 (2 <= y < 9 - 6) is looked at. The run of 330 ends at x = 330; dashes start
  // at 0, 8, ..., 328 and the last one covers 328..331, the closing pixel too. Bytes 0..41 are 0000
  // 1111.
  for (const int choice : {1, 2}) {
    const std::string frame =
        frameOf(negativePage(choice, 400, 9, [](unsigned x, unsigned) { return x == 330; }));
    for (std::size_t y = 0; y < 9; ++y) {
      EXPECT_EQ(rowDots(frame, y, 400),
                y == 2 ? repeat(42, "0F") + repeat(8, "FF") : repeat(50, "FF"))
          << "row " << y;
    }
  }
}

TEST(Barcode, FirstChoiceThinsTheRowAboveTheDashes) {
  // 800 x 9, white 0..329, ink from 330 on: row 2 gets its dashes. Row 1: 330 white pixels are
  // fewer than 400; the run counted from x = 2 is 328 long and closed at 330. Where one black pixel
  // lies below (the dashes) and white above, the pixel becomes black: k = 2, 3, 8..11, ..., 328,
  // 329.
  //   byte 0: 1100 1111 = CF, bytes 1..40: 0F, byte 41: 0011 1111 = 3F
  // Rows 3 to 7 have nothing black below them; row 2 has only runs of 4.
  const std::string frame =
      frameOf(negativePage(1, 800, 9, [](unsigned x, unsigned) { return x >= 330; }));
  for (std::size_t y = 0; y < 9; ++y) {
    std::string want = repeat(100, "FF");
    if (y == 1) want = repeat(1, "CF") + repeat(40, "0F") + repeat(1, "3F") + repeat(58, "FF");
    if (y == 2) want = repeat(42, "0F") + repeat(58, "FF");
    EXPECT_EQ(rowDots(frame, y, 800), want) << "row " << y;
  }
}

TEST(Barcode, FirstChoiceDoesNotCountTheMiddlePixelOfAnOddWidth) {
  // Width 801, middle 400: white 0..329 and 331..400 are 399 without the middle, fewer than 400.
  const auto page = [](int choice) {
    return negativePage(choice, 801, 9, [](unsigned x, unsigned y) {
      return y == 1 ? x == 330 || x > 400 : y > 1 && x >= 330;
    });
  };
  const std::string thinned = frameOf(page(1));
  // Thinned in row 1, dashed only with the second choice (its columns end above row 3).
  EXPECT_NE(thinned, frameOf(page(2)));
}

TEST(Barcode, SecondChoiceThinsTheColumnsAboveTheDashes) {
  // 400 x 17, rows 0..9 white, from row 10 on ink at x = 330: only row 10 (y < 17 - 6) gets dashes.
  // At row 9 a dashed column has 7 white pixels (rows 3..9) and black below:
  //   x mod 4 = 0: rows 7 and 5 black -> 0111 1111 = 7F;  x mod 4 = 2: rows 8 and 6 -> 1101 1111 =
  //   DF row 9 black too, as row 11 below the dash is white; not at x = 330, where rows 11 and 12
  //   are ink -> byte 41: 0010 1111 = 2F
  const std::string frame =
      frameOf(negativePage(2, 400, 17, [](unsigned x, unsigned y) { return y >= 10 && x == 330; }));
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
  for (const int choice : {0, 1, 2, 3}) {
    JobCase job = onePage(812, 40, "runs");
    job.barcode(choice);
    frames.push_back(frameOf(job));
  }
  for (const auto& frame : frames) EXPECT_EQ(frame, frames[0]);
}

TEST(Barcode, ChangesNegativePagesAsThePlainVersionDoes) {
  for (const int choice : {0, 1, 2, 3}) {
    for (const unsigned width : {5U, 330U, 333U, 400U, 799U, 811U, 812U}) {
      SCOPED_TRACE(std::to_string(choice) + " width " + std::to_string(width));
      JobCase job;
      job.negative();
      job.barcode(choice);
      for (unsigned seed = 0; seed < 12; ++seed) {
        const unsigned height = 3 + seed * 4;
        job.addPixels(width, height, ts::longRuns(width, height, seed));
      }
      expectAsPlain(job);
    }
  }
}

TEST(Barcode, ChangesHalftonedNegativePagesAsThePlainVersionDoes) {
  for (int halftone = 0; halftone < 8; ++halftone) {
    for (const int choice : {1, 2}) {
      SCOPED_TRACE(halftoneName(halftone) + " " + std::to_string(choice));
      JobCase job;
      job.negative();
      job.mirror();
      job.barcode(choice);
      job.halftone(halftone);
      job.addPage(700, 30, "runs");
      job.addPage(700, 30, "bars");
      expectAsPlain(job);
    }
  }
}

}  // namespace kestra::blackbox
