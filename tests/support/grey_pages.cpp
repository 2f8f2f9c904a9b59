// Makes the pages, with chance from a generator of its own so that all machines get the same.
#include "tests/support/grey_pages.h"

#include "tests/support/fixed_random.h"

namespace kestra::testing_support {
namespace {

std::uint32_t levelAt(PageKind kind, std::size_t x, std::size_t y, FixedRandom& chance) {
  switch (kind) {
    case PageKind::kRandom:
      return chance.below(256);
    case PageKind::kExtremes:
      return chance.below(2) * 255;
    case PageKind::kGradient:
      return static_cast<std::uint32_t>((x + 3 * y) % 256);
    case PageKind::kNearTies:
      return 126 + chance.below(6);
    case PageKind::kFlat0:
      return 0;
    case PageKind::kFlat127:
      return 127;
    case PageKind::kFlat128:
      return 128;
    case PageKind::kFlat129:
      return 129;
    case PageKind::kFlat255:
      return 255;
  }
  return 0;
}

}  // namespace

const char* nameOf(PageKind kind) {
  switch (kind) {
    case PageKind::kRandom:
      return "random";
    case PageKind::kExtremes:
      return "extremes";
    case PageKind::kGradient:
      return "gradient";
    case PageKind::kNearTies:
      return "near ties";
    case PageKind::kFlat0:
      return "flat 0";
    case PageKind::kFlat127:
      return "flat 127";
    case PageKind::kFlat128:
      return "flat 128";
    case PageKind::kFlat129:
      return "flat 129";
    case PageKind::kFlat255:
      return "flat 255";
  }
  return "?";
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
