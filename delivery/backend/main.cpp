// The backend: the print system starts it once per job as the administrator, and without words to
// list printers.
//
// What needs the administrator's rights stands here from top to bottom; all else happens as the
// user of filters, in the two parts of the job.
#include <cups/backend.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "delivery/backend/apart.h"
#include "delivery/backend/channel.h"
#include "delivery/backend/discovery.h"
#include "delivery/backend/job_words.h"
#include "delivery/backend/rights.h"
#include "delivery/backend/sender_part.h"
#include "delivery/core/device_uri.h"
#include "delivery/core/places.h"
#include "delivery/sinks/inner_program.h"
#include "delivery/sinks/root_starter.h"
#include "delivery/sinks/starter.h"
#include "filter/base/file.h"

namespace kestra::delivery {
namespace {

constexpr mode_t kOthers = S_IRWXG | S_IRWXO;
constexpr int kFirstOwn = STDERR_FILENO + 1;
constexpr std::size_t kFewestWords = 6;

std::string variable(const char* name, const char* otherwise) {
  const char* value = std::getenv(name);
  return value == nullptr ? otherwise : value;
}

std::string serverBin() { return variable("CUPS_SERVERBIN", "/usr/lib/cups"); }

int end(int code, const std::string& problem) {
  std::fprintf(stderr, "ERROR: %s\n", oneLine(problem).c_str());
  return code;
}

// The job stays, and a person is asked for help.
int stopQueue(const std::string& problem) { return end(CUPS_BACKEND_STOP, problem); }

using StarterPtr = std::unique_ptr<Starter>;

// For a device that a program of the print system reaches; null where none does.
Result<StarterPtr> starterFor(const DeviceUri& device, const std::vector<std::string>& words,
                              const Account& account) {
  if (device.scheme == "socket") return StarterPtr();
  const bool isRoot = geteuid() == 0;
  const Result<InnerProgram> program = findInnerProgram(
      serverBin(), device, {words[1], words[2], words[3], words[5]},
      isRoot ? std::optional(UserAndGroup{account.user, account.group}) : std::nullopt);
  if (!program) return Problem{program.problem()};
  if (!isRoot || !program->needsRoot) return StarterPtr(std::make_unique<DirectStarter>(*program));
  StarterPtr starter = forkRootStarter(*program);
  if (starter == nullptr) return Problem{"The machine has no room for another process."};
  return starter;
}

int print(const std::vector<std::string>& words) {
  const Result<Account> account = accountOfFilters();
  if (!account) return stopQueue(account.problem());
  const DeviceUri device = parseDeviceUri(variable("DEVICE_URI", words[0].c_str()));
  if (!device.isGood()) return stopQueue(device.problem);
  const std::string problem = makeStateFolder(placesOfThisMachine().state, *account);
  if (!problem.empty()) return stopQueue(problem);
  Result<StarterPtr> starter = starterFor(device, words, *account);
  if (!starter) return stopQueue(starter.problem());
  if (!becomeForGood(*account)) return stopQueue("The rights of the administrator stay.");

  const std::optional<JobWords> job = readJobWords(words);
  if (!job) return CUPS_BACKEND_FAILED;
  return runApart([&](int printSystem, Watch& watch, const Tell& tell) {
    return sendJob(*job, device, std::move(*starter), printSystem, watch, tell);
  });
}

int run(const std::vector<std::string>& words) {
  if (words.size() == 1) {
    const Result<Account> account = accountOfFilters();
    if (!account) return end(CUPS_BACKEND_FAILED, account.problem());
    return listDevices(serverBin() + "/backend", *account);
  }
  if (words.size() == kFewestWords || words.size() == kFewestWords + 1) return print(words);
  std::fputs(
      "Usage: kestra JOB-ID USER TITLE COPIES OPTIONS [FILE]\n"
      "The print system starts this program; without words it lists printers.\n",
      stderr);
  return CUPS_BACKEND_FAILED;
}

}  // namespace
}  // namespace kestra::delivery

int main(int argc, char* argv[]) {
  kestra::openMissingStandardStreams();
  // The print system's own descriptors would live as long as the sender.
  closefrom(kestra::delivery::kFirstOwn);
  std::signal(SIGPIPE, SIG_IGN);
  umask(kestra::delivery::kOthers);
  return kestra::delivery::run({argv, argv + argc});
}
