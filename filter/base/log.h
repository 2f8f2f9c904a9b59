// The log function: what a job has to say leaves through it on standard error, line by line, and
// the print system sorts the lines by their prefix.
#pragma once

#include <cstdint>

namespace kestra {

/// Log levels; the value is the index of the line's prefix.
enum LogLevel : std::uint32_t {
  kLogDebug = 0,      ///< "DEBUG:", progress and values
  kLogDebugMore = 1,  ///< "DEBUG:" too, deliberately: the print system knows no finer level
  kLogWarn = 2,       ///< "WARN:"
  kLogError = 3,      ///< "ERROR:", shown to the user as the state of the job
  kLogCritical = 4,   ///< "CRIT:", an image object that could not be made
  kLogInvalid = 5,    ///< "INVALID:"
};

/// What a "%f" shows in lines that print an integer by it, deliberately kept as they are: the
/// number carries no meaning, and the program stays defined.
inline constexpr double kMeaninglessNumber = 0.0;

/// Writes one line to standard error: the level's prefix, the message directly behind it, a line
/// end. A message that ends in a line end of its own therefore leaves an empty line after it.
/// @param level   0 to 5; larger values are written with the last prefix
/// @param format  printf format of the message; never a text that came from outside
void wrenLogCommon(std::uint32_t level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

}  // namespace kestra
