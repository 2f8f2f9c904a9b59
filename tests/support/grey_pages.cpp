// Makes the pages, with chance from a generator of its own so that all machines get the same.
#include "tests/support/grey_pages.h"

#include "tests/support/fixed_random.h"

namespace kestra::testing_support {
namespace {

std::uint32_t levelAt(PageKind kind, std::size_t x, std::size_t y, FixedRandom& chance) {
  if (kind == PageKind::kRandom) return chance.below(256);
  if (kind == PageKind::kExtremes) return chance.below(2) * 255;
  if (kind == PageKind::kGradient) return static_cast<std::uint32_t>((x + 3 * y) % 256);
  if (kind == PageKind::kNearTies) return 126 + chance.below(6);
  constexpr std::uint32_t kFlatLevels[] = {0, 127, 128, 129, 255};
  return kFlatLevels[static_cast<std::size_t>(kind) - static_cast<std::size_t>(PageKind::kFlat0)];
}

}  // namespace

const char* nameOf(PageKind kind) {
  static constexpr const char* kNames[] = {"random",    "extremes", "gradient",
                                           "near ties", "flat 0",   "flat 127",
                                           "flat 128",  "flat 129", "flat 255"};
  return kNames[static_cast<std::size_t>(kind)];
}

std::vector<std::uint8_t> makeLevels(PageKind kind, std::size_t width, std::size_t height) {
  FixedRandom chance(static_cast<std::uint32_t>(width * 1009 + height));
  std::vector<std::uint8_t> levels;
  levels.reserve(width * height);
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      levels.push_back(static_cast<std::uint8_t>(levelAt(kind, x, y, chance)));
    }
  }
  return levels;
}

}  // namespace kestra::testing_support
