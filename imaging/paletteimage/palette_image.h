// The raster image that every page passes through: rows of palette indices (1, 4 or 8 bits) or of
// 24-bit colours in one block of memory, with its tone, geometry and dithering operations.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra {

/// A colour as palettes store it, in storage order.
struct tagRGBQUAD {
  std::uint8_t blue;
  std::uint8_t green;
  std::uint8_t red;
  std::uint8_t reserved;
};

/// A palette image of 1, 4, 8 or 24 bits per pixel.
///
/// One heap block holds a copy of the 40-byte header, the palette (4 bytes an entry) and the pixel
/// rows, each padded to a multiple of 4 bytes. Row 0 is the first row in storage; no operation
/// flips rows unless asked to. An image is valid while it has a block.
///
/// The object owns its block but deliberately has no destructor: a block is released by `Destroy`,
/// by the next `Create`, or by `Transfer`. Whoever makes a temporary image destroys it or hands it
/// over. Images are never copied.
///
/// In the system's words index 0 is "black" and the highest index "white"; with the K raster that
/// pages come in it is the other way round on paper: 255 is ink, 0 is paper, and every index but 0
/// becomes a printed dot.
class PaletteImage {
 public:
  PaletteImage() = default;
  PaletteImage(const PaletteImage&) = delete;
  PaletteImage& operator=(const PaletteImage&) = delete;

  // --- Creation and lifetime (palette_image.cpp) ---

  /// Makes a new block for width x height pixels, releasing the old one first. All pixels and
  /// palette entries are 0.
  /// @param bpp   rounded up to a known depth: 0, 1 -> 1; 2..4 -> 4; 5..8 -> 8; more -> 24
  /// @param type  opaque tag, kept and passed on to images derived from this one
  /// @return the block, or null with the reason in `GetLastError()`: a size of 0, a size beyond
  ///         32-bit arithmetic, or no memory
  void* Create(std::uint32_t width, std::uint32_t height, std::uint32_t bpp, std::uint32_t type);

  /// Makes an image from rows of pixels, with a grey palette below 24 bits. Rows shorter than the
  /// image's padded rows are filled up with 0, longer ones cut.
  /// @param array         height rows, `bytesPerLine` bytes apart, not this image's own; not kept
  /// @param bpp           1, 4, 8, 24 or 32 (32 drops each fourth byte and makes 24)
  /// @param flip          first source row becomes the last row
  /// @return false for a null array, another depth or a failed `Create`
  bool CreateFromArray(const std::uint8_t* array, std::uint32_t width, std::uint32_t height,
                       std::uint32_t bpp, std::uint32_t bytesPerLine, bool flip);

  /// Releases the block; header and info record stay as they are. Always true.
  bool Destroy();

  bool IsValid() const { return dib_ != nullptr; }

  /// Takes over the whole info record of `src` (type, last error, colour cache), but only while
  /// this image has no block.
  void CopyInfo(const PaletteImage& src);

  /// Moves `from` into this image, whose own block is released; `from` is empty afterwards.
  /// @param transferFrame  has no effect
  bool Transfer(PaletteImage& from, bool transferFrame);

  /// Text of the last failure, empty before the first.
  const char* GetLastError() const { return info_.lastError; }

  std::uint32_t GetWidth() const { return static_cast<std::uint32_t>(header_.width); }
  std::uint32_t GetHeight() const { return static_cast<std::uint32_t>(header_.height); }
  /// Bytes from one row to the next, a multiple of 4.
  std::uint32_t GetEffWidth() const { return info_.effWidth; }
  /// Palette entries: 2, 16, 256, or 0 for a 24-bit image, which has no palette.
  std::uint32_t GetNumColors() const { return header_.colorsUsed; }
  /// Bytes of the whole block.
  std::uint32_t GetSize() const { return header_.size + header_.imageSize + GetPaletteSize(); }
  std::uint16_t GetBitsPerPixel() const { return header_.bitCount; }
  std::uint32_t GetType() const { return info_.imageType; }

  /// First byte of a row, valid while the block lives; null without a block or beyond the last row.
  std::uint8_t* GetBits(std::uint32_t row = 0);
  const std::uint8_t* GetBits(std::uint32_t row = 0) const;

  // --- Palette (palette.cpp) ---

  /// First palette entry, or null without a block or palette.
  tagRGBQUAD* GetPalette();
  const tagRGBQUAD* GetPalette() const;
  /// Bytes of the palette.
  std::uint32_t GetPaletteSize() const { return header_.colorsUsed * 4; }
  /// Copies as many of `count` colours as the palette holds; a null pointer changes nothing.
  void SetPalette(const tagRGBQUAD* colors, std::uint32_t count);
  /// The stored entry; all zero for an index beyond the palette.
  tagRGBQUAD GetPaletteColor(std::uint8_t index) const;
  void SetPaletteColor(std::uint8_t index, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
                       std::uint8_t alpha);
  /// An even ramp from black to white: 0, 17, 34, ... 255 for 16 entries.
  void SetGrayPalette();
  /// Index of the entry nearest to a colour by squared distance; of equal ones the lowest. The last
  /// answer is remembered and deliberately not forgotten when the palette changes.
  std::uint8_t GetNearestIndex(tagRGBQUAD color);

