// Puts tone, turning, halftone, negative and frame together for one page.
// Why: the result buffer doubles as the stencil chain's input, with lines that may be longer than
// the page is wide; here each byte of it is written by name.
#include "tests/plain_stencil/processing.h"

#include <cstddef>

#include "tests/plain/halftone.h"
#include "tests/plain_stencil/chain.h"

namespace kestra::plain_stencil {

namespace {

std::string Line(const std::string& text) { return "DEBUG:PageProcess: " + text + "\n"; }

}  // namespace

Processed Process(const Choices& choices, const std::vector<std::uint8_t>& data, int bytesPerLine,
                  int width, int height) {
  Processed result;
  const auto lineBytes = static_cast<std::size_t>(bytesPerLine);
  result.buffer.assign(2 * lineBytes * static_cast<std::size_t>(height), 0);

  const bool stencil = choices.halftone == 8 || choices.halftone == 9;
  result.log += Line(std::string("QM dithering is ") + (stencil ? "enabled" : "disabled"));
  if (width == 0 || height == 0) {
    result.log += "CRIT:paletteimage.CreateFromArray with grey failed!\n";
    return result;
  }
  Rows page = plain::RowsFromBytes(data, width, height, bytesPerLine);
  result.log += Line("Successfully created PaletteImage from array with stride " +
                     std::to_string(bytesPerLine));
  if (choices.brightness != 0 || choices.contrast != 0) {
    const int brightness = choices.brightness * 5;
    const int contrast = choices.contrast * 2;
    page = plain::ApplyTone(page, brightness, contrast);
    result.log += Line("Adjusted brightness to " + std::to_string(brightness) +
                       " and contrast to " + std::to_string(contrast));
  }
  if (choices.rotate) {
    page = plain::Rotate180(page);
    result.log += Line("Rotated the image 180 degrees");
  }
  if (choices.mirror) {
    page = plain::Mirror(page);
    result.log += Line("Mirrored the image");
  }

  const int paddedWidth = plain::PaddedWidth(width);
  int canvasIndex = 255;
  if (stencil) {
    for (std::size_t y = 0; y < page.size(); ++y) {
      for (std::size_t x = 0; x < page[y].size(); ++x) {
        result.buffer[y * lineBytes + x] = static_cast<std::uint8_t>(page[y][x]);
      }
    }
    result.log += Line("Copied pixels to the output buffer for QM dithering, with stride " +
                       std::to_string(bytesPerLine) + ", EffWidth " + std::to_string(paddedWidth));
    // Read as if lines were as long as the page is wide: longer lines come out skewed.
    const Rows contiguous = plain::RowsFromBytes(result.buffer, width, height, width);
    page = choices.halftone == 9 ? TattooV7(contiguous) : Tattoo(contiguous);
    result.log += Line("Applied QM dithering with stride " + std::to_string(paddedWidth) +
                       ", width " + std::to_string(width));
    result.log += Line("Successfully created a new PaletteImage from QM dithered data");
  } else {
    page = plain::Halftone(page, choices.halftone);
    // Of the two colours of a classic halftone, index 1 is white.
    canvasIndex = 1;
    result.log += Line("Applied default dithering and increased bit depth");
  }
  result.image.width = width;
  result.image.rows = plain::Pad(page);

  result.log += Line("negativePrint_ " + std::to_string(choices.negative ? 1 : 0));
  if (choices.negative) {
    result.log += Line("Inverting the image for negative print");
    result.image.rows = plain::Negative(result.image.rows);
  }
  if (choices.antiWrinkle != 0) {
    const Framing framing{choices.antiWrinkle, choices.dpi, choices.pageName, choices.hasHeader,
                          canvasIndex};
    const Framed framed = Frame(result.image, framing);
    result.image = framed.picture;
    result.log += framed.log;
  }

  // The frame may have made the image larger than the buffer is: what does not fit is left out.
  const auto stride = static_cast<std::size_t>(plain::PaddedWidth(result.image.width));
  for (std::size_t y = 0; y < result.image.rows.size(); ++y) {
    for (std::size_t x = 0; x < static_cast<std::size_t>(result.image.width); ++x) {
      int value = result.image.rows[y][x];
      if (value == 1) value = 255;
      if (choices.negative) value = 255 - value;
      const std::size_t at = y * stride + x;
      if (at < result.buffer.size()) result.buffer[at] = static_cast<std::uint8_t>(value);
    }
  }
  result.length = height * static_cast<int>(stride);
  result.log += Line("Filled the output buffer with processed pixels, length: " +
                     std::to_string(result.length));
  return result;
}

}  // namespace kestra::plain_stencil
