// Copies an image's pixels out of it, and packs a finished page into the dots of the print head,
// eight to a byte.
#include "printer/pixel_rows.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "filter/base/log.h"
#include "imaging/kernels/dots.h"
#include "imaging/kernels/tones.h"

namespace kestra {
namespace {

// Whether the first pixels of an image's rows are bytes that can be read as they lie.
bool hasPlainRows(const PaletteImage& image, int width, int height) {
  return image.IsValid() && image.GetBitsPerPixel() == 8 && width >= 0 && height >= 0 &&
         static_cast<std::uint32_t>(width) <= image.GetWidth() &&
         static_cast<std::uint32_t>(height) <= image.GetHeight();
}

// The first pixels of a row as bytes.
void copyRow(const PaletteImage& image, bool plainRows, std::int64_t y, unsigned char* out,
             std::size_t pixels) {
  if (plainRows) {
    std::memcpy(out, image.GetBits(static_cast<std::uint32_t>(y)), pixels);
    return;
  }
  for (std::size_t x = 0; x < pixels; ++x) {
    out[x] = image.GetPixelIndex(static_cast<std::int64_t>(x), y);
  }
}

}  // namespace

void copyIndices(const PaletteImage& image, unsigned char* out, int width, int height, int stride) {
  if (width <= 0) return;
  const bool plainRows = hasPlainRows(image, width, height);
  for (std::int64_t y = 0; y < height; ++y) {
    copyRow(image, plainRows, y, out + y * stride, static_cast<std::size_t>(width));
  }
}

// Negative printing deliberately acts here once more, on the copy alone: of the two levels 0 and 1
// that `Negative` made 255 and 254, the copy holds 0 and 1.
void copyFinishedPixels(const PaletteImage& image, bool negative, unsigned char* out, int width,
                        int height, int stride, std::size_t outSize) {
  std::array<std::uint8_t, 256> table = {};
  for (unsigned index = 0; index < table.size(); ++index) {
    const unsigned value = index == 1 ? 255 : index;
    table[index] = static_cast<std::uint8_t>(negative ? ~value : value);
  }
  const bool plainRows = hasPlainRows(image, width, height);
  for (std::int64_t y = 0; y < height; ++y) {
    const auto start = static_cast<std::size_t>(y * stride);
    if (start >= outSize) return;
    const std::size_t pixels =
        std::min(static_cast<std::size_t>(std::max(width, 0)), outSize - start);
    copyRow(image, plainRows, y, out + start, pixels);
    lookUpLevels(table.data(), out + start, out + start, pixels);
  }
}

unsigned int packRows(int bytesPerLine, int height, std::uint64_t skipRight,
                      unsigned char* buffer) {
  int packedPixels = bytesPerLine;
  if (bytesPerLine > 0 && skipRight < static_cast<std::uint64_t>(bytesPerLine)) {
    packedPixels = bytesPerLine - static_cast<int>(skipRight);
  }
  wrenLogCommon(kLogDebug, "GrayToMono, bpl(%d), h(%d), skipPixels(%d), wb(%d)", bytesPerLine,
                height, static_cast<int>(skipRight), packedPixels);

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
