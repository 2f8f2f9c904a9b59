// Blank edges of a page: measured and logged only, pages are printed whole.
#include "printer/blank_edges.h"

#include <algorithm>

namespace kestra {
namespace {

// A page as the counting functions see it.
struct Lines {
  const unsigned char* data;
  unsigned long examined;  // bytes of a line
  unsigned long stride;
  unsigned long size;  // bytes of the page

  Lines(const unsigned char* pixels, unsigned long lineBytes, unsigned long height,
        unsigned long skipRight, unsigned long lineStride)
      : data(pixels),
        examined(skipRight > lineBytes ? lineBytes : lineBytes - skipRight),
        stride(lineStride),
        size(height == 0 ? 0 : std::max(lineBytes * height, (height - 1) * stride + lineBytes)) {}

  bool isBlank(unsigned long line) const {
    const unsigned long begin = std::min(size, line * stride);
    const unsigned long end = std::min(size, begin + examined);
    return std::all_of(data + begin, data + end, [](unsigned char byte) { return byte == 0; });
  }
};

}  // namespace

unsigned long wrenImageCountBlankLinesFromFront(const unsigned char* data, unsigned long lineBytes,
                                                unsigned long height, unsigned long skipRight,
                                                unsigned long stride) {
  const Lines lines(data, lineBytes, height, skipRight, stride);
  for (unsigned long k = 0; k < height; ++k) {
    if (!lines.isBlank(k + 1)) return k;
  }
  return height;
}

unsigned long wrenImageCountBlankLinesFromBack(const unsigned char* data, unsigned long lineBytes,
                                               unsigned long height, unsigned long skipRight,
                                               unsigned long stride) {
  const Lines lines(data, lineBytes, height, skipRight, stride);
  for (unsigned long k = height; k > 0; --k) {
    if (!lines.isBlank(k - 1)) return k;
  }
  return 0;
}

}  // namespace kestra
