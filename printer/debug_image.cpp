// Writes the debug image of a page: what came in and what is printed can be looked at later.
#include "printer/debug_image.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <vector>

#include "filter/base/file.h"
#include "printer/debug_bitmap.h"
#include "printer/sparse_file.h"

namespace kestra {
namespace {

// Counts every image of the process, so that names of the same second differ.
long sImageCounter = 0;

using ImagePath = std::array<char, 1024 + 64>;

ImagePath nextImagePath(const char* pathTemplate) {
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  localtime_r(&now, &local);
  ImagePath path = {};
  // The template is one of the program's own constants.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(path.data(), path.size(), pathTemplate, local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, sImageCounter);
#pragma GCC diagnostic pop
  ++sImageCounter;
  return path;
}

}  // namespace

void saveDebugImage(const char* pathTemplate, const unsigned char* data, unsigned long bytesPerLine,
                    unsigned long height, unsigned long width, unsigned short bitsPerPixel) {
  const ImagePath path = nextImagePath(pathTemplate);
  const FilePtr file = openPrivateFile(path.data());
  if (file == nullptr) {
    std::fprintf(stderr, "WrenPrinter::saveImage: unable to open the file %s\n", path.data());
    return;
  }

  const auto columns = static_cast<std::uint32_t>(width);
  const auto rows = static_cast<std::uint32_t>(height);
  const std::vector<std::uint8_t> header = debugBitmapHeader(columns, rows, bitsPerPixel);
  static_cast<void>(std::fwrite(header.data(), 1, header.size(), file.get()));
  if (bitsPerPixel == 8) {
    // The page's first width * height bytes as they lie, whatever the length of its lines.
    if (std::fflush(file.get()) == 0) {
      static_cast<void>(writeSparse(fileno(file.get()), header.size(), data, width * height));
    }
    return;
  }
  const std::uint32_t rowBytes = debugBitmapRowBytes(columns, bitsPerPixel);
  if (rowBytes == 0) return;  // an image without columns is its header
  for (unsigned long y = height; y > 0; --y) {
    const std::vector<std::uint8_t> row =
        packDebugRow(data + (y - 1) * bytesPerLine, bytesPerLine, rowBytes);
    static_cast<void>(std::fwrite(row.data(), 1, row.size(), file.get()));
  }
}

}  // namespace kestra
