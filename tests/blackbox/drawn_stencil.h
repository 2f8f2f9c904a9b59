// A drawing of pure black and white that the stencil halftones hand on as it is.
// Why: what follows the halftone (barcode choice, packing) can then be worked out by hand.
#pragma once

#include <functional>
#include <string>

#include "tests/blackbox/job_case.h"

namespace kestra::blackbox {

/// Whether a pixel of the drawing is 255 ("white" in the words of the barcode rules, a dot in
/// print).
using Drawing = std::function<bool(unsigned x, unsigned y)>;

/// A page of 255 and 0 by the drawing, except the last pixel of the page, which is 100.
/// That one grey pixel is why the halftone changes nothing else: the threshold keeps the page's
/// moments, and as a few levels lie between 0 and 255, the share of pixels that is to lie below
/// falls into them. So the threshold is 100, and tone curve and sharpening leave 0 and 255 alone. A
/// dot beside black ones passes on less than 73 levels, too few to lift a 0 above 100. The last
/// pixel itself must stand in white: sharpening then makes it 0, and its error goes nowhere.
ts::StreamPage drawnPage(unsigned width, unsigned height, const Drawing& white);

/// The bytes 255 and 0 of the finished page: the drawing with 0 for the last pixel, rows unpadded.
std::string drawnBytes(unsigned width, unsigned height, const Drawing& white);

/// A job of that page, halftone 8 or 9.
JobCase drawnJob(int halftone, int barcode, unsigned width, unsigned height, const Drawing& white);

/// Runs the job, expects that the halftone gave the drawing and that the plain version agrees with
/// everything. Returns the rows of dots as text, '#' for a dot and '.' for paper.
std::vector<std::string> printDrawn(int halftone, int barcode, unsigned width, unsigned height,
                                    const Drawing& white);

/// The rows of the drawing in the same letters, before any barcode rule.
std::vector<std::string> drawnRows(unsigned width, unsigned height, const Drawing& white);

/// Pixels of the rows of a frame as such text.
std::vector<std::string> frameRows(const std::string& frame, unsigned width);

}  // namespace kestra::blackbox
