// Settings come from three sides, the person who prints first, then the queue, then the machine.
#include "delivery/backend/sender_part.h"

#include <cups/backend.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include "delivery/backend/document.h"
#include "delivery/core/job_run.h"
#include "delivery/core/job_store.h"
#include "delivery/core/places.h"
#include "delivery/core/settings.h"
#include "delivery/core/upstream.h"
#include "delivery/sinks/factory.h"

namespace kestra::delivery {
namespace {

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

JobFacts factsOf(const JobWords& job, const DeviceUri& device, const Settings& settings) {
  JobFacts facts;
  facts.number = job.number;
  facts.key = jobKey(job.uuid, job.number, job.createdAt);
  facts.created = job.createdAt;
  facts.completed = job.completedAt;
  facts.queue = variable("PRINTER");
  facts.title = job.title;
  facts.device = deviceName(device);
  const auto asked = job.option.find("doubt");
  const std::optional<Doubt> ofJob =
      asked == job.option.end() ? std::nullopt : doubtOfWord(asked->second);
  facts.doubt = ofJob.value_or(device.doubt.value_or(settings.doubt));
  facts.inClass = !variable("CLASS").empty();
  facts.input = STDIN_FILENO;
  facts.birth = birthOfPipe(STDIN_FILENO);
  return facts;
}

}  // namespace

int sendJob(const JobWords& job, const DeviceUri& device, std::unique_ptr<Starter> starter,
            int printSystem, Watch& watch, const Tell& tell) {
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
  std::istringstream sentences(problems);
  for (std::string one; std::getline(sentences, one);) tell("WARNING: " + one);
  // Filters that outlive the print system would render beside those of the same job's next start.
  // What they have stored until then is sent.
  watch.add(printSystem, [&watch, printSystem] {
    watch.remove(printSystem);
    endWriters(STDIN_FILENO);
  });
  const JobFacts facts = factsOf(job, device, settings);
  const std::unique_ptr<Sink> sink =
      makeSink(device, std::move(starter), facts.inClass, watch, tell);
  return static_cast<int>(printJob(places, settings, facts, *sink, watch, tell));
}

}  // namespace kestra::delivery
