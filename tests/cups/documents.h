// Documents as people print them, so plain that the dots of their pages can be told beforehand.
// Why: a page that prints shifted, scaled or twice must be seen in the frame.
#pragma once

#include <string>
#include <vector>

#include "tests/support/raster_stream.h"

namespace kestra::cups_tests {

/// A PDF of pages of `width` x `height` points. Page k (from 1) holds one black rectangle: k inches
/// wide from the left edge, one inch high, its lower edge one inch above the page's lower edge.
std::string barPdf(int pages, int width, int height);

/// The same as PostScript.
std::string barPostScript(int pages, int width, int height);

/// One page of K raster with a picture of page_makers.h.
testing_support::StreamPage rasterPage(const std::string& picture, unsigned width, unsigned height,
                                       unsigned dpi = 203);

}  // namespace kestra::cups_tests
