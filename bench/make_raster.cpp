// Writes a measured page, once or several times, as the uncompressed raster file that the print
// system hands to filters.
//
// Our filter and its peers then read the very same bytes, through the same raster library.
#include <cups/raster.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/pages.h"
#include "tests/support/raster_stream.h"

namespace {

bool writePages(int file, cups_page_header2_t header, std::vector<std::uint8_t> page, int count) {
  cups_raster_t* raster = cupsRasterOpen(file, CUPS_RASTER_WRITE);
  if (raster == nullptr) return false;
  const auto bytes = static_cast<unsigned>(page.size());
  bool good = true;
  for (int i = 0; i < count && good; ++i) {
    good = cupsRasterWriteHeader2(raster, &header) != 0 &&
           cupsRasterWritePixels(raster, page.data(), bytes) == bytes;
  }
  cupsRasterClose(raster);
  return good;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 7) {
    std::fprintf(stderr, "Usage: %s KIND WIDTH HEIGHT DPI PAGES FILE\nKinds:", argv[0]);
    for (const std::string& kind : kestra::bench::pageKinds()) {
      std::fprintf(stderr, " %s", kind.c_str());
    }
    std::fputs("\n", stderr);
    return 2;
  }
  const auto width = static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10));
  const auto height = static_cast<unsigned>(std::strtoul(argv[3], nullptr, 10));
  const auto dpi = static_cast<unsigned>(std::strtoul(argv[4], nullptr, 10));
  const std::vector<std::uint8_t> page = kestra::bench::makePage(argv[1], width, height);
  if (page.empty() || dpi == 0) {
    std::fprintf(stderr, "%s: no page %s of %s x %s dots at %s dpi\n", argv[0], argv[1], argv[2],
                 argv[3], argv[4]);
    return 2;
  }
  constexpr unsigned kPointsPerInch = 72;
  cups_page_header2_t header = kestra::testing_support::makeHeader(width, height, width, dpi);
  header.PageSize[0] = width * kPointsPerInch / dpi;
  header.PageSize[1] = height * kPointsPerInch / dpi;
  const int file = open(argv[6], O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  const bool good = file >= 0 && writePages(file, header, page,
                                            static_cast<int>(std::strtol(argv[5], nullptr, 10)));
  if (!good || close(file) != 0) {
    std::fprintf(stderr, "%s: cannot write %s\n", argv[0], argv[6]);
    return 1;
  }
  return 0;
}
