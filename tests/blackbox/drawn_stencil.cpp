// Makes such pages and takes their frames apart again.
// Why: rows of '#' and '.' show at a glance what a rule did.
#include "tests/blackbox/drawn_stencil.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kestra::blackbox {

ts::StreamPage drawnPage(unsigned width, unsigned height, const Drawing& white) {
  const std::string bytes = drawnBytes(width, height, white);
  ts::StreamPage page = {ts::makeHeader(width, height, width), {bytes.begin(), bytes.end()}};
  page.pixels.back() = 100;
  return page;
}

std::string drawnBytes(unsigned width, unsigned height, const Drawing& white) {
  std::string bytes;
  for (unsigned y = 0; y < height; ++y) {
    for (unsigned x = 0; x < width; ++x) bytes += white(x, y) ? '\xFF' : '\0';
  }
  bytes.back() = '\0';
  return bytes;
}

JobCase drawnJob(int halftone, int barcode, unsigned width, unsigned height, const Drawing& white) {
  JobCase job;
  job.halftone(halftone);
  job.barcode(barcode);
  job.pages.push_back(drawnPage(width, height, white));
  return job;
}

std::vector<std::string> printDrawn(int halftone, int barcode, unsigned width, unsigned height,
                                    const Drawing& white) {
  const ts::Result result = expectAsPlain(drawnJob(halftone, barcode, width, height, white));
  // The debug image is written between the halftone and the barcode rules.
  EXPECT_TRUE(imageNamed(result, "dithered_#_1.bmp").substr(1078) ==
              drawnBytes(width, height, white))
      << "the halftone did not hand the drawing on";
  return frameRows(onlyFrame(result), width);
}

std::vector<std::string> drawnRows(unsigned width, unsigned height, const Drawing& white) {
  std::string dots = drawnBytes(width, height, white);
  std::replace(dots.begin(), dots.end(), '\xFF', '#');
  std::replace(dots.begin(), dots.end(), '\0', '.');
  std::vector<std::string> rows;
  for (std::size_t y = 0; y < height; ++y) rows.push_back(dots.substr(y * width, width));
  return rows;
}

std::vector<std::string> frameRows(const std::string& frame, unsigned width) {
  const auto byte = [&frame](std::size_t at) { return static_cast<unsigned char>(frame.at(at)); };
  const std::size_t record = byte(18) + 256U * byte(19);
  const std::size_t height = byte(20) + 256U * byte(21);
  const std::size_t rowBytes = (width + 7) / 8;
  std::vector<std::string> rows;
  for (std::size_t y = 0; y < height; ++y) {
    const std::size_t start = 22 + (y + 1) * record - rowBytes;
    std::string row;
    for (std::size_t x = 0; x < width; ++x) {
      row += (byte(start + x / 8) >> (7 - x % 8) & 1) != 0 ? '#' : '.';
    }
    rows.push_back(row);
  }
  return rows;
}

}  // namespace kestra::blackbox
