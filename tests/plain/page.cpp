// The simple operations on a page of grey numbers.
// Why: each is one line of arithmetic per pixel, so that a reader can check it without tools.
#include "tests/plain/page.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace kestra::plain {

namespace {

std::size_t size(int n) { return static_cast<std::size_t>(std::max(n, 0)); }

}  // namespace

int toInt32(double value) {
  const double cut = std::trunc(value);
  if (!(cut >= -2147483648.0 && cut <= 2147483647.0)) return std::numeric_limits<int>::min();
  return static_cast<int>(cut);
}

int paddedWidth(int width) { return (width + 3) / 4 * 4; }

Rows rowsFromBytes(const std::vector<std::uint8_t>& bytes, int width, int height,
                   int bytesPerLine) {
  Rows rows(size(height), std::vector<int>(size(width), 0));
  for (std::size_t y = 0; y < rows.size(); ++y) {
    for (std::size_t x = 0; x < rows[y].size(); ++x) {
      const std::size_t at = y * size(bytesPerLine) + x;
      if (at < bytes.size()) rows[y][x] = bytes[at];
    }
  }
  return rows;
}

std::vector<int> toneTable(int brightness, int contrast) {
  // Single precision throughout: the rounding of the factor decides some levels.
  const float factor = static_cast<float>(contrast + 100) / 100.0F;
  const float offset = static_cast<float>(brightness + 128);
  std::vector<int> table;
  for (int i = 0; i < 256; ++i) {
    const float scaled = static_cast<float>(i - 128) * factor;
    const float level = scaled + offset + 0.5F;
    table.push_back(std::clamp(toInt32(static_cast<double>(level)), 0, 255));
  }
  return table;
}

Rows applyTone(const Rows& page, int brightness, int contrast) {
  const std::vector<int> table = toneTable(brightness, contrast);
  Rows result = page;
  for (auto& row : result) {
    for (int& pixel : row) pixel = table[size(pixel)];
  }
  return result;
}

Rows rotate180(const Rows& page) {
  Rows result(page.rbegin(), page.rend());
  return mirror(result);
}

Rows mirror(const Rows& page) {
  Rows result;
  for (const auto& row : page) result.emplace_back(row.rbegin(), row.rend());
  return result;
}

Rows pad(const Rows& page) {
  Rows result = page;
  for (auto& row : result) row.resize(size(paddedWidth(static_cast<int>(row.size()))), 0);
  return result;
}

Rows negative(const Rows& padded) {
  Rows result = padded;
  for (auto& row : result) {
    for (int& pixel : row) pixel = 255 - pixel;
  }
  return result;
}

std::vector<std::uint8_t> flatten(const Rows& rows) {
  std::vector<std::uint8_t> bytes;
  for (const auto& row : rows) {
    for (const int pixel : row) bytes.push_back(static_cast<std::uint8_t>(pixel));
  }
  return bytes;
}

}  // namespace kestra::plain
