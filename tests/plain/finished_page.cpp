// Finishes a page with the halftone that the settings ask for.
// Why: only here the two families of halftones are told apart.
#include "tests/plain/finished_page.h"

#include <algorithm>
#include <cstddef>

#include "tests/plain/halftone.h"
#include "tests/plain/page_log.h"
#include "tests/plain_stencil/processing.h"

namespace kestra::plain {

namespace {

std::string line(const std::string& text) { return "DEBUG:PageProcess: " + text + "\n"; }

FinishedPage classic(const Settings& s, const Page& page, int width, int height, int brightness) {
  const int bytesPerLine = static_cast<int>(page.header.bytesPerLine);
  FinishedPage result;
  result.log = line("QM dithering is disabled");
  if (width == 0) {
    result.log += "CRIT:paletteimage.CreateFromArray with grey failed!\n";
    return result;
  }
  result.made = true;
  result.width = width;
  result.log +=
      line(format("Successfully created PaletteImage from array with stride %d", bytesPerLine));
  Rows grey = rowsFromBytes(page.pixels, width, height, bytesPerLine);
  if (brightness != 0) {
    grey = applyTone(grey, brightness * 5, 0);
    result.log += line(format("Adjusted brightness to %d and contrast to 0", brightness * 5));
  }
  if (s.mirrorImage != 0) {
    grey = mirror(grey);
    result.log += line("Mirrored the image");
  }
  result.rows = pad(halftone(grey, s.halftone));
  result.log += line("Applied default dithering and increased bit depth");
  result.log += line(format("negativePrint_ %d", s.negativeImage != 0 ? 1 : 0));
  if (s.negativeImage != 0) {
    result.rows = negative(result.rows);
    result.log += line("Inverting the image for negative print");
  }
  result.log += line(format("Filled the output buffer with processed pixels, length: %d",
                            height * paddedWidth(width)));
  return result;
}

}  // namespace

bool isStencil(const Settings& settings) {
  return settings.halftone == 8 || settings.halftone == 9;
}

FinishedPage finishPage(const Settings& s, const Page& page) {
  const int width = static_cast<int>(page.header.width);
  const int height = static_cast<int>(page.header.height);
  const int brightness = std::clamp(s.brightness, -100, 100);
  if (!isStencil(s)) return classic(s, page, width, height, brightness);

  plain_stencil::Choices choices;
  choices.halftone = s.halftone;
  choices.brightness = brightness;
  choices.mirror = s.mirrorImage != 0;
  choices.negative = s.negativeImage != 0;
  const plain_stencil::Processed processed = plain_stencil::process(
      choices, page.pixels, static_cast<int>(page.header.bytesPerLine), width, height);
  return {!processed.image.rows.empty(), processed.image.width, processed.image.rows,
          processed.log};
}

Rows packedInPlace(const Rows& padded, const std::vector<std::uint8_t>& dots) {
  Rows block = padded;
  const std::size_t stride = padded[0].size();
  for (std::size_t i = 0; i < dots.size(); ++i) block[i / stride][i % stride] = dots[i];
  return block;
}

}  // namespace kestra::plain
