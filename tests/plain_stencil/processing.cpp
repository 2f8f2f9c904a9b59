// Puts tone, turning, halftone, negative and frame together for one page.
// Why: the result buffer doubles as the stencil chain's input, with lines that may be longer than
// the page is wide; here each byte of it is written by name.
#include "tests/plain_stencil/processing.h"

#include <cstddef>

#include "tests/plain/halftone.h"
#include "tests/plain_stencil/chain.h"

namespace kestra::plain_stencil {

namespace {

std::string line(const std::string& text) { return "DEBUG:PageProcess: " + text + "\n"; }

}  // namespace

Processed process(const Choices& choices, const std::vector<std::uint8_t>& data, int bytesPerLine,
                  int width, int height) {
  Processed result;
  const auto lineBytes = static_cast<std::size_t>(bytesPerLine);
  result.buffer.assign(2 * lineBytes * static_cast<std::size_t>(height), 0);

  const bool stencil = choices.halftone == 8 || choices.halftone == 9;
  result.log += line(std::string("QM dithering is ") + (stencil ? "enabled" : "disabled"));
  if (width == 0 || height == 0) {
    result.log += "CRIT:paletteimage.CreateFromArray with grey failed!\n";
    return result;
  }
  Rows page = plain::rowsFromBytes(data, width, height, bytesPerLine);
  result.log += line("Successfully created PaletteImage from array with stride " +
                     std::to_string(bytesPerLine));
  if (choices.brightness != 0 || choices.contrast != 0) {
    const int brightness = choices.brightness * 5;
    const int contrast = choices.contrast * 2;
    page = plain::applyTone(page, brightness, contrast);
    result.log += line("Adjusted brightness to " + std::to_string(brightness) +
                       " and contrast to " + std::to_string(contrast));
  }
  if (choices.rotate) {
    page = plain::rotate180(page);
    result.log += line("Rotated the image 180 degrees");
  }
  if (choices.mirror) {
    page = plain::mirror(page);
    result.log += line("Mirrored the image");
  }

  const int paddedWidth = plain::paddedWidth(width);
  int canvasIndex = 255;
  if (stencil) {
    for (std::size_t y = 0; y < page.size(); ++y) {
      for (std::size_t x = 0; x < page[y].size(); ++x) {
        result.buffer[y * lineBytes + x] = static_cast<std::uint8_t>(page[y][x]);
      }
    }
    result.log += line("Copied pixels to the output buffer for QM dithering, with stride " +
                       std::to_string(bytesPerLine) + ", EffWidth " + std::to_string(paddedWidth));
    // Read as if lines were as long as the page is wide: longer lines come out skewed.
    const Rows contiguous = plain::rowsFromBytes(result.buffer, width, height, width);
    page = choices.halftone == 9 ? tattooV7(contiguous) : tattoo(contiguous);
    result.log += line("Applied QM dithering with stride " + std::to_string(paddedWidth) +
                       ", width " + std::to_string(width));
    result.log += line("Successfully created a new PaletteImage from QM dithered data");
  } else {
    page = plain::halftone(page, choices.halftone);
    // Of the two colours of a classic halftone, index 1 is white.
    canvasIndex = 1;
    result.log += line("Applied default dithering and increased bit depth");
  }
  result.image.width = width;
  result.image.rows = plain::pad(page);

  result.log += line("negativePrint_ " + std::to_string(choices.negative ? 1 : 0));
  if (choices.negative) {
    result.log += line("Inverting the image for negative print");
    result.image.rows = plain::negative(result.image.rows);
  }
  if (choices.antiWrinkle != 0) {
    const Framing framing{choices.antiWrinkle, choices.dpi, choices.pageName, choices.hasHeader,
                          canvasIndex};
    const Framed framed = frame(result.image, framing);
    result.image = framed.picture;
    result.log += framed.log;
  }

  // The frame may have made the image larger than the buffer is: what does not fit is left out.
  const auto stride = static_cast<std::size_t>(plain::paddedWidth(result.image.width));
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
  result.log += line("Filled the output buffer with processed pixels, length: " +
                     std::to_string(result.length));
  return result;
}

}  // namespace kestra::plain_stencil
