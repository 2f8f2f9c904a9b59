// How large the first page of a document is that is made of dots.
//
// Phones send such pages, and where they name no size the dots themselves tell it.
#pragma once

#include <optional>

#include "tools/size/page_measure.h"

namespace kestra {

/// Reads the head of a PWG or Apple raster stream.
/// @param input  stays open, and is read beyond the head
/// @return nothing where it is no such stream, or states no resolution
[[nodiscard]] std::optional<PageMeasure> measureOfFirstPage(int input);

}  // namespace kestra
