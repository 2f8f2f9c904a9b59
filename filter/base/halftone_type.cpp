// The table of halftone names, the choice texts that printer descriptions offer.
#include "filter/base/halftone_type.h"

#include <cstddef>
#include <cstring>
#include <iterator>

namespace kestra {
namespace {

// "JarvisJudiceNinke" is spelled so in every printer description; it stays.
constexpr const char* sHalftoneTypeStrTable[] = {
    "None",   "FloydSteinberg", "Ordered", "Burkes",   "Stucki", "JarvisJudiceNinke",
    "Sierra", "StevensonArce",  "Tattoo",  "Tattoo_V7"};

constexpr auto kHalftoneTypes = static_cast<std::int32_t>(std::size(sHalftoneTypeStrTable));

}  // namespace

const char* wrenHalftoneTypeToStr(DitherType type) {
  const auto index = static_cast<std::int32_t>(type);
  if (index < 0 || index >= kHalftoneTypes) return sHalftoneTypeStrTable[0];
  return sHalftoneTypeStrTable[index];
}

DitherType wrenHalftoneTypeFromStr(const char* text) {
  for (std::int32_t index = 0; index < kHalftoneTypes; ++index) {
    if (std::strcmp(text, sHalftoneTypeStrTable[index]) == 0) return static_cast<DitherType>(index);
  }
  return DitherType::None;
}

}  // namespace kestra
