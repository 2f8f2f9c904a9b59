// A layout in dots as a PostScript page.
//
// The renderer blackens each dot whose centre lies in a box; edges that lie between two dots leave
// it no choice.
#pragma once

#include <string>

#include "tools/render/printer_options.h"
#include "tools/testlabel/layout.h"

namespace kestra::testlabel {

/// The dots that a page as large as the label can reach, and where they lie.
struct PrintedArea {
  int width = 0;  ///< dots
  int height = 0;
  double left = 0;  ///< of the first column, in points from the page's lower left corner
  double top = 0;   ///< of the first row
};

/// The renderer counts rows from a page height of whole points. A label of 141.73 points lies 0.27
/// points, 0.75 rows at 203 dpi, below the first row, which nothing on the page can blacken; of one
/// of 425.2 points the last row is such a row.
[[nodiscard]] PrintedArea printedArea(const PageArea& page, int dpi);

/// One page as large as the label. The layout begins where the printed
/// area does.
[[nodiscard]] std::string postScript(const Layout& layout, const PageArea& page,
                                     const PrintedArea& area, int dpi);

}  // namespace kestra::testlabel
