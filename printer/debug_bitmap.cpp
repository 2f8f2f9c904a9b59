// Builds debug bitmaps in memory, byte by byte, so that they are the same on every machine.
#include "printer/debug_bitmap.h"

#include "filter/base/page_size.h"

namespace kestra {
namespace {

constexpr std::uint32_t kFileHeaderSize = 14;
constexpr std::uint32_t kImageHeaderSize = 40;
constexpr std::uint32_t kHeadersSize = kFileHeaderSize + kImageHeaderSize;
constexpr std::uint32_t kGreys = 256;

void append16(std::vector<std::uint8_t>& bytes, std::uint32_t value) {
  bytes.push_back(static_cast<std::uint8_t>(value & 0xFF));
  bytes.push_back(static_cast<std::uint8_t>((value >> 8) & 0xFF));
}

void append32(std::vector<std::uint8_t>& bytes, std::uint32_t value) {
  append16(bytes, value & 0xFFFF);
  append16(bytes, value >> 16);
}

void appendColor(std::vector<std::uint8_t>& bytes, std::uint8_t grey) {
  bytes.insert(bytes.end(), {grey, grey, grey, 0});
}

}  // namespace

std::uint32_t debugBitmapRowBytes(std::uint32_t width, unsigned bitsPerPixel) {
  return static_cast<std::uint32_t>(paddedRowBytes(width, bitsPerPixel == 8 ? 8 : 1));
}

std::vector<std::uint8_t> debugBitmapHeader(std::uint32_t width, std::uint32_t height,
                                            unsigned bitsPerPixel) {
  const bool grey = bitsPerPixel == 8;
  const std::uint32_t pixelOffset = kHeadersSize + (grey ? kGreys * 4 : 2 * 4);
  const std::uint32_t imageSize = debugBitmapRowBytes(width, bitsPerPixel) * height;
  const std::uint32_t colors = grey ? kGreys : 0;

  std::vector<std::uint8_t> bytes = {'B', 'M'};
  append32(bytes, pixelOffset + imageSize);
  append16(bytes, 0);  // reserved
  append16(bytes, 0);  // reserved
  append32(bytes, pixelOffset);
  append32(bytes, kImageHeaderSize);
  append32(bytes, width);
  append32(bytes, height);
  append16(bytes, 1);  // planes
  append16(bytes, grey ? 8 : 1);
  append32(bytes, 0);  // not compressed
  append32(bytes, imageSize);
  append32(bytes, 0);  // horizontal resolution
  append32(bytes, 0);  // vertical resolution
  append32(bytes, colors);
  append32(bytes, colors);  // important colours

  if (grey) {
    for (std::uint32_t i = 0; i < kGreys; ++i) appendColor(bytes, static_cast<std::uint8_t>(i));
  } else if (bitsPerPixel == 1) {
    appendColor(bytes, 0x00);
    appendColor(bytes, 0xFF);
  }
  return bytes;
}

std::vector<std::uint8_t> packDebugRow(const unsigned char* row, std::size_t pixelCount,
                                       std::size_t rowBytes) {
  std::vector<std::uint8_t> packed(rowBytes, 0);
  for (std::size_t byte = 0; byte < rowBytes && byte * 8 < pixelCount; ++byte) {
    unsigned bits = 0;
    for (std::size_t bit = 0; bit < 8; ++bit) {
      const std::size_t x = byte * 8 + bit;
      if (x >= pixelCount || row[x] == 0) bits |= 0x80U >> bit;
    }
    packed[byte] = static_cast<std::uint8_t>(bits);
  }
  return packed;
}

}  // namespace kestra
