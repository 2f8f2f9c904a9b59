// kestra-delivery: what waits, what is in doubt, what was left over, and labels sent by hand; for
// whoever stands before a printer on which a label is missing.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "delivery/core/places.h"
#include "delivery/tool/arguments.h"
#include "delivery/tool/verbs.h"
#include "filter/base/file.h"

namespace {

using namespace kestra::delivery;

int run(const Arguments& arguments) {
  if (arguments.root) setenv("KESTRA_DELIVERY_ROOT", arguments.root->c_str(), 1);
  const Places places = placesOfThisMachine();
  switch (arguments.verb) {
    case Verb::kList:
      return listJobs(arguments, places);
    case Verb::kShow:
      return showJob(arguments, places);
    case Verb::kSend:
      return sendByHand(arguments, places);
    case Verb::kForget:
      return forgetJob(arguments, places);
    case Verb::kVersion:
      std::puts("kestra-delivery " KESTRA_VERSION);
      return kAllWell;
    case Verb::kHelp:
      break;
  }
  std::fputs(helpText(), stdout);
  return kAllWell;
}

}  // namespace

int main(int argc, char** argv) {
  kestra::openMissingStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);  // a reader that ends early is a failed write
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  const kestra::Result<Arguments> arguments = parseArguments(words);
  if (!arguments) {
    std::fprintf(stderr, "kestra-delivery: %s\nTry: kestra-delivery --help\n",
                 arguments.problem().c_str());
    return kWrongUsage;
  }
  const int status = run(*arguments);
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
  return failed("What was to be said could not be written");
}
