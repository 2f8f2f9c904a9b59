// Tells ink from paper, leaves out long thin lines, and sums what remains.
//
// A fold line runs across the page and through every rectangle that is tried; the border of a label
// is never longer than the label.
#include "tools/crop/page_ink.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <fstream>

namespace kestra::crop {
namespace {

constexpr int kPaper = 235;   // from this grey on a dot is paper: a hair line is paler than black
constexpr int kDashGap = 9;   // points between the dashes of one line, 3 mm
constexpr int kThickest = 3;  // points, 1 mm
constexpr std::int64_t kMostDots = 64'000'000;

/// The ink of a page, and the same page with rows and columns exchanged.
struct Ink {
  int width;
  int height;
  std::vector<bool> dots;
  [[nodiscard]] bool at(int x, int y) const {
    return x >= 0 && y >= 0 && x < width && y < height &&
           dots[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                static_cast<std::size_t>(x)];
  }
};

Ink exchanged(const Ink& ink) {
  Ink other = {ink.height, ink.width, {}};
  other.dots.reserve(ink.dots.size());
  for (int y = 0; y < other.height; ++y) {
    for (int x = 0; x < other.width; ++x) other.dots.push_back(ink.at(y, x));
  }
  return other;
}

/// Whether the ink at a dot is no thicker than a line, measured across the line's direction.
bool isThin(const Ink& ink, int x, int y) {
  int thick = 1;
  for (int up = y - 1; thick <= kThickest && ink.at(x, up); --up) ++thick;
  for (int down = y + 1; thick <= kThickest && ink.at(x, down); ++down) ++thick;
  return thick <= kThickest;
}

/// Marks the ink of level lines that are longer than `longest`, and what crosses them:
///   ink   ## ## ## ## ## ##  .....  ###       gaps of a dashed line are part of it
///   mark  xx xx xx xx xx xx           too short
void markLevelLines(const Ink& ink, int longest, std::vector<bool>& marks) {
  for (int y = 0; y < ink.height; ++y) {
    const std::size_t row = static_cast<std::size_t>(y) * static_cast<std::size_t>(ink.width);
    int first = -1;  // thin dots of the line under way
    int last = -1;
    for (int x = 0; x <= ink.width + kDashGap; ++x) {
      const bool thin = ink.at(x, y) && isThin(ink, x, y);
      if (first >= 0 && x - last > kDashGap) {
        for (int on = first; last - first >= longest && on <= last; ++on) {
          marks[row + static_cast<std::size_t>(on)] = true;
        }
        first = -1;
      }
      if (!thin) continue;
      if (first < 0) first = x;
      last = x;
    }
  }
}

}  // namespace

std::optional<GreyPage> readGreyPage(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string magic;
  file >> magic;
  std::array<std::int64_t, 3> numbers = {};  // width, height, white
  for (std::int64_t& number : numbers) {
    file >> std::ws;
    while (file.peek() == '#') {
      std::string comment;
      std::getline(file, comment);
      file >> std::ws;
    }
    file >> number;
  }
  file.get();
  const auto [width, height, white] = numbers;
  if (!file || magic != "P5" || white != 255 || width < 1 || height < 1 || width > kMostDots ||
      height > kMostDots / width) {
    return std::nullopt;
  }
  GreyPage page;
  page.width = static_cast<int>(width);
  page.height = static_cast<int>(height);
  page.grey.resize(static_cast<std::size_t>(width * height));
  file.read(reinterpret_cast<char*>(page.grey.data()),
            static_cast<std::streamsize>(page.grey.size()));
  if (!file) return std::nullopt;
  return page;
}

PageInk::PageInk(const GreyPage& page, int longest) : width_(page.width), height_(page.height) {
  Ink ink = {page.width, page.height, {}};
  ink.dots.reserve(page.grey.size());
  for (const std::uint8_t grey : page.grey) ink.dots.push_back(grey < kPaper);

  Ink level = {page.width, page.height, std::vector<bool>(ink.dots.size())};
  markLevelLines(ink, longest, level.dots);
  const Ink turned = exchanged(ink);
  Ink upright = {turned.width, turned.height, std::vector<bool>(ink.dots.size())};
  markLevelLines(turned, longest, upright.dots);

  const std::size_t row = static_cast<std::size_t>(width_) + 1;
  sums_.assign(row * (static_cast<std::size_t>(height_) + 1), 0);
  for (int y = 0; y < height_; ++y) {
    std::int32_t sum = 0;
    for (int x = 0; x < width_; ++x) {
      if (ink.at(x, y) && !level.at(x, y) && !upright.at(y, x)) ++sum;
      const std::size_t at =
          (static_cast<std::size_t>(y) + 1) * row + static_cast<std::size_t>(x) + 1;
      sums_[at] = sums_[at - row] + sum;
    }
  }
}

std::int64_t PageInk::count(Box box) const {
  const int left = std::clamp(box.left, 0, width_);
  const int right = std::clamp(box.right, left, std::max(left, width_));
  const int top = std::clamp(box.top, 0, height_);
  const int bottom = std::clamp(box.bottom, top, std::max(top, height_));
  const auto sum = [this](int x, int y) {
    return std::int64_t{sums_[static_cast<std::size_t>(y) * (static_cast<std::size_t>(width_) + 1) +
                              static_cast<std::size_t>(x)]};
  };
  return sum(right, bottom) - sum(left, bottom) - sum(right, top) + sum(left, top);
}

Box PageInk::around(Box box) const {
  if (count(box) == 0) return {};
  box = {std::max(box.left, 0), std::max(box.top, 0), std::min(box.right, width_),
         std::min(box.bottom, height_)};
  // Each edge moves inwards by halves, for as long as what it passes is empty. A strip is the part
  // between the edge, `step` dots further in, and the two other edges.
  using Edge = int Box::*;
  const auto narrow = [this, &box](Edge edge, Edge opposite) {
    const int inwards = box.*opposite > box.*edge ? 1 : -1;
    int step = 1;
    while (step < std::abs(box.*opposite - box.*edge)) step *= 2;
    for (; step > 0; step /= 2) {
      if (step >= std::abs(box.*opposite - box.*edge)) continue;
      Box strip = box;
      strip.*opposite = box.*edge + inwards * step;
      if (count(strip) == 0) box.*edge += inwards * step;
    }
  };
  narrow(&Box::left, &Box::right);
  narrow(&Box::top, &Box::bottom);
  narrow(&Box::right, &Box::left);
  narrow(&Box::bottom, &Box::top);
  return box;
}

}  // namespace kestra::crop
