// A spool of the fuzzer's own, and a job in this process that uses it.
// Why: thousands of jobs a minute run without a process each, and none touches the machine's spool.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace kestra::fuzz {

struct JobResult {
  int status = -1;
  std::string output;                        ///< standard output
  std::string messages;                      ///< standard error
  std::map<std::string, std::string> files;  ///< path below the spool's root -> bytes
};

/// Makes the directories below TMPDIR (or /tmp) at the first call, changes into them for good, and
/// removes them when the process ends.
void enterPrivateSpool();

/// Writes a file; `path` is below the spool's root.
void putFile(const std::string& path, const std::string& bytes);

/// Writes a counter file into the data directory, which is made.
void putCounter(const std::string& name, const std::string& bytes);

/// All files with their bytes, path below the spool's root first; the spool is empty afterwards.
std::map<std::string, std::string> takeFiles();

/// Runs a job with argv[1..]; PPD and PRINTER in the environment are the caller's. Afterwards the
/// spool is empty again, data directory included, and the page number of the process is 1.
JobResult runJobHere(const std::vector<std::string>& arguments);

}  // namespace kestra::fuzz
