// The anti-wrinkle frame: solid bars around the page keep the media flat while it is printed.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "filter/base/log.h"
#include "printer/wren_printer.h"

namespace kestra {
namespace {

constexpr std::uint8_t kFrameIndex = 255;
// "White" to images; on paper the canvas around a smaller page prints solid as well.
constexpr tagRGBQUAD kCanvasColor = {255, 255, 255, 0};

// A page size with a canvas: what the printer can cover of it, in mm.
struct Canvas {
  const char* pageSizeName;
  int widthMm;
  int heightMm;
};

constexpr std::array<Canvas, 4> kCanvases = {
    {{"A4", 200, 275}, {"Letter", 210, 257}, {"Tattoo_A5", 200, 118}, {"Tattoo_A6", 100, 118}}};

// The level may be any int. Wrapping at 32 bits keeps absurd ones defined.
int wrapped(std::int64_t value) {
  return static_cast<int>(static_cast<std::uint32_t>(value & 0xFFFFFFFF));
}

// Dots of a length in mm, rounded: 1 mm is 12 dots at 300 dpi, 3 mm are 35.
int dots(int millimetres, int dotsPerInch) {
  const int hundredfold =
      wrapped(std::int64_t{wrapped(std::int64_t{millimetres} * 100)} * dotsPerInch);
  return (hundredfold / 254 + 5) / 10;
}

struct Bar {
  int x;
  int y;
  int width;
  int height;
};

// Only what lies inside the image is visited; the log names the whole bar.
void drawBar(PaletteImage& image, const Bar& bar) {
  const auto imageWidth = static_cast<std::int64_t>(image.GetWidth());
  const auto imageHeight = static_cast<std::int64_t>(image.GetHeight());
  const std::int64_t endX = std::min(imageWidth, std::int64_t{bar.x} + bar.width);
  const std::int64_t endY = std::min(imageHeight, std::int64_t{bar.y} + bar.height);
  for (std::int64_t y = std::max(0, bar.y); y < endY; ++y) {
    for (std::int64_t x = std::max(0, bar.x); x < endX; ++x) {
      image.SetPixelIndex(x, y, kFrameIndex);
    }
  }
}

}  // namespace

void WrenPrinter::EnableAntiWrink(PaletteImage& image) {
  if (!image.IsValid() || pageHdr_ == nullptr) {
    wrenLogCommon(kLogDebug, "EnableAntiWrink: Image or pageHdr_ is not valid, returning.");
    return;
  }
  const int lineH = dots(1, dotsPerInch_);
  const int lineV = dots(antiWrinkle_, dotsPerInch_);
  wrenLogCommon(kLogDebug,
                "EnableAntiWrink: AntiWrinkle level: %d, line_v: %d points, line_h: %d points.",
                antiWrinkle_, lineV, lineH);

  int canvasWidth = 0;
  int canvasHeight = 0;
  for (const Canvas& canvas : kCanvases) {
    if (std::strncmp(pageHdr_->cupsPageSizeName, canvas.pageSizeName,
                     sizeof pageHdr_->cupsPageSizeName) != 0) {
      continue;
    }
    canvasWidth = wrapped(dots(canvas.widthMm, dotsPerInch_) + 2 * std::int64_t{lineV});
    canvasHeight = wrapped(dots(canvas.heightMm, dotsPerInch_) + 2 * std::int64_t{lineH});
    wrenLogCommon(kLogDebug, "EnableAntiWrink: Page size is %s, CanvasWidth: %d, CanvasHeight: %d",
                  canvas.pageSizeName, canvasWidth, canvasHeight);
  }

  int extraX = 0;
  int extraY = 0;
  if (static_cast<int>(image.GetWidth()) < canvasWidth) {
    extraX = (canvasWidth - static_cast<int>(image.GetWidth())) / 2;
    wrenLogCommon(kLogDebug, "EnableAntiWrink: Image width is less than canvas width, exPoints: %d",
                  extraX);
  }
  if (static_cast<int>(image.GetHeight()) < canvasHeight) {
    extraY = (canvasHeight - static_cast<int>(image.GetHeight())) / 2;
    wrenLogCommon(kLogDebug,
                  "EnableAntiWrink: Image height is less than canvas height, eyPoints: %d", extraY);
  }
  if (extraX != 0 || extraY != 0) {
    if (!image.Expand(extraX, extraY, extraX, extraY, kCanvasColor)) {
      wrenLogCommon(kLogDebug, "EnableAntiWrink: Failed to expand image, returning.");
      return;
    }
    wrenLogCommon(kLogDebug, "EnableAntiWrink: Image expanded successfully.");
  }

  int offsetX = 0;
  int offsetY = 0;
  if (static_cast<int>(image.GetWidth()) > canvasWidth) {
    offsetX = wrapped(std::int64_t{image.GetWidth()} - canvasWidth) / 2;
    wrenLogCommon(kLogDebug,
                  "EnableAntiWrink: Image width is greater than canvas width, offset.x: %d",
                  offsetX);
  }
  if (static_cast<int>(image.GetHeight()) > canvasHeight) {
    offsetY = wrapped(std::int64_t{image.GetHeight()} - canvasHeight) / 2;
    wrenLogCommon(kLogDebug,
                  "EnableAntiWrink: Image height is greater than canvas height, offset.y: %d",
                  offsetY);
  }

  const auto draw = [&image](const char* side, const Bar& bar) {
    drawBar(image, bar);
    wrenLogCommon(kLogDebug, "EnableAntiWrink: Drawing %s line. point(%d, %d, %d, %d)", side, bar.x,
                  bar.y, wrapped(std::int64_t{bar.x} + bar.width),
                  wrapped(std::int64_t{bar.y} + bar.height));
  };
  draw("left", {offsetX, offsetY, lineV, canvasHeight});
  draw("top", {offsetX, offsetY, canvasWidth, lineH});
  draw("right",
       {wrapped(std::int64_t{offsetX} + canvasWidth - lineV), offsetY, lineV, canvasHeight});
  draw("bottom",
       {offsetX, wrapped(std::int64_t{offsetY} + canvasHeight - lineH), canvasWidth, lineH});
}

}  // namespace kestra
