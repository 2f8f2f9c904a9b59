// Gathers a job's settings: the queue's printer description, overridden by the job's options.
#pragma once

#include <cups/ppd.h>

#include "filter/base/settings.h"

namespace kestra {

/// Fills the whole record from the printer description that the environment variable `PPD` names,
/// the job's options and the queue name in `PRINTER`, and logs it. Nothing here fails: without a
/// description every text is empty, every number 0 and the page 0 x 0 mm, which the page loop
/// refuses.
/// @param settings  overwritten as a whole
/// @param options   the job's options as the print system passes them, "name=value name noname ..."
void parseSettings(Settings* settings, const char* options);

/// Sets `pageWidth` and `pageHeight` (mm) from the chosen page size, custom sizes included; 0 x 0
/// where the description knows no such size.
void getPageWidthPageHeight(ppd_file_t* ppd, Settings* settings);

}  // namespace kestra
