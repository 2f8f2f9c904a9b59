// kestrafit: the print system starts it in front of the filter, because the printer description
// names it.
//
// It takes the filter's arguments and hands the filter its pages, so that a page of any width
// prints straight and a page wider than the head loses only what the head cannot reach.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <string>

#include "filter/base/file.h"
#include "tools/fit/description.h"
#include "tools/fit/fit_stream.h"
#include "tools/fit/guard.h"

namespace {

constexpr int kArguments = 6;

[[noreturn]] void stopForLackOfMemory() {
  std::fputs("ERROR: There is not enough memory for a row of this page.\n", stderr);
  std::_Exit(EXIT_FAILURE);
}

// One write, so that no other filter's words fall between.
void say(const std::string& line) { std::fputs((line + "\n").c_str(), stderr); }

// Pages that follow each other and lose the same are told of once.
class Teller {
 public:
  void tell(const kestra::PageChange& change) {
    if (change.fit.cuts() && !(change.fit == told_)) say(cutWarning(change));
    if (change.fit.fill > 0) say(fillMessage(change));
    told_ = change.fit;
  }

 private:
  kestra::RowFit told_;
};

int fail(const char* what, int error) {
  say(std::string("ERROR: ") + what + std::strerror(error));
  return EXIT_FAILURE;
}

// Who stops reading has ended the job in its own words; that is no fault here.
int exitStatus(const kestra::FitResult& result) {
  switch (result.state) {
    case kestra::RelayState::kReadFailed:
      return fail("The pages cannot be read: ", result.error);
    case kestra::RelayState::kWriteFailed:
      return fail("The pages cannot be handed to the filter: ", result.error);
    default:
      return EXIT_SUCCESS;
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  kestra::openMissingStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);
  std::set_new_handler(stopForLackOfMemory);
  std::setvbuf(stderr, nullptr, _IOLBF, BUFSIZ);
  if (argc < kArguments) {
    std::fprintf(stderr, "Usage: %s job_id user title copies options [file]\n",
                 argc > 0 ? argv[0] : "kestrafit");
    return EXIT_FAILURE;
  }
  if (const std::optional<int> status = kestra::guardWork()) return *status;
  int input = STDIN_FILENO;
  if (argc > kArguments) {
    input = open(argv[kArguments], O_RDONLY | O_CLOEXEC);
    if (input < 0) return fail("The raster file cannot be opened: ", errno);
  }
  Teller teller;
  return exitStatus(
      kestra::fitStream(input, STDOUT_FILENO, kestra::headPoints(std::getenv("PPD")),
                        [&](const kestra::PageChange& change) { teller.tell(change); }));
}