  // --- Pixels (pixels.cpp); x counts to the right, y downward in storage order ---

  /// Pixel index; outside the image deliberately the first byte of row 0 as a whole. 0 without
  /// block or palette.
  std::uint8_t GetPixelIndex(std::int64_t x, std::int64_t y) const;
  /// Sets a pixel index, of which only the bits that fit the depth are kept. Outside the image, or
  /// without block or palette, nothing happens.
  void SetPixelIndex(std::int64_t x, std::int64_t y, std::uint8_t index);
  /// The same without any check: the caller vouches for block and coordinates. 24-bit images read
  /// as 0 and are not written.
  std::uint8_t BlindGetPixelIndex(std::int64_t x, std::int64_t y) const;
  void BlindSetPixelIndex(std::int64_t x, std::int64_t y, std::uint8_t index);
  /// The pixel's colour (reserved 0 on 24-bit images). `getAlpha` and `setAlpha` have no effect.
  tagRGBQUAD BlindGetPixelColor(std::int64_t x, std::int64_t y, bool getAlpha) const;
  /// Stores a colour, on a palette image the index of the nearest entry.
  void BlindSetPixelColor(std::int64_t x, std::int64_t y, tagRGBQUAD color, bool setAlpha);

  // --- Dithering (dither.cpp) ---

  /// Turns the image into two levels, index 0 black and 1 white, one bit per pixel. Every method
  /// goes through the rows from the first to the last, left to right in each; a pixel's index is
  /// its brightness.
  /// @param method  0 threshold (white from 129), 1 ordered 4x4 matrix of 17 levels, 2 Burkes,
  ///                3 Stucki, 4 Jarvis-Judice-Ninke, 5 Sierra, 6 Stevenson-Arce, 7 ordered
  ///                generated 4x4 matrix, any other number Floyd-Steinberg
  /// @return false without a block or memory; true without a change for a 1-bit image
  bool Dither(std::int64_t method);
  /// `Dither` and then `IncreaseBpp(8)`: a byte of 0 or 1 for each dot. An 8-bit image keeps its
  /// block, so that a page needs no memory besides its bits.
  bool DitherToBytes(std::int64_t method);

  // --- Tone (tone.cpp) ---

  /// Complements every byte of the pixel rows, padding included; the palette stays.
  void Negative();
  /// Brightness and contrast on the indices: v = (i - 128) * (contrast + 100) / 100 + brightness
  /// + 128, rounded and clamped to 0..255. (0, 0) changes nothing; (500, 0) sends all to 255.
  bool Light(int brightness, int contrast);
  /// Replaces each pixel index by its entry in a table of 256; false for a null table.
  bool Lut(const std::uint8_t* table);
  /// Raises the depth to 4, 8 or 24 bits; indices and colours stay. False for another depth, a
  /// lower one, or no memory.
  bool IncreaseBpp(unsigned int bitsPerPixel);

  // --- Geometry (geometry.cpp) ---

  /// Turns the image by 180 degrees into an 8-bit image, deliberately whatever its depth.
  /// @param destination  receives the result; null: the image itself
  bool Rotate180(PaletteImage* destination);
  /// Reverses each row byte by byte into an 8-bit image; meant for 8-bit images only (1 2 3 becomes
  /// 3 2 1).
  void Mirror();
  /// Enlarges the canvas. The old content keeps its size and lands `left` columns in and `bottom`
  /// rows down in storage order; `top` adds rows behind it.
  /// @return false and no change for a negative margin or a canvas that cannot be made
  bool Expand(std::int64_t left, std::int64_t top, std::int64_t right, std::int64_t bottom,
              tagRGBQUAD canvasColor);

 private:
  /// Header of a device-independent bitmap, fields in format order.
  struct Header {
    std::uint32_t size = 0;  ///< 40 after `Create`
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::uint16_t planes = 0;
    std::uint16_t bitCount = 0;
    std::uint32_t compression = 0;
    std::uint32_t imageSize = 0;  ///< bytes of the pixel rows
    std::int32_t xPelsPerMeter = 0;
    std::int32_t yPelsPerMeter = 0;
    std::uint32_t colorsUsed = 0;  ///< palette entries; 0: no palette
    std::uint32_t colorsImportant = 0;
  };
  static_assert(sizeof(Header) == 40, "the block starts with a bitmap header of 40 bytes");

  struct Info {
    std::uint32_t effWidth = 0;
    std::uint8_t* pixels = nullptr;  ///< row 0 inside the block, not owned
    std::uint32_t imageType = 0;
    char lastError[256] = {};
    tagRGBQUAD lastColor = {};
    std::uint8_t lastColorIndex = 0;
    bool lastColorValid = false;
  };

  void setLastError(const char* text);
  bool isInside(std::int64_t x, std::int64_t y) const;
  /// Replaces the levels of an 8-bit image by dots, 0 and 1, and its padding by 0.
  void turnIntoDots(std::uint64_t method);
  /// Makes `derived` an image of this one's type and information, with another size or depth.
  void createDerived(PaletteImage& derived, std::uint32_t width, std::uint32_t height,
                     std::uint32_t bpp) const;

  Header header_;
  Info info_;
  std::uint8_t* dib_ = nullptr;  ///< the block, owned; see the class comment on its release
};

}  // namespace kestra
