// The size of documents made of dots, as phones send them.
// Why: where the job names no size, the dots are all there is.
#include "tools/size/first_page.h"

#include <cups/raster.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace kestra {
namespace {

struct Closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

// A page of white dots in a file that stands at its start again.
File page(cups_mode_t mode, unsigned width, unsigned height, unsigned dpi) {
  File file(std::tmpfile());
  cups_raster_t* raster = cupsRasterOpen(fileno(file.get()), mode);
  cups_page_header2_t header;
  std::memset(&header, 0, sizeof header);
  header.HWResolution[0] = header.HWResolution[1] = dpi;
  header.cupsWidth = header.cupsBytesPerLine = width;
  header.cupsHeight = height;
  header.cupsBitsPerColor = header.cupsBitsPerPixel = 8;
  header.cupsNumColors = 1;
  header.cupsColorSpace = CUPS_CSPACE_SW;
  std::vector<unsigned char> row(width, 255);
  EXPECT_NE(cupsRasterWriteHeader2(raster, &header), 0U);
  for (unsigned y = 0; y < height; ++y) cupsRasterWritePixels(raster, row.data(), width);
  cupsRasterClose(raster);
  std::rewind(file.get());
  return file;
}

// 799 dots / 203 dpi x 25.4 mm = 99.974 mm, 400 dots = 50.049 mm.
TEST(FirstPage, OfPwgRasterIsMeasuredByItsDots) {
  const File file = page(CUPS_RASTER_WRITE_PWG, 799, 400, 203);
  const auto measure = measureOfFirstPage(fileno(file.get()));
  ASSERT_TRUE(measure.has_value());
  EXPECT_EQ(measure->width, 9997);
  EXPECT_EQ(measure->height, 5005);
}

// 1200 and 1800 dots at 300 dpi are 4 x 6 inches.
TEST(FirstPage, OfAppleRasterIsMeasuredByItsDots) {
  const File file = page(CUPS_RASTER_WRITE_APPLE, 1200, 1800, 300);
  const auto measure = measureOfFirstPage(fileno(file.get()));
  ASSERT_TRUE(measure.has_value());
  EXPECT_EQ(measure->width, 10160);
  EXPECT_EQ(measure->height, 15240);
}

TEST(FirstPage, IsUnknownInOtherDocuments) {
  const File file(std::tmpfile());
  std::fputs("%PDF-1.4\nno dots at all, and some more bytes that fill a header", file.get());
  std::rewind(file.get());
  EXPECT_FALSE(measureOfFirstPage(fileno(file.get())).has_value());
  const File empty(std::tmpfile());
  EXPECT_FALSE(measureOfFirstPage(fileno(empty.get())).has_value());
}

}  // namespace
}  // namespace kestra
