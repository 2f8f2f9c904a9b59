// What a page measures, and what the many names of page sizes measure.
//
// Other computers and phones name a size by its millimetres or inches; the printer description has
// a name of its own for it.
#pragma once

#include <optional>
#include <string>

namespace kestra {

/// Width and height in hundredths of a millimetre, the print system's own unit.
struct PageMeasure {
  int width = 0;
  int height = 0;
};

/// What a name says by itself: "100x50mm", "4x6.Borderless", "custom_60x40mm_60x40mm",
/// "Custom.70.07x40mm", "na_index-4x6_4x6in", "A4", "iso-a4".
/// @return nothing for a name without a measure, or a measure of nothing
[[nodiscard]] std::optional<PageMeasure> measureOfName(const std::string& name);

/// Whether both sides agree within so many hundredths of a millimetre.
[[nodiscard]] bool isNear(const PageMeasure& one, const PageMeasure& other, int tolerance);

/// "100 x 50 mm", with the decimals that count.
[[nodiscard]] std::string measureWords(const PageMeasure& measure);

/// "Custom.70.07x40mm", the way that a custom size is asked for.
[[nodiscard]] std::string customSize(const PageMeasure& measure);

}  // namespace kestra
