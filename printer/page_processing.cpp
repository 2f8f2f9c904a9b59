// Turns a grey page into the finished page image: tone, rotation, mirror, halftone, negative.
#include <algorithm>
#include <cstring>
#include <vector>

#include "filter/base/log.h"
#include "filter/base/page_size.h"
#include "imaging/tattoo/tattoo_dithering.h"
#include "printer/pixel_rows.h"
#include "printer/wren_printer.h"

namespace kestra {
namespace {

// Property steps of -100..100 as the image's tone operation takes them.
constexpr int kBrightnessScale = 5;
constexpr int kContrastScale = 2;

bool isTattooMethod(DitherType type) {
  return type == DitherType::Tattoo || type == DitherType::Tattoo_V7;
}

// The first width x height bytes of the page laid out with its own line length: mostly just the
// image's own bytes, else a copy in `room`.
const unsigned char* stencilPixels(PaletteImage& image, int bytesPerLine, int width, int height,
                                   std::vector<unsigned char>* room) {
  if (bytesPerLine == width && image.GetEffWidth() == static_cast<std::uint32_t>(width)) {
    return image.GetBits(0);
  }
  const auto columns = static_cast<std::size_t>(width);
  room->resize(columns * static_cast<std::size_t>(height));
  for (std::uint32_t y = 0; y < image.GetHeight(); ++y) {
    const std::size_t start = std::size_t{y} * static_cast<std::size_t>(bytesPerLine);
    if (start >= room->size()) break;
    std::memcpy(room->data() + start, image.GetBits(y), std::min(columns, room->size() - start));
  }
  return room->data();
}

}  // namespace

int WrenPrinter::PageProcess(DitherType type, const unsigned char* data, int bytesPerLine,
                             int width, int height, unsigned char* out) {
  return process(
      type,
      {data, static_cast<unsigned long>(bytesPerLine), static_cast<unsigned long>(height),
       static_cast<unsigned long>(width), false, nullptr},
      out);
}

int WrenPrinter::process(DitherType type, const GreyRows& rows, unsigned char* out) {
  const auto bytesPerLine = static_cast<int>(rows.bytesPerLine);
  const auto width = static_cast<int>(rows.width);
  const auto height = static_cast<int>(rows.height);
  useQMDithering_ = isTattooMethod(halftoneType_);
  wrenLogCommon(kLogDebug, "PageProcess: QM dithering is %s",
                useQMDithering_ ? "enabled" : "disabled");

  if (rows.areInImage) {
    workingImage_.SetGrayPalette();
  } else if (!workingImage_.CreateFromArray(rows.pixels, static_cast<std::uint32_t>(width),
                                            static_cast<std::uint32_t>(height), 8,
                                            static_cast<std::uint32_t>(bytesPerLine), false)) {
    wrenLogCommon(kLogCritical, "paletteimage.CreateFromArray with grey failed!");
    return 0;
  }
  if (rows.memory != nullptr) rows.memory->reset();
  wrenLogCommon(kLogDebug,
                "PageProcess: Successfully created PaletteImage from array with stride %d",
                bytesPerLine);

  if (brightness_ != 0 || contrast_ != 0) {
    const int brightness = brightness_ * kBrightnessScale;
    const int contrast = contrast_ * kContrastScale;
    workingImage_.Light(brightness, contrast);
    wrenLogCommon(kLogDebug, "PageProcess: Adjusted brightness to %d and contrast to %d",
                  brightness, contrast);
  }
  if (rotate180Print_) {
    workingImage_.Rotate180(nullptr);
    wrenLogCommon(kLogDebug, "PageProcess: Rotated the image 180 degrees");
  }
  if (mirrorPrint_) {
    workingImage_.Mirror();
    wrenLogCommon(kLogDebug, "PageProcess: Mirrored the image");
  }

  if (useQMDithering_) {
    if (!ditherStencil(type, bytesPerLine, width, height, out)) return 0;
  } else {
    if (!workingImage_.DitherToBytes(static_cast<std::int32_t>(type))) {
      // Greys or packed bits would print as something else altogether.
      wrenLogCommon(kLogCritical, "PageProcess: the halftone failed: %s",
                    workingImage_.GetLastError());
      workingImage_.Destroy();
      return 0;
    }
    pimage_ = &workingImage_;
    wrenLogCommon(kLogDebug, "PageProcess: Applied default dithering and increased bit depth");
  }

  wrenLogCommon(kLogDebug, "PageProcess: negativePrint_ %d", negativePrint_ ? 1 : 0);
  if (negativePrint_) {
    wrenLogCommon(kLogDebug, "PageProcess: Inverting the image for negative print");
    pimage_->Negative();
  }
  if (antiWrinkle_ != 0) EnableAntiWrink(*pimage_);

  if (out != nullptr) {
    copyFinishedPixels(
        *pimage_, negativePrint_, out, static_cast<int>(pimage_->GetWidth()),
        static_cast<int>(pimage_->GetHeight()), static_cast<int>(pimage_->GetEffWidth()),
        2 * static_cast<std::size_t>(bytesPerLine) * static_cast<std::size_t>(height));
  }
  const int length = static_cast<int>(static_cast<std::uint32_t>(height) * pimage_->GetEffWidth());
  wrenLogCommon(kLogDebug,
                "PageProcess: Filled the output buffer with processed pixels, length: %d", length);
  return length;
}

// The stencil chain works on pixels without gaps. The page is laid out with its own line length, in
// `out` where there is one, and deliberately read as if lines were `width` long: where they are
// longer, lines drift apart and the gaps between them (zeros) become pixels.
bool WrenPrinter::ditherStencil(DitherType type, int bytesPerLine, int width, int height,
                                unsigned char* out) {
  if (out != nullptr) copyIndices(workingImage_, out, width, height, bytesPerLine);
  wrenLogCommon(kLogDebug,
                "PageProcess: Copied pixels to the output buffer for QM dithering, with stride %d, "
                "EffWidth %d",
                bytesPerLine, static_cast<int>(workingImage_.GetEffWidth()));

  std::vector<unsigned char> room;
  const unsigned char* pixels =
      out != nullptr ? out : stencilPixels(workingImage_, bytesPerLine, width, height, &room);
  if (!room.empty()) workingImage_.Destroy();  // nobody needs the page twice
  const bool made = secondImage_.Create(static_cast<std::uint32_t>(width),
                                        static_cast<std::uint32_t>(height), 8, 0) != nullptr;
  if (made) {
    secondImage_.SetGrayPalette();
    ditherStencilPage(type == DitherType::Tattoo_V7 ? StencilKind::kTattooV7 : StencilKind::kTattoo,
                      pixels, width, height, secondImage_.GetBits(0), secondImage_.GetEffWidth());
  }
  wrenLogCommon(kLogDebug, "PageProcess: Applied QM dithering with stride %d, width %d",
                static_cast<int>(paddedRowBytes(static_cast<std::uint32_t>(width))), width);
  if (!made) {
    wrenLogCommon(kLogError,
                  "PageProcess: Failed to create a new PaletteImage from QM dithered data");
    return false;
  }
  wrenLogCommon(kLogDebug,
                "PageProcess: Successfully created a new PaletteImage from QM dithered data");
  pimage_ = &secondImage_;
  return true;
}

}  // namespace kestra
