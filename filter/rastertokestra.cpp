// The filter's entry: the print system starts it once per job.
//
// What the process needs before a job can run, whatever it inherited, stands here; the job itself
// is `runJob`.
#include <malloc.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "filter/base/file.h"
#include "filter/base/log.h"
#include "filter/job.h"

namespace {

[[noreturn]] void stopForLackOfMemory() {
  kestra::wrenLogCommon(
      kestra::kLogError,
      "There is not enough memory for this job. Print fewer or smaller pages at once, or "
      "a lower resolution.");
  std::exit(EXIT_FAILURE);
}

// Blocks too small for large memory pages, a label's, are used again from page to page.
void tuneMemory() {
#if defined(__GLIBC__)
  constexpr int kLabelBlock = 1 << 20;
  constexpr int kKeptForLabels = 32 << 20;
  static_cast<void>(mallopt(M_MMAP_THRESHOLD, kLabelBlock));
  static_cast<void>(mallopt(M_TRIM_THRESHOLD, kKeptForLabels));
#endif
}

}  // namespace

int main(int argc, char* argv[]) {
  kestra::openMissingStandardStreams();
  tuneMemory();
  std::set_new_handler(stopForLackOfMemory);
  // A printer that stops listening is a failed write like any other: frames still reach the spool.
  std::signal(SIGPIPE, SIG_IGN);
  // The setting command leaves before its page is read and processed.
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  // Log lines leave whole, so that no other filter's lines fall between their parts.
  std::setvbuf(stderr, nullptr, _IOLBF, BUFSIZ);
  return kestra::runJob(argc, argv);
}
