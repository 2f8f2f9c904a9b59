// Makes, hands over and releases the memory block of an image, so that no size from a page header
// ever gives a block smaller than its pixels.
#include "imaging/paletteimage/palette_image.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "filter/base/page_block.h"
#include "filter/base/page_size.h"

namespace kestra {
namespace {

constexpr std::uint32_t kHeaderSize = 40;
constexpr std::uint32_t PALETTEIMAGE_MAX_MEMORY = 0x7FFFFFFF;

std::uint32_t knownDepth(std::uint32_t bpp) {
  if (bpp <= 1) return 1;
  if (bpp <= 4) return 4;
  if (bpp <= 8) return 8;
  return 24;
}

std::uint32_t paletteEntries(std::uint32_t depth) { return depth <= 8 ? 1U << depth : 0; }

// Whether header, palette and padded rows of an image fit the 32-bit sizes of its header. The
// first two tests are the image's own limit, in wrapping 32-bit arithmetic; the others catch what
// they let through and what would leave the block shorter than its rows.
bool fitsMemory(std::uint32_t width, std::uint32_t height, std::uint32_t depth) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  const std::uint32_t pixels = width * height;
  const std::uint32_t bits = pixels * depth;
  if (bits / 8 > PALETTEIMAGE_MAX_MEMORY) return false;
  if (bits / depth != pixels) return false;

  const std::uint64_t row = paddedRowBytes(width, depth);
  if (8 * row > kMost) return false;
  const std::uint64_t beforeRows = kHeaderSize + std::uint64_t{4} * paletteEntries(depth);
  return row <= (kMost - beforeRows) / height;
}

}  // namespace

void* PaletteImage::Create(std::uint32_t width, std::uint32_t height, std::uint32_t bpp,
                           std::uint32_t type) {
  Destroy();
  if (width == 0 || height == 0) {
    setLastError("PaletteImage::Create : width and height must be greater than zero");
    return nullptr;
  }
  const std::uint32_t depth = knownDepth(bpp);
  if (!fitsMemory(width, height, depth)) {
    setLastError("PALETTEIMAGE_MAX_MEMORY exceeded");
    return nullptr;
  }

  info_.effWidth = static_cast<std::uint32_t>(paddedRowBytes(width, depth));
  info_.imageType = type;
  header_.size = kHeaderSize;
  header_.width = static_cast<std::int32_t>(width);
  header_.height = static_cast<std::int32_t>(height);
  header_.planes = 1;
  header_.bitCount = static_cast<std::uint16_t>(depth);
  header_.compression = 0;
  header_.imageSize = info_.effWidth * height;
  header_.colorsUsed = paletteEntries(depth);

  // Cleared as a whole: row padding reaches debug images and, on some widths, dots.
  dib_ = static_cast<std::uint8_t*>(allocatePageBlock(GetSize()));
  if (dib_ == nullptr) {
    setLastError("PaletteImage::Create can't allocate memory");
    return nullptr;
  }
  std::memcpy(dib_, &header_, sizeof header_);
  info_.pixels = GetBits(0);
  return dib_;
}

bool PaletteImage::CreateFromArray(const std::uint8_t* array, std::uint32_t width,
                                   std::uint32_t height, std::uint32_t bpp,
                                   std::uint32_t bytesPerLine, bool flip) {
  if (array == nullptr) return false;
  if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 24 && bpp != 32) return false;
  if (Create(width, height, bpp, 0) == nullptr) return false;
  if (bpp < 24) SetGrayPalette();

  const std::size_t copied = std::min(info_.effWidth, bytesPerLine);
  for (std::uint32_t y = 0; y < height; ++y) {
    const std::uint8_t* source = array + std::size_t{y} * bytesPerLine;
    std::uint8_t* row = GetBits(flip ? height - 1 - y : y);
    if (bpp == 32) {
      for (std::size_t x = 0; x < width; ++x) std::memcpy(row + 3 * x, source + 4 * x, 3);
    } else {
      std::memcpy(row, source, copied);
    }
  }
  return true;
}

bool PaletteImage::Destroy() {
  freePageBlock(dib_, GetSize());
  dib_ = nullptr;
  return true;
}

void PaletteImage::CopyInfo(const PaletteImage& src) {
  if (!IsValid()) info_ = src.info_;
}

bool PaletteImage::Transfer(PaletteImage& from, bool /*transferFrame*/) {
  Destroy();
  header_ = from.header_;
  info_ = from.info_;
  dib_ = from.dib_;
  from.header_ = Header{};
  from.info_ = Info{};
  from.dib_ = nullptr;
  return true;
}

std::uint8_t* PaletteImage::GetBits(std::uint32_t row) {
  if (!IsValid()) return nullptr;
  if (row > 0 && row >= GetHeight()) return nullptr;
  return dib_ + kHeaderSize + GetPaletteSize() + std::size_t{info_.effWidth} * row;
}

const std::uint8_t* PaletteImage::GetBits(std::uint32_t row) const {
  return const_cast<PaletteImage*>(this)->GetBits(row);
}

void PaletteImage::setLastError(const char* text) {
  std::strncpy(info_.lastError, text, sizeof info_.lastError - 1);
}

void PaletteImage::createDerived(PaletteImage& derived, std::uint32_t width, std::uint32_t height,
                                 std::uint32_t bpp) const {
  derived.CopyInfo(*this);
  derived.Create(width, height, bpp, info_.imageType);
}

}  // namespace kestra
