// What a job leaves behind about its page headers: log lines and the side file.
#pragma once

#include <cups/raster.h>

namespace kestra {

/// Logs page number, copies and header fields in their fixed order. The first two lines are
/// deliberately followed by an empty one.
void logPageHeader(int page, const cups_page_header2_t& header);

/// Writes the page's sizes into the side file, which so always shows the last page; a file that
/// cannot be opened is ignored.
void writeSideFile(const cups_page_header2_t& header);

}  // namespace kestra
