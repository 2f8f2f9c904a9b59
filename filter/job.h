// A whole print job as one call, so that the executable, the proof tool and tests run the same
// code.
#pragma once

#include <functional>
#include <string>

namespace kestra {

/// Told of each page of the stream once the job is done with it.
/// @param page   its number in the stream, from 1
/// @param frame  where its frame was stored, relative to the current directory where the spool is;
///               empty for a page without one, whose pixels could not be read for example
using PageDone = std::function<void(int page, const std::string& frame)>;

/// Prints the job that the arguments and the environment describe.
/// @param argc  7 where the pages lie in a file, 6 where they come on standard input
/// @param argv  program, job id, user, title, copies, options, and perhaps the raster file; PPD and
///              PRINTER in the environment name printer description and queue
/// @param pageDone  may be left out; not told of a page that ends the job
/// @return exit status: 0 all pages handled, 1 usage, paper size, no such file or a page that
///         cannot be one. Pages before it stay printed. The page number of the process goes on
///         from one call to the next unless the queue has a counter file.
int runJob(int argc, char* argv[], const PageDone& pageDone = {});

}  // namespace kestra
