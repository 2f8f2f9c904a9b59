// Draws the pages with integer arithmetic only.
// Why: the same pages on every machine, so that a difference can only come from the filter.
#include "tests/stencil/pictures.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "tests/support/fixed_random.h"

namespace kestra {

namespace {

template <typename Rule>
plain::Rows draw(int width, int height, Rule rule) {
  plain::Rows rows;
  for (int y = 0; y < height; ++y) {
    rows.emplace_back();
    for (int x = 0; x < width; ++x) rows.back().push_back(rule(x, y));
  }
  return rows;
}

}  // namespace

plain::Rows uniformPage(int width, int height, int level) {
  return draw(width, height, [=](int, int) { return level; });
}

plain::Rows textPage(int width, int height) {
  return draw(width, height, [](int x, int y) {
    const bool insideLine = y % 9 < 6;
    const bool gap = x % 29 > 23;
    const bool stroke = (x * 7 + (y / 9) * 13) % 11 < 4 || (y % 9 == 2 && x % 5 != 0);
    return insideLine && !gap && stroke ? 255 : 0;
  });
}

plain::Rows lineArtPage(int width, int height) {
  return draw(width, height, [=](int x, int y) {
    const int dx = 2 * x - width;
    const int dy = 2 * y - height;
    const int ring = (dx * dx + dy * dy) / std::max(4, (width + height) / 2);
    const bool circle = ring % 17 < 3;
    const bool line = (3 * x + 2 * y) % 23 < 2;
    return circle || line ? 255 : 0;
  });
}

plain::Rows photoPage(int width, int height) {
  testing_support::FixedRandom random(static_cast<std::uint32_t>(width * 131 + height));
  return draw(width, height, [&](int x, int y) {
    const int slope = 160 * (x + 2 * y) / (width + 2 * height);
    const int dx = 2 * x - width;
    const int dy = 2 * y - height;
    const int spot = std::max(0, 55 - (dx * dx + dy * dy) * 55 / (width * width + 1));
    const int grain = static_cast<int>(random.below(9)) - 4;
    return std::clamp(24 + slope + spot + grain, 20, 235);
  });
}

plain::Rows noisePage(int width, int height, unsigned seed) {
  testing_support::FixedRandom random(seed);
  return draw(width, height, [&](int, int) { return static_cast<int>(random.byte()); });
}

plain::Rows singlePixelPage(int width, int height, int paper, int pixel) {
  plain::Rows rows = uniformPage(width, height, paper);
  rows[static_cast<std::size_t>(height / 2)][static_cast<std::size_t>(width / 2)] = pixel;
  return rows;
}

plain::Rows nearlyUniformPage(int width, int height, int level) {
  testing_support::FixedRandom random(static_cast<std::uint32_t>(level + width));
  return draw(width, height, [&](int, int) {
    return std::clamp(level - 1 + static_cast<int>(random.below(3)), 0, 255);
  });
}

namespace {

void addAllKinds(std::vector<NamedPicture>& pictures, int width, int height) {
  const std::string size = ", " + std::to_string(width) + " x " + std::to_string(height);
  const auto add = [&](const std::string& name, plain::Rows rows) {
    pictures.push_back({name + size, std::move(rows)});
  };
  add("text", textPage(width, height));
  add("white text", plain::negative(textPage(width, height)));
  add("line art", lineArtPage(width, height));
  add("white lines", plain::negative(lineArtPage(width, height)));
  add("photo", photoPage(width, height));
  add("noise", noisePage(width, height, 7));
  add("noise of other seed", noisePage(width, height, 4711));
  for (const int level : {0, 1, 64, 127, 128, 254, 255}) {
    add("uniform " + std::to_string(level), uniformPage(width, height, level));
  }
  add("dot of ink", singlePixelPage(width, height, 0, 255));
  add("dot of paper", singlePixelPage(width, height, 255, 0));
  add("faint dot", singlePixelPage(width, height, 0, 1));
  add("one darker", singlePixelPage(width, height, 128, 127));
  add("one lighter", singlePixelPage(width, height, 200, 201));
  for (const int level : {1, 90, 180, 254}) {
    add("nearly uniform " + std::to_string(level), nearlyUniformPage(width, height, level));
  }
}

}  // namespace

std::vector<NamedPicture> allPictures() {
  std::vector<NamedPicture> pictures;
  for (const auto& [width, height] : allSizes()) addAllKinds(pictures, width, height);
  return pictures;
}

std::vector<std::pair<int, int>> allSizes() {
  std::vector<std::pair<int, int>> sizes;
  for (const int n : {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33, 101}) sizes.emplace_back(n, n);
  const std::pair<int, int> mixtures[] = {
      {1, 2},  {2, 1},  {1, 101}, {101, 1}, {2, 33}, {33, 2},  {3, 2},   {2, 3},    {3, 31},
      {31, 3}, {7, 16}, {16, 9},  {9, 15},  {8, 33}, {33, 17}, {17, 31}, {101, 15}, {5, 101}};
  sizes.insert(sizes.end(), std::begin(mixtures), std::end(mixtures));
  return sizes;
}

}  // namespace kestra
