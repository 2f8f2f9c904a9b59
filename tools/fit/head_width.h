// The width of the print head, from the printer description.
//
// It is the number by which the filter centres a page; what lies beyond it cannot be printed.
#pragma once

namespace kestra {

/// The first `*MaxMediaWidth` of a printer description, in points (1/72 inch); 0 where there is no
/// file, no such line or no number in it. Read as text: opening the description through the print
/// system's library would take longer than fitting a page.
[[nodiscard]] double headPoints(const char* ppdPath);

}  // namespace kestra
