// Compressed rows of a raster stream: walked through as they are, or fitted without unpacking them.
//
// A row is a row count less one, then pieces: 0 to 127 and a byte stand for that many dots and one
// more; 129 to 255 are followed by 257 less that many different dots; 128 is paper up to the end.
#pragma once

#include <cstdint>
#include <vector>

#include "tools/fit/relay.h"
#include "tools/fit/row_fit.h"

namespace kestra {

/// Hands on one compressed row of `width` dots as it is.
/// @param rows  set to how many rows of the page it stands for
/// @return false where the input ends before the row does
[[nodiscard]] bool passPackedRow(Relay* relay, std::uint32_t width, std::uint32_t* rows);

/// Reads one compressed row of `bytesPerLine` bytes and appends its fitted form to `packed`. The
/// row is not complete in it where the input ends before.
/// @param rows  as above
[[nodiscard]] bool takePackedRow(Relay* relay, std::uint32_t bytesPerLine, const RowFit& fit,
                                 std::uint8_t paper, std::vector<std::uint8_t>* packed,
                                 std::uint32_t* rows);

}  // namespace kestra
