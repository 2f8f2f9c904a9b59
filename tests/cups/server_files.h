// What the tests' print server finds on disk: its settings, programs, printer descriptions.
// Why: it must use the filter of this build, and a printer that keeps what it is sent.
#pragma once

#include <string>

namespace kestra::cups_tests {

/// Writes programs and printer descriptions below `place`; returns an empty text or what is
/// missing.
std::string writeServerFiles(const std::string& place);

/// Text of cups-files.conf: where things lie, and who runs filters.
std::string serverPlaces(const std::string& place, const std::string& spool,
                         const std::string& temporary);

/// Text of cupsd.conf: everybody who reaches the socket may do everything.
std::string serverRules(const std::string& place);

/// Keeps copies of the filter and the printer descriptions in memory: their places in the build may
/// be hidden behind the private /tmp later on. To be called first.
void keepBuildFiles();

}  // namespace kestra::cups_tests
