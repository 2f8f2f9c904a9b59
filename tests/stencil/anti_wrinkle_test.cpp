// Tests of the frame against wrinkling: canvas sizes, bars, images of all sizes, awkward levels.
// Why: the frame is solid ink around every page that has one, and must lie where the paper's edge
// is.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/plain_stencil/frame.h"
#include "tests/stencil/framed_printer.h"
#include "tests/stencil/pictures.h"
#include "tests/unit/capture.h"

namespace kestra {
namespace {

constexpr const char* kPageNames[] = {"A4", "Letter", "Tattoo_A5", "Tattoo_A6"};

// Frames an image; what was logged.
std::string frameOf(OwnedImage& image, const plain_stencil::Framing& framing) {
  FramedPrinter printer;
  if (framing.hasHeader) printer.setPageName(framing.pageName);
  printer.setDotsPerInch(framing.dpi);
  printer.setAntiWrinkle(framing.level);
  Capture capture;
  printer.EnableAntiWrink(image);
  return capture.stop();
}

// Frames a grey page; the result and what was logged.
plain_stencil::Framed framed(const plain::Rows& rows, const plain_stencil::Framing& framing) {
  OwnedImage image;
  const std::vector<std::uint8_t> bytes = plain::flatten(rows);
  EXPECT_TRUE(makeGrey(image, bytes, static_cast<std::uint32_t>(rows[0].size()),
                       static_cast<std::uint32_t>(rows.size())));
  const std::string log = frameOf(image, framing);
  return {pictureOf(image), log};
}

void expectAsPlain(const plain::Rows& rows, const plain_stencil::Framing& framing) {
  const plain_stencil::Framed actual = framed(rows, framing);
  const plain_stencil::Framed expected = plain_stencil::frame(pictureOf(rows), framing);
  const std::string what = framing.pageName + ", level " + std::to_string(framing.level) + ", " +
                           std::to_string(rows[0].size()) + " x " + std::to_string(rows.size());
  ASSERT_EQ(actual.log, expected.log) << what;
  ASSERT_EQ(actual.picture.width, expected.picture.width) << what;
  ASSERT_TRUE(actual.picture.rows == expected.picture.rows) << what;
}

bool logHas(const plain_stencil::Framed& result, const std::string& text) {
  return result.log.find("DEBUG:EnableAntiWrink: " + text + "\n") != std::string::npos;
}

}  // namespace

TEST(AntiWrinkle, LevelThreeOnAnA4PageAt300Dpi) {
  // 1 mm: 300 * 100 / 254 = 118, (118 + 5) / 10 = 12 dots. 3 mm: 354, 35 dots. 200 mm: 23622, 2362;
  // 275 mm: 32480, 3248. Canvas 2362 + 70 = 2432 wide, 3248 + 24 = 3272 high.
  const plain::Rows page = uniformPage(2432, 3272, 0);
  const plain_stencil::Framed result = framed(page, {3, 300, "A4"});
  EXPECT_EQ(result.log,
            "DEBUG:EnableAntiWrink: AntiWrinkle level: 3, line_v: 35 points, line_h: 12 points.\n"
            "DEBUG:EnableAntiWrink: Page size is A4, CanvasWidth: 2432, CanvasHeight: 3272\n"
            "DEBUG:EnableAntiWrink: Drawing left line. point(0, 0, 35, 3272)\n"
            "DEBUG:EnableAntiWrink: Drawing top line. point(0, 0, 2432, 12)\n"
            "DEBUG:EnableAntiWrink: Drawing right line. point(2397, 0, 2432, 3272)\n"
            "DEBUG:EnableAntiWrink: Drawing bottom line. point(0, 3260, 2432, 3272)\n");
  const auto& rows = result.picture.rows;
  ASSERT_EQ(rows.size(), 3272U);
  EXPECT_EQ(rows[11][100], 255);
  EXPECT_EQ(rows[12][100], 0);
  EXPECT_EQ(rows[3259][100], 0);
  EXPECT_EQ(rows[3260][100], 255);
  EXPECT_EQ(rows[100][34], 255);
  EXPECT_EQ(rows[100][35], 0);
  EXPECT_EQ(rows[100][2396], 0);
  EXPECT_EQ(rows[100][2397], 255);
  EXPECT_EQ(rows[3271][2431], 255);
}

TEST(AntiWrinkle, CanvasSizesOfAllPageNamesAt300Dpi) {
  // 210 mm: 24803, 2480; 257 mm: 30354, 3035; 118 mm: 13937, 1394; 100 mm: 11811, 1181.
  const std::string sizes[] = {"A4, CanvasWidth: 2432, CanvasHeight: 3272",
                               "Letter, CanvasWidth: 2550, CanvasHeight: 3059",
                               "Tattoo_A5, CanvasWidth: 2432, CanvasHeight: 1418",
                               "Tattoo_A6, CanvasWidth: 1251, CanvasHeight: 1418"};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_TRUE(logHas(framed({{7}}, {3, 300, kPageNames[i]}), "Page size is " + sizes[i]))
        << kPageNames[i];
  }
}

