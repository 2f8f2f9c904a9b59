// Builds page streams as the print system sends them, and damaged ones that it would not send.
// Why: a test describes a page by width, height and pixels; the stream around it is made here.
#pragma once

#include <cups/raster.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kestra::testing_support {

struct StreamPage {
  cups_page_header2_t header;
  std::vector<std::uint8_t>
      pixels;  ///< cupsBytesPerLine x cupsHeight, or what a damaged stream holds
};

/// 8 bits per pixel, K (255 = ink), one copy, both resolutions `dpi`.
cups_page_header2_t makeHeader(unsigned width, unsigned height, unsigned bytesPerLine,
                               unsigned dpi = 203);

/// Written by the raster library; compressed rows if wished. Throws when the library refuses.
std::string writeStream(const std::vector<StreamPage>& pages, bool compressed = false);

/// Written by hand (uncompressed, little-endian), whatever the headers say: sync word, header,
/// pixels.
std::string rawStream(const std::vector<StreamPage>& pages);

/// What a reader of the stream is given: the headers that the raster library hands over, in order,
/// and whether the pixels of each could be read. Headers for which `readPixels` says false are not
/// followed by any other.
struct DeliveredPage {
  cups_page_header2_t header;
  std::vector<std::uint8_t> pixels;
  bool readable;
};
std::vector<DeliveredPage> deliver(const std::string& stream,
                                   bool (*readPixels)(const cups_page_header2_t&));

}  // namespace kestra::testing_support
