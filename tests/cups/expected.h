// What a job must come to: pages made by hand with the server's programs, frames from the plain
// version. Why: neither the server's chain nor the filter is asked what is right.
#pragma once

#include <string>
#include <vector>

#include "tests/plain/job.h"

namespace kestra::cups_tests {

/// The label printer's settings without any option, at 203 dpi; points.
plain::Settings labelSettings(const std::string& size = "w288h432", float width = 288,
                              float length = 432);

/// Runs the programs (names below the server's filter directory) one after the other on a document
/// with a printer description and options; the raster stream that the last of them gives.
std::string renderByHand(const std::vector<std::string>& programs, const std::string& document,
                         const std::string& contentType, const std::string& ppd,
                         const std::string& options);

/// The plain version's outcome for a fresh queue and a job that prints this stream.
plain::Outcome predict(const std::string& stream, const plain::Settings& settings, int job,
                       const std::string& queue);

/// A frame must hold exactly one black rectangle; its first and one-behind-last dot column and row,
/// columns counted from the page's left edge. All -1 and a failure where it is anything else.
struct Box {
  int left = -1;
  int top = -1;
  int right = -1;
  int bottom = -1;
  bool operator==(const Box& other) const {
    return left == other.left && top == other.top && right == other.right && bottom == other.bottom;
  }
};
void PrintTo(const Box& box, std::ostream* out);
Box blackBox(const std::string& frame, int marginBytes);

}  // namespace kestra::cups_tests