TEST(AntiWrinkle, SmallerImagesAreCentredOnASolidCanvas) {
  // At 30 dpi: 1 mm is 30 * 100 / 254 = 11, (11 + 5) / 10 = 1 dot; 2 mm 23, 2 dots; 100 mm 1181,
  // 118; 118 mm 1393, 139. Canvas 122 x 141. An image of 100 x 121: 11 and 10 dots on each side.
  const plain_stencil::Framed result = framed(uniformPage(100, 121, 0), {2, 30, "Tattoo_A6"});
  EXPECT_TRUE(logHas(result, "Image width is less than canvas width, exPoints: 11"));
  EXPECT_TRUE(logHas(result, "Image height is less than canvas height, eyPoints: 10"));
  EXPECT_TRUE(logHas(result, "Image expanded successfully."));
  ASSERT_EQ(result.picture.width, 122);
  ASSERT_EQ(result.picture.rows.size(), 141U);
  for (std::size_t y = 0; y < 141; ++y) {
    for (std::size_t x = 0; x < 122; ++x) {
      const bool inside = x >= 11 && x < 111 && y >= 10 && y < 131;
      ASSERT_EQ(result.picture.rows[y][x], inside ? 0 : 255) << x << ", " << y;
    }
  }
}

TEST(AntiWrinkle, AnOddDifferenceLeavesTheCanvasOneDotShort) {
  // Canvas 122 x 141 as above, image 121 x 141: half of 1 is 0, so nothing is enlarged, and the
  // right bar's last column falls outside.
  const plain_stencil::Framed result = framed(uniformPage(121, 141, 0), {2, 30, "Tattoo_A6"});
  EXPECT_TRUE(logHas(result, "Image width is less than canvas width, exPoints: 0"));
  EXPECT_FALSE(logHas(result, "Image expanded successfully."));
  EXPECT_EQ(result.picture.width, 121);
  EXPECT_TRUE(logHas(result, "Drawing right line. point(120, 0, 122, 141)"));
  EXPECT_EQ(result.picture.rows[70][119], 0);
  EXPECT_EQ(result.picture.rows[70][120], 255);
}

TEST(AntiWrinkle, LargerImagesAreFramedInTheirMiddle) {
  // Image 132 x 151: the canvas of 122 x 141 begins at (5, 5).
  const plain_stencil::Framed result = framed(uniformPage(132, 151, 0), {2, 30, "Tattoo_A6"});
  EXPECT_TRUE(logHas(result, "Image width is greater than canvas width, offset.x: 5"));
  EXPECT_TRUE(logHas(result, "Image height is greater than canvas height, offset.y: 5"));
  ASSERT_EQ(result.picture.width, 132);
  for (std::size_t y = 0; y < 151; ++y) {
    for (std::size_t x = 0; x < 132; ++x) {
      const bool onCanvas = x >= 5 && x < 127 && y >= 5 && y < 146;
      const bool onBar = x < 7 || x >= 125 || y < 6 || y >= 145;
      ASSERT_EQ(result.picture.rows[y][x], onCanvas && onBar ? 255 : 0) << x << ", " << y;
    }
  }
}

TEST(AntiWrinkle, AnUnknownPageNameDrawsNothing) {
  for (const char* name : {"", "a4", "A4 ", "A5", "Tattoo_A5x", "Custom.100x100"}) {
    const plain::Rows page = noisePage(31, 20, 3);
    const plain_stencil::Framed result = framed(page, {3, 300, name});
    EXPECT_EQ(result.picture.width, 31);
    EXPECT_TRUE(result.picture.rows == pictureOf(page).rows) << name;
    EXPECT_TRUE(logHas(result, "Image width is greater than canvas width, offset.x: 15"));
    EXPECT_TRUE(logHas(result, "Image height is greater than canvas height, offset.y: 10"));
    EXPECT_EQ(result.log.find("Page size is"), std::string::npos);
    EXPECT_EQ(result.log.find("less than"), std::string::npos);
    EXPECT_EQ(result.log.find("expanded"), std::string::npos);
  }
}

