// Reads a raster stream page by page while handing its bytes on, and measures what each page asks
// to be printed.
//
// Whether a page was meant to be blank or solid can only be seen before the filter has had it.
#pragma once

#include <cups/raster.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace kestra {

/// A page as the renderer made it; a pixel of 255 is full ink, 0 is paper.
struct PageContent {
  unsigned width = 0;   ///< pixels
  unsigned height = 0;  ///< alike
  std::array<unsigned, 2> dpi = {0, 0};
  std::uint64_t inkedPixels = 0;  ///< pixels that are not 0
  std::uint64_t greySum = 0;      ///< all pixels added up
  bool onlyBlackAndWhite = true;  ///< no pixel but 0 and 255
  bool readable = false;          ///< the pixels were all there

  std::uint64_t pixels() const { return std::uint64_t{width} * height; }
  /// The part of the page that asks for ink, 0 to 1.
  double ink() const {
    return pixels() == 0 ? 0 : static_cast<double>(greySum) / 255 / static_cast<double>(pixels());
  }
};

class PageReader {
 public:
  /// Takes a block of the stream; false where nobody wants more of it.
  using Sink = std::function<bool(const std::uint8_t* data, std::size_t size)>;

  /// Reads from `source`, which stays the caller's and outlives this object.
  PageReader(int source, Sink sink);
  ~PageReader();
  PageReader(const PageReader&) = delete;
  PageReader& operator=(const PageReader&) = delete;

  /// The next page; false at the end, or where what follows is no page of 8-bit grey.
  [[nodiscard]] bool next(PageContent& page);

  /// Hands on what is left of the stream.
  void drain();

 private:
  static ssize_t readBlock(void* self, unsigned char* buffer, std::size_t size);
  ssize_t take(unsigned char* buffer, std::size_t size);

  int source_;
  Sink sink_;
  bool wanted_ = true;
  cups_raster_t* stream_ = nullptr;  ///< ours; null before the first page and for no stream at all
  bool opened_ = false;
  std::vector<std::uint8_t> row_;
};

}  // namespace kestra
