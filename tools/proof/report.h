// Says in words what a page frame holds.
//
// The words are for the person who looks for the reason of a bad print: sizes in dots and in mm,
// and every count that does not fit.
#ifndef TOOLS_PROOF_REPORT_H_
#define TOOLS_PROOF_REPORT_H_

#include <cstddef>
#include <string>
#include <vector>

#include "tools/frame/page_frame.h"

namespace kestra {

// Several lines, each with two leading blanks and a line end. Millimetres are for `dpi` dots per
// inch.
[[nodiscard]] std::string describeFrame(const PageFrame& frame, int dpi);

// Row numbers, counted from 0, as a short list: "3, 5-9, 12 and 40 more". At most `runs` stretches
// are listed. `rows` is sorted and has no doubles.
[[nodiscard]] std::string summariseRows(const std::vector<std::size_t>& rows, std::size_t runs);

}  // namespace kestra

#endif  // TOOLS_PROOF_REPORT_H_
