// The messages of a job that only depend on its settings and headers.
// Why: whoever looks for the cause of a bad print reads them, in exactly this order.
#pragma once

#include <string>

#include "tests/plain/job.h"

namespace kestra::plain {

/// printf into a text; a "-nan" loses its sign, which carries no meaning.
std::string format(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Lines are "DEBUG:" text and a line end each.
std::string settingsLog(const Settings& settings, float widthMm, float heightMm, float maxMediaMm);
std::string headerLog(const Header& header, int pageCount);

}  // namespace kestra::plain
