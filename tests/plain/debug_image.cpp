// Writes the bitmap bytes field by field.
// Why: a viewer hides a wrong field; a byte-by-byte comparison does not.
#include "tests/plain/debug_image.h"

#include <cstddef>

namespace kestra::plain {

namespace {

using Out = std::vector<std::uint8_t>;

void put(Out& out, int bytes, std::uint32_t value) {
  for (int i = 0; i < bytes; ++i) {
    out.push_back(static_cast<std::uint8_t>(value & 255U));
    value >>= 8U;
  }
}

Out header(int width, int height, int bits, std::uint32_t rowBytes) {
  const std::uint32_t dataAt = bits == 8 ? 1078 : 62;
  const std::uint32_t imageSize = rowBytes * static_cast<std::uint32_t>(height);
  const std::uint32_t colours = bits == 8 ? 256 : 0;
  Out out = {'B', 'M'};
  put(out, 4, dataAt + imageSize);
  put(out, 2, 0);
  put(out, 2, 0);
  put(out, 4, dataAt);
  put(out, 4, 40);
  put(out, 4, static_cast<std::uint32_t>(width));
  put(out, 4, static_cast<std::uint32_t>(height));
  put(out, 2, 1);
  put(out, 2, static_cast<std::uint32_t>(bits));
  put(out, 4, 0);
  put(out, 4, imageSize);
  put(out, 4, 0);
  put(out, 4, 0);
  put(out, 4, colours);
  put(out, 4, colours);
  return out;
}

std::uint32_t roundUp4(std::uint32_t value) { return (value + 3) / 4 * 4; }

}  // namespace

std::vector<std::uint8_t> debugImage8(const std::vector<std::uint8_t>& data, int width,
                                      int height) {
  Out out = header(width, height, 8, roundUp4(static_cast<std::uint32_t>(width)));
  for (std::uint32_t i = 0; i < 256; ++i) put(out, 4, i | (i << 8U) | (i << 16U));
  const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  for (std::size_t i = 0; i < count; ++i) out.push_back(data.at(i));
  return out;
}

std::vector<std::uint8_t> debugImage1(const std::vector<std::uint8_t>& data, int bytesPerLine,
                                      int width, int height) {
  const std::uint32_t rowBytes = roundUp4((static_cast<std::uint32_t>(width) + 7) / 8);
  Out out = header(width, height, 1, rowBytes);
  put(out, 4, 0);
  put(out, 4, 0x00FFFFFF);
  for (int y = height - 1; y >= 0; --y) {
    Out row;
    for (int start = 0; start < bytesPerLine; start += 8) {
      std::uint32_t byte = 0;
      for (int bit = 0; bit < 8; ++bit) {
        const int x = start + bit;
        const bool white =
            x >= bytesPerLine || data.at(static_cast<std::size_t>(y * bytesPerLine + x)) == 0;
        byte = byte * 2 + (white ? 1 : 0);
      }
      row.push_back(static_cast<std::uint8_t>(byte));
    }
    row.resize(rowBytes, 0);
    out.insert(out.end(), row.begin(), row.end());
  }
  return out;
}

}  // namespace kestra::plain
