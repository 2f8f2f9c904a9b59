// Writes log lines to standard error, so that the print system can show what a page went through.
#include "filter/base/log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>

namespace kestra {
namespace {

// Levels 0 and 1 deliberately share a prefix.
constexpr const char* sLogLevelTexts[] = {
    "DEBUG:", "DEBUG:", "WARN:", "ERROR:", "CRIT:", "INVALID:"};

}  // namespace

void wrenLogCommon(std::uint32_t level, const char* format, ...) {
  const std::size_t index = std::min<std::size_t>(level, std::size(sLogLevelTexts) - 1);
  std::fputs(sLogLevelTexts[index], stderr);
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fputs("\n", stderr);
}

}  // namespace kestra
