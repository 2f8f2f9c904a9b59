// Draws the measured pages row by row; each kind is a function of the position and a fixed hash.
#include "bench/pages.h"

#include <algorithm>

namespace kestra::bench {
namespace {

// An even-handed scramble of a position: the same 32 bits for the same place, on every machine.
std::uint32_t hash(std::size_t x, std::size_t y, std::uint32_t seed) {
  auto h =
      static_cast<std::uint32_t>(x) * 0x9E3779B1U ^ static_cast<std::uint32_t>(y) * 0x85EBCA77U;
  h ^= seed * 0xC2B2AE3DU;
  h ^= h >> 15U;
  h *= 0x2C1B3C6DU;
  h ^= h >> 12U;
  h *= 0x297A2D39U;
  return h ^ (h >> 15U);
}

// Smooth shades of 0 to 255: random levels on a grid, `cell` dots apart, joined by straight ramps.
std::uint32_t shade(std::size_t x, std::size_t y, std::size_t cell, std::uint32_t seed) {
  const std::size_t column = x / cell;
  const std::size_t row = y / cell;
  const std::size_t fx = x % cell;
  const std::size_t fy = y % cell;
  const auto corner = [&](std::size_t dx, std::size_t dy) {
    return hash(column + dx, row + dy, seed) >> 24U;
  };
  const std::size_t top = corner(0, 0) * (cell - fx) + corner(1, 0) * fx;
  const std::size_t bottom = corner(0, 1) * (cell - fx) + corner(1, 1) * fx;
  return static_cast<std::uint32_t>((top * (cell - fy) + bottom * fy) / (cell * cell));
}

// Large soft shapes, smaller ones on them, and the grain of a sensor.
std::uint8_t photo(std::size_t x, std::size_t y) {
  const std::uint32_t shapes =
      5 * shade(x, y, 512, 1) + 2 * shade(x, y, 96, 2) + shade(x, y, 16, 3);
  const int grain = static_cast<int>(hash(x, y, 4) >> 28U) - 8;
  return static_cast<std::uint8_t>(std::clamp(static_cast<int>(shapes / 8) + grain, 0, 255));
}

// Lines of letters of 10 points at 300 dpi: 5 x 7 blocks of 5 dots each, soft at their edges, every
// sixth letter a blank, margins of 150 dots at the sides.
std::uint8_t text(std::size_t x, std::size_t y, std::size_t width) {
  constexpr std::size_t kBlock = 5;
  constexpr std::size_t kMargin = 150;
  const std::size_t column = x / kBlock;
  const std::size_t line = y / kBlock;
  const bool isMargin = width > 4 * kMargin && (x < kMargin || x >= width - kMargin);
  if (isMargin || line % 12 >= 7 || column % 6 >= 5) return 0;
  const std::size_t letter = column / 6;
  if (hash(letter, line / 12, 5) % 6 == 0) return 0;
  const std::uint32_t glyph = hash(letter, line / 12, 6) % 26;
  if (hash(column % 6, line % 12, 7 + glyph) % 5 >= 2) return 0;
  return x % kBlock == 0 ? 160 : 255;
}

// Strokes of 6 dots along a net of diagonals and waves on blank paper, as stencils are drawn.
std::uint8_t lineArt(std::size_t x, std::size_t y) {
  constexpr std::size_t kStroke = 6;
  const std::size_t wave = y % 800 < 400 ? y % 400 : 400 - y % 400;
  const bool onWave = (x + wave / 2) % 310 < kStroke;
  const bool onDiagonal = (x + y) % 470 < kStroke;
  return onWave || onDiagonal ? 255 : 0;
}

// A mark of 60 x 60 dots with a grey seam here and there on blank paper: 2 per cent of the page.
std::uint8_t mostlyBlank(std::size_t x, std::size_t y) {
  constexpr std::size_t kCell = 200;
  constexpr std::size_t kMark = 60;
  if (x % kCell >= kMark || y % kCell >= kMark) return 0;
  if (hash(x / kCell, y / kCell, 40) % 4 != 0) return 0;
  return x % kCell == 0 || y % kCell == 0 ? 90 : 255;
}

std::uint8_t pixel(std::string_view kind, std::size_t x, std::size_t y, std::size_t width) {
  if (kind == "photo") return photo(x, y);
  if (kind == "text") return text(x, y, width);
  if (kind == "lineart") return lineArt(x, y);
  if (kind == "noise") return static_cast<std::uint8_t>(hash(x, y, 41) >> 24U);
  if (kind == "blank") return mostlyBlank(x, y);
  if (kind == "ink") return static_cast<std::uint8_t>(255 - mostlyBlank(x, y));
  return 100;  // flat: a light grey, a level at which every halftone has something to do
}

}  // namespace

const std::vector<std::string>& pageKinds() {
  static const std::vector<std::string> kinds = {"photo", "text",  "lineart", "noise",
                                                 "flat",  "blank", "ink"};
  return kinds;
}

std::vector<std::uint8_t> makePage(std::string_view kind, std::size_t width, std::size_t height) {
  const auto& kinds = pageKinds();
  if (std::find(kinds.begin(), kinds.end(), kind) == kinds.end()) return {};
  std::vector<std::uint8_t> page;
  page.reserve(width * height);
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) page.push_back(pixel(kind, x, y, width));
  }
  return page;
}

}  // namespace kestra::bench
