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
#include <vector>

#include "delivery/backend/apart.h"
#include "delivery/backend/channel.h"
#include "delivery/backend/discovery.h"
#include "delivery/backend/document.h"
#include "delivery/backend/job_words.h"
#include "delivery/backend/rights.h"
#include "delivery/core/device_uri.h"
#include "delivery/core/job_run.h"
#include "delivery/core/job_store.h"
#include "delivery/core/places.h"
#include "delivery/core/settings.h"
#include "delivery/core/upstream.h"
#include "delivery/sinks/tcp_sink.h"
#include "filter/base/file.h"

namespace kestra::delivery {
namespace {

constexpr mode_t kOthers = S_IRWXG | S_IRWXO;
constexpr int kFirstOwn = STDERR_FILENO + 1;
constexpr std::size_t kFewestWords = 6;

std::string variable(const char* name, const char* otherwise = "") {
  const char* value = std::getenv(name);
  return value == nullptr ? otherwise : value;
}

int end(int code, const std::string& problem) {
  std::fprintf(stderr, "ERROR: %s\n", oneLine(problem).c_str());
  return code;
}

// The job stays, and a person is asked for help.
int stopQueue(const std::string& problem) { return end(CUPS_BACKEND_STOP, problem); }

JobFacts factsOf(const JobWords& job, const DeviceUri& device, const Settings& settings) {
  JobFacts facts;
  facts.number = job.number;
  facts.key = jobKey(job.uuid, job.number, job.createdAt);
  facts.completed = job.completedAt;
  facts.queue = variable("PRINTER");
  facts.title = job.title;
  facts.device = publicText(device.inner);
  const auto asked = job.option.find("doubt");
  const std::optional<Doubt> ofJob =
      asked == job.option.end() ? std::nullopt : doubtOfWord(asked->second);
  facts.doubt = ofJob.value_or(device.doubt.value_or(settings.doubt));
  facts.inClass = !variable("CLASS").empty();
  facts.input = STDIN_FILENO;
  facts.birth = birthOfPipe(STDIN_FILENO);
  return facts;
}

// The sender's part.
int send(const JobWords& job, const DeviceUri& device, int printSystem, Watch& watch,
         const Tell& tell) {
  if (job.file) {
    const std::string problem = readDocument(*job.file, job.copies);
    if (!problem.empty()) {
      tell("ERROR: " + problem);
      return CUPS_BACKEND_HOLD;
    }
  }
  const Places places = placesOfThisMachine();
  std::string problems;
  const Settings settings = readSettings(places.settings, problems);
  if (!problems.empty()) tell("WARNING: " + places.settings + ": " + problems);
  // Filters that outlive the print system would render beside those of the same job's next start.
  // What they have stored until then is sent.
  watch.add(printSystem, [&watch, printSystem] {
    watch.remove(printSystem);
    endWriters(STDIN_FILENO);
  });
  const JobFacts facts = factsOf(job, device, settings);
  TcpSink sink(device.host, std::to_string(device.port), facts.inClass, watch, tell);
  return static_cast<int>(printJob(places, settings, facts, sink, watch, tell));
}

int print(const std::vector<std::string>& words) {
  std::string problem;
  const std::optional<Account> account = accountOfFilters(problem);
  if (!account) return stopQueue(problem);
  const DeviceUri device = parseDeviceUri(variable("DEVICE_URI", words[0].c_str()));
  if (!device.isGood()) return stopQueue(device.problem);
  problem = makeStateFolder(placesOfThisMachine().state, *account);
  if (!problem.empty()) return stopQueue(problem);
  if (!becomeForGood(*account)) return stopQueue("The rights of the administrator stay.");

  const std::optional<JobWords> job = readJobWords(words);
  if (!job) return CUPS_BACKEND_FAILED;
  return runApart([&](int printSystem, Watch& watch, const Tell& tell) {
    return send(*job, device, printSystem, watch, tell);
  });
}

int run(const std::vector<std::string>& words) {
  if (words.size() == 1) {
    std::string problem;
    const std::optional<Account> account = accountOfFilters(problem);
    if (!account) return end(CUPS_BACKEND_FAILED, problem);
    return listDevices(variable("CUPS_SERVERBIN", "/usr/lib/cups") + "/backend", *account);
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
