// Draws the test pictures with whole numbers only.
// Why: no rounding of the machine may change a page that two programs are compared on.
#include "tests/support/page_makers.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include "tests/support/fixed_random.h"

namespace kestra::testing_support {

namespace {

Pixels draw(unsigned bytesPerLine, unsigned height,
            const std::function<int(unsigned, unsigned)>& level) {
  Pixels page;
  page.reserve(static_cast<std::size_t>(bytesPerLine) * height);
  for (unsigned y = 0; y < height; ++y) {
    for (unsigned x = 0; x < bytesPerLine; ++x) {
      page.push_back(static_cast<std::uint8_t>(std::clamp(level(x, y), 0, 255)));
    }
  }
  return page;
}

}  // namespace

Pixels uniform(unsigned bytesPerLine, unsigned height, int level) {
  return draw(bytesPerLine, height, [level](unsigned, unsigned) { return level; });
}

Pixels gradient(unsigned bytesPerLine, unsigned height) {
  const unsigned steps = std::max(1U, bytesPerLine + height - 2);
  return draw(bytesPerLine, height,
              [steps](unsigned x, unsigned y) { return static_cast<int>((x + y) * 255 / steps); });
}

Pixels photo(unsigned bytesPerLine, unsigned height) {
  FixedRandom noise(7);
  return draw(bytesPerLine, height, [&noise](unsigned x, unsigned y) {
    const int across = static_cast<int>(x % 97) - 48;
    const int down = static_cast<int>(y % 61) - 30;
    return 255 - (across * across / 10 + down * down / 6) + static_cast<int>(noise.word() % 17) - 8;
  });
}

Pixels bars(unsigned bytesPerLine, unsigned height) {
  std::vector<bool> ink;
  FixedRandom widths(3);
  while (ink.size() < bytesPerLine)
    ink.insert(ink.end(), 2 + widths.word() % 5, ink.size() % 2 == 0);
  return draw(bytesPerLine, height,
              [&ink](unsigned x, unsigned y) { return y >= 3 && ink[x] ? 255 : 0; });
}

Pixels textLines(unsigned bytesPerLine, unsigned height) {
  return draw(bytesPerLine, height, [](unsigned x, unsigned y) {
    const bool line = y % 12 < 7;
    const bool letter = x % 7 < 5 && (x / 7) % 6 != 5;
    const bool stroke = (x * 3 + y * 5 + x / 7) % 4 < 2;
    return line && letter && stroke ? 255 : 0;
  });
}

Pixels noise(unsigned bytesPerLine, unsigned height, std::uint32_t seed) {
  FixedRandom noise(seed);
  return draw(bytesPerLine, height,
              [&noise](unsigned, unsigned) { return static_cast<int>(noise.word() & 255U); });
}

Pixels longRuns(unsigned bytesPerLine, unsigned height, std::uint32_t seed) {
  FixedRandom random(seed);
  Pixels page;
  for (unsigned y = 0; y < height; ++y) {
    // A third of the rows stay blank, the others get dots 300 to 400 pixels apart, here and there
    // a solid stretch.
    std::vector<std::uint8_t> row(bytesPerLine, 0);
    const bool blank = random.word() % 3 == 0;
    for (std::size_t x = random.word() % 40; !blank && x < row.size();
         x += 300 + random.word() % 100) {
      const std::size_t solid = random.word() % 4 == 0 ? 250 : 1;
      for (std::size_t i = x; i < std::min(row.size(), x + solid); ++i) row[i] = 255;
      x += solid - 1;
    }
    page.insert(page.end(), row.begin(), row.end());
  }
  return page;
}

Pixels makePicture(const std::string& kind, unsigned bytesPerLine, unsigned height) {
  if (kind == "gradient") return gradient(bytesPerLine, height);
  if (kind == "photo") return photo(bytesPerLine, height);
  if (kind == "bars") return bars(bytesPerLine, height);
  if (kind == "text") return textLines(bytesPerLine, height);
  if (kind == "noise") return noise(bytesPerLine, height, 1);
  if (kind == "runs") return longRuns(bytesPerLine, height, 5);
  if (kind == "blank") return uniform(bytesPerLine, height, 0);
  if (kind == "solid") return uniform(bytesPerLine, height, 255);
  throw std::invalid_argument("no picture called " + kind);
}

}  // namespace kestra::testing_support
