// A whole print job as one call, so that the executable, the proof tool and tests run the same
// code.
#pragma once

namespace kestra {

/// Prints the job that the arguments and the environment describe.
/// @param argc  7 where the pages lie in a file, 6 where they come on standard input
/// @param argv  program, job id, user, title, copies, options, and perhaps the raster file; PPD and
///              PRINTER in the environment name printer description and queue
/// @return exit status: 0 all pages handled, 1 usage, paper size, no such file or a page that
///         cannot be one. Pages before it stay printed. The page number of the process goes on
///         from one call to the next unless the queue has a counter file.
int runJob(int argc, char* argv[]);

}  // namespace kestra
