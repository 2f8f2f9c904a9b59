// kestrasize: the print system starts it for documents, because the printer description names it.
//
// It puts the page size that a job asks for into the description's own words, and then runs the
// very programs that the print system would run.
#include <cups/ppd.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "filter/base/file.h"
#include "filter/base/unbroken.h"
#include "tools/size/first_page.h"
#include "tools/size/job_size.h"
#include "tools/size/pipeline.h"
#include "tools/size/stages.h"

namespace kestra {
namespace {

constexpr std::size_t kOptions = 5;
constexpr std::size_t kDocument = 6;

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using Ppd = std::unique_ptr<ppd_file_t, PpdCloser>;

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

int fail(const std::string& sentence) {
  std::fprintf(stderr, "ERROR: %s\n", sentence.c_str());
  return EXIT_FAILURE;
}

// Puts what standard input holds into a file without a name in its place: its head can then be read
// before a filter reads all of it.
bool keepInput() {
  std::string name = variable("TMPDIR");
  name = (name.empty() ? "/tmp" : name) + "/kestrasize-XXXXXX";
  const int file = mkostemp(name.data(), O_CLOEXEC);
  if (file < 0) return false;
  unlink(name.c_str());
  std::array<char, 65536> bytes = {};
  for (;;) {
    const ssize_t got = unbroken([&] { return read(STDIN_FILENO, bytes.data(), bytes.size()); });
    if (got <= 0) return got == 0 && dup2(file, STDIN_FILENO) >= 0;
    if (!writeAll(file, bytes.data(), static_cast<std::size_t>(got))) return false;
  }
}

std::optional<PageMeasure> firstPage(const std::vector<std::string>& words) {
  if (words.size() <= kDocument) {
    static_cast<void>(lseek(STDIN_FILENO, 0, SEEK_SET));
    const auto measure = measureOfFirstPage(STDIN_FILENO);
    static_cast<void>(lseek(STDIN_FILENO, 0, SEEK_SET));
    return measure;
  }
  const int file = open(words[kDocument].c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return std::nullopt;
  const auto measure = measureOfFirstPage(file);
  close(file);
  return measure;
}

// The print system tells a crash from a failure, so this program ends as the filter did. Only one
// that was killed would count as one that did well.
int endAs(int status) {
  if (wasKilled(status)) return EXIT_FAILURE;
  if (!WIFSIGNALED(status)) return WEXITSTATUS(status);
  std::signal(WTERMSIG(status), SIG_DFL);
  std::raise(WTERMSIG(status));
  return EXIT_FAILURE;
}

int run(std::vector<std::string> words) {
  if (words.size() <= kOptions || words.size() > kDocument + 1) {
    std::fprintf(stderr, "Usage: %s job_id user title copies options [file]\n",
                 words.empty() ? "kestrasize" : words[0].c_str());
    return EXIT_FAILURE;
  }
  const Ppd ppd(ppdOpenFile(variable("PPD").c_str()));
  if (ppd == nullptr)
    return fail("The printer description \"" + variable("PPD") + "\" cannot be read.");
  ppdMarkDefaults(ppd.get());

  const std::string type = variable("CONTENT_TYPE");
  if (isDots(type) && words.size() <= kDocument && !keepInput()) {
    return fail("The document cannot be kept in the folder for temporary files.");
  }
  const JobSize size =
      sizeOfJob(ppd.get(), words[kOptions], isDots(type) ? firstPage(words) : std::nullopt);
  if (!size.warning.empty()) std::fprintf(stderr, "WARNING: %s\n", size.warning.c_str());
  if (size.options != words[kOptions]) {
    std::fprintf(stderr, "DEBUG: page size%s\n", size.options.c_str() + words[kOptions].size());
  }
  words[kOptions] = size.options;
  // Delivery counts labels that came. Pages that a renderer reports (page-logging=on) would be
  // added to them at each start of the job, and the print system lets no sum be corrected
  // downwards.
  const bool isDelivered = variable("DEVICE_URI").rfind("kestra:", 0) == 0;
  if (isDelivered && size.options.find("page-logging") != std::string::npos) {
    words[kOptions] += " page-logging=off";
  }

  const std::vector<std::string> stages = stagesOf(type, ppd.get());
  if (stages.empty()) return fail("The printer description names no filter for pages.");
  std::string folder = variable("CUPS_SERVERBIN");
  if (folder.empty()) folder = KESTRA_CUPS_SERVERBIN;
  folder += "/filter/";
  std::vector<Filter> filters;
  filters.reserve(stages.size());
  for (const std::string& stage : stages) {
    filters.push_back({stage[0] == '/' ? stage : folder + stage, words});
    // Only the first is given the document's name, as the print system does it.
    words.resize(kOptions + 1);
  }
  // Renderers look here for what their pages are for.
  setenv("FINAL_CONTENT_TYPE", "application/vnd.cups-raster", 1);
  return endAs(runFilters(filters));
}

}  // namespace
}  // namespace kestra

int main(int argc, char* argv[]) {
  kestra::openMissingStandardStreams();
  std::setvbuf(stderr, nullptr, _IOLBF, BUFSIZ);
  return kestra::run({argv, argv + argc});
}