TEST(AntiWrinkle, WithoutAPageHeaderNothingHappens) {
  const plain::Rows page = noisePage(9, 7, 1);
  const plain_stencil::Framed result = framed(page, {3, 300, "A4", false});
  EXPECT_EQ(result.log, "DEBUG:EnableAntiWrink: Image or pageHdr_ is not valid, returning.\n");
  EXPECT_TRUE(result.picture.rows == pictureOf(page).rows);
}

TEST(AntiWrinkle, WithoutAnImageNothingHappens) {
  OwnedImage image;
  EXPECT_EQ(frameOf(image, {3, 300, "A4"}),
            "DEBUG:EnableAntiWrink: Image or pageHdr_ is not valid, returning.\n");
  EXPECT_FALSE(image.IsValid());
}

TEST(AntiWrinkle, TheCanvasIsFilledWithTheIndexOfWhite) {
  // An image of two colours at 8 bits: white is index 1 there, the bars are 255 all the same.
  OwnedImage image;
  ASSERT_TRUE(makeGrey(image, std::vector<std::uint8_t>(10 * 10, 0), 10, 10));
  image.Dither(0);
  image.IncreaseBpp(8);
  frameOf(image, {2, 30, "Tattoo_A6"});
  const plain_stencil::Picture picture = pictureOf(image);
  // Canvas 122 x 141, image enlarged by 56 and 65: 122 x 140.
  ASSERT_EQ(picture.width, 122);
  ASSERT_EQ(picture.rows.size(), 140U);
  EXPECT_EQ(picture.rows[0][0], 255);
  EXPECT_EQ(picture.rows[20][20], 1);
  EXPECT_EQ(picture.rows[70][60], 0);
  EXPECT_EQ(picture.rows[20][123], 1) << "the row padding belongs to the canvas";
}

TEST(AntiWrinkle, ACanvasThatCannotBeMadeLeavesTheImage) {
  // 20000 mm: 20000 * 300 * 100 / 254 = 2362204, 236220 dots. 2362 + 2 * 236220 = 474802 times 3272
  // dots are more than 2^29.
  const plain::Rows page = noisePage(9, 7, 1);
  const plain_stencil::Framed result = framed(page, {20000, 300, "A4"});
  EXPECT_TRUE(
      logHas(result, "AntiWrinkle level: 20000, line_v: 236220 points, line_h: 12 points."));
  EXPECT_TRUE(logHas(result, "Failed to expand image, returning."));
  EXPECT_EQ(result.log.find("Drawing"), std::string::npos);
  EXPECT_TRUE(result.picture.rows == pictureOf(page).rows);
}

TEST(AntiWrinkle, EqualsThePlainVersionForLevels0To20AndAllPageNames) {
  for (const char* name : {"A4", "Letter", "Tattoo_A5", "Tattoo_A6", "None"}) {
    for (int level = 0; level <= 20; ++level) {
      // Below, at and beyond the canvas in each direction: at 12 dpi they are 50 to 119 wide and 57
      // to 131 high.
      for (const auto& [width, height] :
           {std::pair{1, 1}, std::pair{40, 50}, std::pair{33, 150}, std::pair{130, 31},
            std::pair{131, 149}, std::pair{97, 130}, std::pair{98, 57}}) {
        expectAsPlain(noisePage(width, height, 11), {level, 12, name});
      }
    }
  }
}

TEST(AntiWrinkle, EqualsThePlainVersionAtThePrintersResolutions) {
  for (const int dpi : {203, 300}) {
    for (const char* name : kPageNames) {
      expectAsPlain(noisePage(400, 300, 11), {5, dpi, name});
    }
    expectAsPlain(noisePage(1300, 1500, 11), {20, dpi, "Tattoo_A6"});
  }
}

TEST(AntiWrinkle, BarsWiderThanThePageAreCutAtItsEdges) {
  for (const int level : {100, 250, 1000}) {
    expectAsPlain(noisePage(60, 70, 2), {level, 12, "Tattoo_A6"});
  }
}

