// What a page must be when the filter gets it, worked out dot by dot; streams in every form.
// Why: the stage never spreads a page out; this version does nothing else.
#pragma once

#include <string>
#include <vector>

#include "tests/support/raster_stream.h"
#include "tools/fit/row_fit.h"

namespace kestra::fit_tests {

/// The page with rows of a multiple of 4 dots, at most as many as the head has (0: any number). One
/// byte per dot; bytes behind a row's dots are dropped.
testing_support::StreamPage plainFit(const testing_support::StreamPage& page, unsigned headDots);
std::vector<testing_support::StreamPage> plainFit(
    const std::vector<testing_support::StreamPage>& pages, unsigned headDots);

/// How a stream without compression is written.
struct Form {
  int version = 3;       ///< 1 or 3
  bool swapped = false;  ///< numbers with the other byte order than this machine's
};
std::string inForm(const std::vector<testing_support::StreamPage>& pages, Form form);

/// A page of K raster with a picture of page_makers.h.
testing_support::StreamPage makePage(const std::string& picture, unsigned width, unsigned height,
                                     unsigned bytesPerLine = 0, unsigned dpi = 203);

/// The stage's code on a stream, in this process; a head of `headPoints` (1/72 inch).
struct Fitted {
  std::string stream;
  std::vector<PageChange> changes;
};
Fitted throughStage(const std::string& stream, double headPoints);

/// A head of so many points has 40 dots at 203 dots per inch: 40 / 203 * 72 = 14.187.
inline constexpr double kSmallHead = 14.19;

/// Holds what the raster library reads from two streams against each other: the same pages,
/// readable or not, header and pixels.
void expectSamePages(const std::string& stream, const std::string& wanted);

}  // namespace kestra::fit_tests
