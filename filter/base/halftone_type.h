// The halftone methods under the names that a person picks them by.
#pragma once

#include <cstdint>

namespace kestra {

/// Halftone method of a job; the value is the index of its name. The classic names are not the
/// methods that run: the value itself is the number of the method (see PaletteImage::Dither), so
/// "FloydSteinberg" deliberately prints the ordered matrix, "Ordered" the Burkes kernel, and so on.
enum class DitherType : std::int32_t {
  None = 0,
  FloydSteinberg = 1,
  Ordered = 2,
  Burkes = 3,
  Stucki = 4,
  JarvisJudiceNinke = 5,
  Sierra = 6,
  StevensonArce = 7,
  Tattoo = 8,
  Tattoo_V7 = 9,
};

/// Name of a halftone method, constant and never null; "None" for a value outside 0 to 9.
const char* wrenHalftoneTypeToStr(DitherType type);

/// Halftone method of a name, compared exactly (case counts); `DitherType::None` for any other
/// text.
DitherType wrenHalftoneTypeFromStr(const char* text);

}  // namespace kestra
