// Packs a finished page into the dots of the print head, eight to a byte.
#include "filter/base/log.h"
#include "printer/wren_printer.h"

namespace kestra {

unsigned int WrenPrinter::GrayToMono(int bytesPerLine, int height, unsigned char* buffer) {
  int packedPixels = bytesPerLine;
  if (bytesPerLine > 0 && skipRightPixels_ < static_cast<std::uint64_t>(bytesPerLine)) {
    packedPixels = bytesPerLine - static_cast<int>(skipRightPixels_);
  }
  wrenLogCommon(kLogDebug, "GrayToMono, bpl(%d), h(%d), skipPixels(%d), wb(%d)", bytesPerLine,
                height, static_cast<int>(skipRightPixels_), packedPixels);

  // In place: eight bytes are read before the one that replaces them is written.
  unsigned char* packed = buffer;
  for (int y = 0; y < height; ++y) {
    const unsigned char* row =
        buffer + static_cast<std::size_t>(y) * static_cast<std::size_t>(bytesPerLine);
    unsigned accumulator = 0;
    for (int x = 0; x < packedPixels; ++x) {
      if (row[x] != 0) accumulator |= 0x80U >> (x % 8);
      if (x % 8 == 7) {
        *packed++ = static_cast<unsigned char>(accumulator);
        accumulator = 0;
      }
    }
    if (packedPixels % 8 != 0) *packed++ = static_cast<unsigned char>(accumulator);
  }
  return static_cast<unsigned int>(packed - buffer);
}

}  // namespace kestra
