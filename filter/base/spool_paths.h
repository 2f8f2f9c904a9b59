// The fixed places of the spool. They are constants of the executable: no option and no variable of
// the environment may move where a job writes.
#pragma once

namespace kestra::spool_paths {

/// Folder of the page frames and of the page counters, one per queue.
extern const char* const kDataDir;

/// printf templates of the debug images' names: year, month, day, hour, minute, second, counter.
extern const char* const kImageTemplate;          ///< before any page was printed
extern const char* const kOriginImageTemplate;    ///< the page as it came
extern const char* const kDitheredImageTemplate;  ///< the page as it is printed

/// Side file with the last page's header values.
extern const char* const kSideFile;

}  // namespace kestra::spool_paths
