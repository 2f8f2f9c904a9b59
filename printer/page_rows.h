// The grey pixels of a page on their way from whoever reads them into a page image.
#pragma once

#include <cstdint>

#include "filter/base/page_block.h"
#include "filter/base/page_size.h"

namespace kestra {

/// Rows lent by a printer: filled by whoever holds them, used up by printing. They are the rows of
/// the printer's own image, or where that has others, memory that they own. One page at a time: the
/// printer's next page ends them.
struct PageRows {
  unsigned char* pixels = nullptr;  ///< row behind row, all zero at first; null: there are none
  std::uint32_t bytesPerLine = 0;
  std::uint32_t height = 0;
  std::uint32_t width = 0;
  PageBlock memory;  ///< of rows that no image has

  /// Bytes of all rows.
  [[nodiscard]] std::uint64_t size() const { return pageBytes(bytesPerLine, height); }
};

}  // namespace kestra