TEST(AntiWrinkle, NegativeLevelsDrawNoSideBars) {
  for (const int level : {-1, -3, -20, -49}) {
    expectAsPlain(noisePage(60, 70, 2), {level, 12, "Tattoo_A6"});
  }
}

TEST(AntiWrinkle, NegativeResolutionsDrawNothing) {
  // 118 mm: -12 * 118 * 100 / 254 = -557, (-557 + 5) / 10 = -55 dots; 100 mm: -472, -46; 1 and 3
  // mm: 0. The canvas begins at (60 + 46) / 2 = 53, (70 + 55) / 2 = 62.
  const plain::Rows page = noisePage(60, 70, 2);
  const plain_stencil::Framed result = framed(page, {3, -12, "Tattoo_A6"});
  EXPECT_TRUE(result.picture.rows == pictureOf(page).rows);
  EXPECT_TRUE(logHas(result, "Image height is greater than canvas height, offset.y: 62"));
  EXPECT_TRUE(logHas(result, "Drawing left line. point(53, 62, 53, 62)"));
  EXPECT_TRUE(logHas(result, "Drawing right line. point(7, 62, 7, 62)"));
  EXPECT_TRUE(logHas(result, "Drawing bottom line. point(53, 7, 53, 7)"));
  expectAsPlain(page, {3, -12, "Tattoo_A6"});
}

TEST(AntiWrinkle, BarsWithoutPixelsAreToldToEndWhereTheyBegin) {
  // At 30 dpi -5 mm are -5 * 100 * 30 / 254 = -59, (-59 + 5) / 10 = -5 dots, 1 mm is 1 dot. Canvas
  // 118 - 10 = 108 wide, 139 + 2 = 141 high. The right bar begins at 108 + 5.
  const plain_stencil::Framed negative = framed(uniformPage(108, 141, 0), {-5, 30, "Tattoo_A6"});
  EXPECT_TRUE(logHas(negative, "Drawing left line. point(0, 0, 0, 141)"));
  EXPECT_TRUE(logHas(negative, "Drawing top line. point(0, 0, 108, 1)"));
  EXPECT_TRUE(logHas(negative, "Drawing right line. point(113, 0, 113, 141)"));
  EXPECT_TRUE(logHas(negative, "Drawing bottom line. point(0, 140, 108, 141)"));

  // A canvas of 0 x 0 in the middle of 30 x 20: no side bar has a row, top and bottom no column.
  // 3 mm: 35, (35 + 5) / 10 = 4 dots.
  const plain_stencil::Framed unknown = framed(uniformPage(30, 20, 0), {3, 30, "Other"});
  EXPECT_TRUE(logHas(unknown, "Drawing left line. point(15, 10, 15, 10)"));
  EXPECT_TRUE(logHas(unknown, "Drawing top line. point(15, 10, 15, 11)"));
  EXPECT_TRUE(logHas(unknown, "Drawing right line. point(11, 10, 11, 10)"));
  EXPECT_TRUE(logHas(unknown, "Drawing bottom line. point(15, 9, 15, 10)"));
}

TEST(AntiWrinkle, ExtremeLevelsEndQuicklyAndLeaveAValidImage) {
  // Beyond 71582 mm the dots do not fit 32 bits any more. What the frame looks like then is of no
  // interest; that the page is still there is.
  constexpr int kLargest = std::numeric_limits<int>::max();
  constexpr int kSmallest = std::numeric_limits<int>::min();
  for (const int level : {kLargest, kLargest - 1, kLargest / 2, 71583, 100000, -71583, -100000,
                          kSmallest / 2, kSmallest + 1, kSmallest}) {
    for (const char* name : {"A4", "Letter", "Tattoo_A5", "Tattoo_A6", "None"}) {
      OwnedImage image;
      ASSERT_TRUE(makeGrey(image, std::vector<std::uint8_t>(40 * 31, 3), 40, 31));
      const std::string log = frameOf(image, {level, 300, name});
      EXPECT_NE(log.find("AntiWrinkle level: " + std::to_string(level) + ","), std::string::npos);
      ASSERT_TRUE(image.IsValid());
      EXPECT_GE(image.GetWidth(), 40U) << level;
      EXPECT_GE(image.GetHeight(), 31U) << level;
    }
  }
}

}  // namespace kestra
