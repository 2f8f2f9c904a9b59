// Writes the bitmap bytes field by field.
// Why: a viewer hides a wrong field; a byte-by-byte comparison does not.
#include "tests/plain/debug_image.h"

#include <cstddef>

namespace kestra::plain {

namespace {

using Out = std::vector<std::uint8_t>;

void Put(Out& out, int bytes, std::uint32_t value) {
  for (int i = 0; i < bytes; ++i) {
    out.push_back(static_cast<std::uint8_t>(value & 255U));
    value >>= 8U;
  }
}

Out Header(int width, int height, int bits, std::uint32_t rowBytes) {
  const std::uint32_t dataAt = bits == 8 ? 1078 : 62;
  const std::uint32_t imageSize = rowBytes * static_cast<std::uint32_t>(height);
  const std::uint32_t colours = bits == 8 ? 256 : 0;
  Out out = {'B', 'M'};
  Put(out, 4, dataAt + imageSize);
  Put(out, 2, 0);
  Put(out, 2, 0);
  Put(out, 4, dataAt);
  Put(out, 4, 40);
  Put(out, 4, static_cast<std::uint32_t>(width));
  Put(out, 4, static_cast<std::uint32_t>(height));
  Put(out, 2, 1);
  Put(out, 2, static_cast<std::uint32_t>(bits));
  Put(out, 4, 0);
  Put(out, 4, imageSize);
  Put(out, 4, 0);
  Put(out, 4, 0);
  Put(out, 4, colours);
  Put(out, 4, colours);
  return out;
}

std::uint32_t RoundUp4(std::uint32_t value) { return (value + 3) / 4 * 4; }

}  // namespace

std::vector<std::uint8_t> DebugImage8(const std::vector<std::uint8_t>& data, int width,
                                      int height) {
  Out out = Header(width, height, 8, RoundUp4(static_cast<std::uint32_t>(width)));
  for (std::uint32_t i = 0; i < 256; ++i) Put(out, 4, i | (i << 8U) | (i << 16U));
  const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  for (std::size_t i = 0; i < count; ++i) out.push_back(data.at(i));
  return out;
}

std::vector<std::uint8_t> DebugImage1(const std::vector<std::uint8_t>& data, int bytesPerLine,
                                      int width, int height) {
  const std::uint32_t rowBytes = RoundUp4((static_cast<std::uint32_t>(width) + 7) / 8);
  Out out = Header(width, height, 1, rowBytes);
  Put(out, 4, 0);
  Put(out, 4, 0x00FFFFFF);
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
