// Measures the blank lines at the top and bottom of a page.
#pragma once

namespace kestra {

// A line is blank when its examined bytes are all 0: the first `lineBytes` - `skipRight` bytes, or
// all `lineBytes` where `skipRight` is more than that. Lines start `stride` bytes apart in a page
// of `height` lines; bytes behind the page count as 0.

/// Blank lines from the top, `height` for a blank page. Deliberately looks one line too far down:
/// line 0 is never examined, and the last line examined is the one behind the page.
///
///     line   0 1 2 3 4 |    examined in turn: 1 2 3 4 |
///     bytes  # . . # . .    result: 2
unsigned long wrenImageCountBlankLinesFromFront(const unsigned char* data, unsigned long lineBytes,
                                                unsigned long height, unsigned long skipRight,
                                                unsigned long stride);

/// The number of lines up to and including the last one that is not blank; 0 for a blank page.
unsigned long wrenImageCountBlankLinesFromBack(const unsigned char* data, unsigned long lineBytes,
                                               unsigned long height, unsigned long skipRight,
                                               unsigned long stride);

}  // namespace kestra
