// The filter's entry: the print system starts it once per job.
//
// What the process needs before a job can run, whatever it inherited, stands here; the job itself
// is `runJob`.
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

}  // namespace

int main(int argc, char* argv[]) {
  kestra::openMissingStandardStreams();
  std::set_new_handler(stopForLackOfMemory);
  // A printer that stops listening is a failed write like any other: frames still reach the spool.
  std::signal(SIGPIPE, SIG_IGN);
  // The setting command leaves before its page is read and processed.
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  return kestra::runJob(argc, argv);
}
