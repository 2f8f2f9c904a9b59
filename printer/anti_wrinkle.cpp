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

struct Point {
  int x;
  int y;
};

// Fills a bar row by row. Only what lies inside the image is visited; what is told is where the
// whole bar would have been left: one past its last column and row, at its start where it has none.
// Without rows no column is gone through either.
Point drawBar(PaletteImage& image, const Bar& bar) {
  const int endX = wrapped(std::int64_t{bar.x} + bar.width);
  const int endY = wrapped(std::int64_t{bar.y} + bar.height);
  const std::int64_t lastX = std::min(std::int64_t{image.GetWidth()}, std::int64_t{endX});
  const std::int64_t lastY = std::min(std::int64_t{image.GetHeight()}, std::int64_t{endY});
  for (std::int64_t y = std::max(0, bar.y); y < lastY; ++y) {
    for (std::int64_t x = std::max(0, bar.x); x < lastX; ++x) {
      image.SetPixelIndex(x, y, kFrameIndex);
    }
  }
  return {endY > bar.y ? std::max(bar.x, endX) : bar.x, std::max(bar.y, endY)};
}

// A canvas in dots with the width of its bars.
struct Frame {
  int width = 0;
  int height = 0;
  int lineV = 0;  // left and right bars
  int lineH = 0;  // top and bottom bars
};

// 0 x 0 for a page size without a canvas.
Frame frameOf(const char (&pageSizeName)[64], int level, int dotsPerInch) {
  Frame frame;
  frame.lineH = dots(1, dotsPerInch);
  frame.lineV = dots(level, dotsPerInch);
  wrenLogCommon(kLogDebug,
                "EnableAntiWrink: AntiWrinkle level: %d, line_v: %d points, line_h: %d points.",
                level, frame.lineV, frame.lineH);
  for (const Canvas& canvas : kCanvases) {
    if (std::strncmp(pageSizeName, canvas.pageSizeName, sizeof pageSizeName) != 0) continue;
    frame.width = wrapped(dots(canvas.widthMm, dotsPerInch) + 2 * std::int64_t{frame.lineV});
    frame.height = wrapped(dots(canvas.heightMm, dotsPerInch) + 2 * std::int64_t{frame.lineH});
    wrenLogCommon(kLogDebug, "EnableAntiWrink: Page size is %s, CanvasWidth: %d, CanvasHeight: %d",
                  canvas.pageSizeName, frame.width, frame.height);
  }
  return frame;
}

// Centres a smaller image on its canvas; false where there is no memory for that.
bool enlarge(PaletteImage& image, const Frame& frame) {
  const auto width = static_cast<int>(image.GetWidth());
  const auto height = static_cast<int>(image.GetHeight());
  int extraX = 0;
  int extraY = 0;
  if (width < frame.width) {
    extraX = (frame.width - width) / 2;
    wrenLogCommon(kLogDebug, "EnableAntiWrink: Image width is less than canvas width, exPoints: %d",
                  extraX);
  }
  if (height < frame.height) {
    extraY = (frame.height - height) / 2;
    wrenLogCommon(kLogDebug,
                  "EnableAntiWrink: Image height is less than canvas height, eyPoints: %d", extraY);
  }
  if (extraX == 0 && extraY == 0) return true;
  if (!image.Expand(extraX, extraY, extraX, extraY, kCanvasColor)) {
    wrenLogCommon(kLogDebug, "EnableAntiWrink: Failed to expand image, returning.");
    return false;
  }
  wrenLogCommon(kLogDebug, "EnableAntiWrink: Image expanded successfully.");
  return true;
}

// Draws the bars, centred on an image that is larger than its canvas.
void drawFrame(PaletteImage& image, const Frame& frame) {
  int x = 0;
  int y = 0;
  if (static_cast<int>(image.GetWidth()) > frame.width) {
    x = wrapped(std::int64_t{image.GetWidth()} - frame.width) / 2;
    wrenLogCommon(kLogDebug,
                  "EnableAntiWrink: Image width is greater than canvas width, offset.x: %d", x);
  }
  if (static_cast<int>(image.GetHeight()) > frame.height) {
    y = wrapped(std::int64_t{image.GetHeight()} - frame.height) / 2;
    wrenLogCommon(kLogDebug,
                  "EnableAntiWrink: Image height is greater than canvas height, offset.y: %d", y);
  }
  const auto draw = [&image](const char* side, const Bar& bar) {
    const Point end = drawBar(image, bar);
    wrenLogCommon(kLogDebug, "EnableAntiWrink: Drawing %s line. point(%d, %d, %d, %d)", side, bar.x,
                  bar.y, end.x, end.y);
  };
  draw("left", {x, y, frame.lineV, frame.height});
  draw("top", {x, y, frame.width, frame.lineH});
  draw("right",
       {wrapped(std::int64_t{x} + frame.width - frame.lineV), y, frame.lineV, frame.height});
  draw("bottom",
       {x, wrapped(std::int64_t{y} + frame.height - frame.lineH), frame.width, frame.lineH});
}

}  // namespace

void WrenPrinter::EnableAntiWrink(PaletteImage& image) {
  if (!image.IsValid() || pageHdr_ == nullptr) {
    wrenLogCommon(kLogDebug, "EnableAntiWrink: Image or pageHdr_ is not valid, returning.");
    return;
  }
  const Frame frame = frameOf(pageHdr_->cupsPageSizeName, antiWrinkle_, dotsPerInch_);
  if (enlarge(image, frame)) drawFrame(image, frame);
}

}  // namespace kestra
