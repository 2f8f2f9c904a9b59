// What the printer description says about fitting pages.
//
// It is read as text: opening it through the print system's library would take longer than fitting
// a page.
#pragma once

namespace kestra {

/// The width of the print head in points (1/72 inch), the number by which the filter centres a
/// page: the first `*MaxMediaWidth` of a description. 0 where there is no file, no such line or no
/// number in it.
[[nodiscard]] double headPoints(const char* ppdPath);

/// Whether pages of a queue with this description go through kestrafit.
[[nodiscard]] bool fitsPages(const char* ppdPath);

}  // namespace kestra
