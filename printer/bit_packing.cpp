// Packs a finished page into the dots of the print head, eight to a byte.
#include <cstring>

#include "filter/base/log.h"
#include "imaging/kernels/dot_rows.h"
#include "printer/wren_printer.h"

namespace kestra {

unsigned int WrenPrinter::GrayToMono(int bytesPerLine, int height, unsigned char* buffer) {
  int packedPixels = bytesPerLine;
  if (bytesPerLine > 0 && skipRightPixels_ < static_cast<std::uint64_t>(bytesPerLine)) {
    packedPixels = bytesPerLine - static_cast<int>(skipRightPixels_);
  }
  wrenLogCommon(kLogDebug, "GrayToMono, bpl(%d), h(%d), skipPixels(%d), wb(%d)", bytesPerLine,
                height, static_cast<int>(skipRightPixels_), packedPixels);

  if (height <= 0) return 0;
  if (packedPixels <= 0) {
    // Rows of negative length have no pixels and nevertheless, where that length is no multiple of
    // 8, a byte that is not full.
    if (packedPixels % 8 == 0) return 0;
    std::memset(buffer, 0, static_cast<std::size_t>(height));
    return static_cast<unsigned int>(height);
  }
  // In place: the pixels are read before the dots that replace them are written. Rows that fill
  // their bytes are one long row.
  const auto stride = static_cast<std::size_t>(bytesPerLine);
  const auto rows = static_cast<std::size_t>(height);
  const auto pixels = static_cast<std::size_t>(packedPixels);
  const std::size_t packedBytes = (pixels + 7) / 8;
  if (packedPixels == bytesPerLine && packedPixels % 8 == 0) {
    packDots(buffer, pixels * rows, buffer);
  } else {
    for (std::size_t y = 0; y < rows; ++y) {
      packDots(buffer + y * stride, pixels, buffer + y * packedBytes);
    }
  }
  return static_cast<unsigned int>(packedBytes * rows);
}

}  // namespace kestra
