// Draws the frame on a picture of numbers.
// Why: sizes, offsets and log lines stand side by side here and can be checked with a ruler.
#include "tests/plain_stencil/frame.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kestra::plain_stencil {

namespace {

std::string line(const std::string& text) { return "DEBUG:EnableAntiWrink: " + text + "\n"; }
std::string number(int n) { return std::to_string(n); }

// 32-bit sizes of an image must not wrap, or it cannot be made.
bool canBeMade(int width, int height) {
  const std::uint32_t pixels =
      static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(height);
  const std::uint32_t bits = pixels * 8U;
  return bits / 8U == pixels;
}

Picture enlarge(const Picture& old, int ex, int ey, int fill) {
  Picture result;
  result.width = old.width + 2 * ex;
  const auto height = old.rows.size() + 2 * static_cast<std::size_t>(ey);
  const auto bytes = static_cast<std::size_t>(plain::paddedWidth(result.width));
  // The row padding is filled as well.
  result.rows.assign(height, std::vector<int>(bytes, fill));
  for (std::size_t y = 0; y < old.rows.size(); ++y) {
    for (std::size_t x = 0; x < static_cast<std::size_t>(old.width); ++x) {
      result.rows[y + static_cast<std::size_t>(ey)][x + static_cast<std::size_t>(ex)] =
          old.rows[y][x];
    }
  }
  return result;
}

std::string bar(Picture& picture, const std::string& name, int x0, int y0, int width, int height) {
  // Without rows no column is gone through.
  const int x1 = x0 + (height > 0 ? std::max(width, 0) : 0);
  const int y1 = y0 + std::max(height, 0);
  const int rows = static_cast<int>(picture.rows.size());
  for (int y = std::max(y0, 0); y < std::min(y1, rows); ++y) {
    for (int x = std::max(x0, 0); x < std::min(x1, picture.width); ++x) {
      picture.rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = 255;
    }
  }
  return line("Drawing " + name + " line. point(" + number(x0) + ", " + number(y0) + ", " +
              number(x1) + ", " + number(y1) + ")");
}

}  // namespace

int dots(int dpi, int mm) { return (dpi * mm * 100 / 254 + 5) / 10; }

Framed frame(const Picture& picture, const Framing& framing) {
  Framed result{picture, ""};
  if (picture.rows.empty() || !framing.hasHeader) {
    result.log = line("Image or pageHdr_ is not valid, returning.");
    return result;
  }
  const int lineH = dots(framing.dpi, 1);
  const int lineV = dots(framing.dpi, framing.level);
  result.log += line("AntiWrinkle level: " + number(framing.level) + ", line_v: " + number(lineV) +
                     " points, line_h: " + number(lineH) + " points.");

  struct Page {
    const char* name;
    int width;
    int height;
  };
  constexpr Page kPages[] = {
      {"A4", 200, 275}, {"Letter", 210, 257}, {"Tattoo_A5", 200, 118}, {"Tattoo_A6", 100, 118}};
  int canvasWidth = 0;
  int canvasHeight = 0;
  for (const Page& page : kPages) {
    if (framing.pageName != page.name) continue;
    canvasWidth = dots(framing.dpi, page.width) + 2 * lineV;
    canvasHeight = dots(framing.dpi, page.height) + 2 * lineH;
    result.log +=
        line("Page size is " + framing.pageName + ", CanvasWidth: " + number(canvasWidth) +
             ", CanvasHeight: " + number(canvasHeight));
  }

  Picture& image = result.picture;
  const int oldHeight = static_cast<int>(image.rows.size());
  int ex = 0;
  int ey = 0;
  if (image.width < canvasWidth) {
    ex = (canvasWidth - image.width) / 2;
    result.log += line("Image width is less than canvas width, exPoints: " + number(ex));
  }
  if (oldHeight < canvasHeight) {
    ey = (canvasHeight - oldHeight) / 2;
    result.log += line("Image height is less than canvas height, eyPoints: " + number(ey));
  }
  if (ex != 0 || ey != 0) {
    if (!canBeMade(image.width + 2 * ex, oldHeight + 2 * ey)) {
      result.log += line("Failed to expand image, returning.");
      return result;
    }
    image = enlarge(image, ex, ey, framing.canvasIndex);
    result.log += line("Image expanded successfully.");
  }

  const int height = static_cast<int>(image.rows.size());
  int ox = 0;
  int oy = 0;
  if (image.width > canvasWidth) {
    ox = (image.width - canvasWidth) / 2;
    result.log += line("Image width is greater than canvas width, offset.x: " + number(ox));
  }
  if (height > canvasHeight) {
    oy = (height - canvasHeight) / 2;
    result.log += line("Image height is greater than canvas height, offset.y: " + number(oy));
  }
  result.log += bar(image, "left", ox, oy, lineV, canvasHeight);
  result.log += bar(image, "top", ox, oy, canvasWidth, lineH);
  result.log += bar(image, "right", ox + canvasWidth - lineV, oy, lineV, canvasHeight);
  result.log += bar(image, "bottom", ox, oy + canvasHeight - lineH, canvasWidth, lineH);
  return result;
}

}  // namespace kestra::plain_stencil
