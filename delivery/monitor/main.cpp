// The port monitor: sends the labels of a queue whose address is a plain one, through the print
// system's own backend behind it.
//
// That backend cannot be asked what arrived, and this program ends with it: a job that is started
// again is printed from its first label. Where the address is one of ours our backend sends the
// labels itself, so that nothing is ever sent by both.
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "delivery/backend/channel.h"
#include "delivery/backend/document.h"
#include "delivery/backend/job_words.h"
#include "delivery/backend/stop_signals.h"
#include "delivery/core/device_uri.h"
#include "delivery/core/job_run.h"
#include "delivery/core/places.h"
#include "delivery/core/settings.h"
#include "delivery/monitor/copy_through.h"
#include "delivery/sinks/stream_sink.h"
#include "filter/base/file.h"

namespace kestra::delivery {
namespace {

constexpr mode_t kOthers = S_IRWXG | S_IRWXO;

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

void say(const std::string& line) {
  const std::string whole = oneLine(line) + '\n';
  static_cast<void>(!write(STDERR_FILENO, whole.data(), whole.size()));
}

int sendLabels(const JobWords& job, const std::string& uri) {
  const Places places = placesOfThisMachine();
  std::string problems;
  const Settings settings = readSettings(places.settings, problems);
  Watch watch;
  const StopSignals signals(watch, {{SIGTERM, Stop::kCancel}});
  StreamSink sink(STDOUT_FILENO, "the print system's own backend", watch, say);

  JobFacts facts;
  facts.number = job.number;
  facts.queue = variable("PRINTER");
  facts.title = job.title;
  facts.device = publicText(uri);
  facts.doubt = settings.doubt;
  facts.input = STDIN_FILENO;
  facts.birth = birthOfPipe(STDIN_FILENO);
  const Verdict verdict = printJobOnce(places, facts, sink, watch, say);
  // A failed backend's own code counts more; a job that lacks labels must not end as printed.
  return verdict == Verdict::kPrinted ? EXIT_SUCCESS : EXIT_FAILURE;
}

int run(const std::vector<std::string>& words) {
  const std::optional<JobWords> job = readJobWords(words);
  if (!job) {
    std::fputs(
        "Usage: kestra JOB-ID USER TITLE COPIES OPTIONS [FILE]\n"
        "The print system starts this program between a filter and a backend.\n",
        stderr);
    return EXIT_FAILURE;
  }
  if (job->file) {
    // A job that is sent as it is has no filter: this program is the first to read it.
    const std::string problem = readDocument(*job->file, job->copies);
    if (!problem.empty()) {
      say("ERROR: " + problem);
      return EXIT_FAILURE;
    }
  }
  const std::string uri = variable("DEVICE_URI");
  if (uri.rfind("kestra:", 0) != 0) return sendLabels(*job, uri);
  copyThrough(STDIN_FILENO, STDOUT_FILENO);
  return EXIT_SUCCESS;
}

}  // namespace
}  // namespace kestra::delivery

int main(int argc, char* argv[]) {
  kestra::openMissingStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);
  umask(kestra::delivery::kOthers);
  return kestra::delivery::run({argv, argv + argc});
}
