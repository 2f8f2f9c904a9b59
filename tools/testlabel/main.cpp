// kestra-testlabel: prints a label that shows which edge leaves first, size, offset and heat.
//
// One print answers what takes many tries otherwise.
#include <cups/cups.h>
#include <cups/ppd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "filter/base/file.h"
#include "tools/render/child.h"
#include "tools/render/ghostscript.h"
#include "tools/render/ppd_place.h"
#include "tools/render/printer_options.h"
#include "tools/render/private_directory.h"
#include "tools/render/search_path.h"
#include "tools/testlabel/arguments.h"
#include "tools/testlabel/layout.h"
#include "tools/testlabel/postscript.h"

namespace kestra::testlabel {
namespace {

constexpr int kAllWell = 0;
constexpr int kSomethingBroken = 1;
constexpr int kWrongUsage = 2;
constexpr double kMmPerPoint = 25.4 / 72;
constexpr const char* kMark = "kestra-testlabel";

/// What a label says of the job's options.
constexpr std::array<const char*, 6> kTold = {"PrintSpeed", "Darkness",  "HalftoneType",
                                              "Brightness", "PaperType", "GapsHeight"};
/// Told where they are on.
constexpr std::array<const char*, 2> kToldWhereOn = {"MirrorImage", "NegativeImage"};

class TestLabel {
 public:
  explicit TestLabel(const Arguments& arguments) : arguments_(arguments) {}

  /// Exit status.
  int run() {
    if (const auto found = findDescription(); !found) return complain(kSomethingBroken, found);
    if (const auto taken = takeOptions(); !taken) return complain(kWrongUsage, taken);
    if (const auto known = findResolution(); !known) return complain(kSomethingBroken, known);
    std::vector<std::string> steps = {""};
    if (!arguments_.stepped.empty()) {
      steps = stepValues();
      // A wrong value must end before the first label is printed.
      for (const std::string& value : steps) {
        PrinterOptions trial;
        if (const auto opened = trial.open(ppd_); !opened)
          return complain(kSomethingBroken, opened);
        if (const auto added = trial.add(stepOption(value)); !added) {
          return complain(kWrongUsage, added);
        }
      }
    }
    for (const std::string& value : steps) {
      const Result<void> made = make(value);
      if (interruptSignal() != 0) break;
      if (!made) return complain(kSomethingBroken, made);
    }
    return kAllWell;
  }

 private:
  [[nodiscard]] static int complain(int status, const Result<void>& failed) {
    std::fprintf(stderr, "kestra-testlabel: %s\n", failed.problem().c_str());
    if (status == kWrongUsage) std::fputs("Try: kestra-testlabel --help\n", stderr);
    return status;
  }

  Result<void> findDescription() {
    if (Result<void> made = directory_.make(); !made) return made;
    Result<std::string> found = arguments_.queue.empty() ? chosenDescription() : queueDescription();
    if (!found) return Problem{found.problem()};
    ppd_ = *found;
    return options_.open(ppd_);
  }

  [[nodiscard]] Result<std::string> chosenDescription() const {
    if (!arguments_.ppd.empty()) return arguments_.ppd;
    return findPpd(arguments_.model.empty() ? "label" : arguments_.model);
  }

  [[nodiscard]] Result<std::string> queueDescription() const {
    const char* got = cupsGetPPD(arguments_.queue.c_str());
    if (got == nullptr) {
      return Problem{"the queue " + arguments_.queue +
                     " is not there, or has no printer description; lpstat -e lists the queues"};
    }
    const std::string ppd = directory_.path() + "/queue.ppd";
    if (!moveFile(got, ppd)) return Problem{std::string(got) + " cannot be moved to " + ppd};
    return ppd;
  }

  /// Those of a queue first.
  Result<void> takeOptions() {
    if (!arguments_.queue.empty()) takeQueueOptions();
    if (!arguments_.size.empty()) job_.push_back("PageSize=" + sizeOption());
    job_.insert(job_.end(), arguments_.options.begin(), arguments_.options.end());
    for (const std::string& words : job_) {
      if (Result<void> added = options_.add(words); !added) return added;
    }
    return {};
  }

  Result<void> findResolution() {
    dpi_ = std::atoi(options_.choice("Resolution").c_str());
    if (dpi_ > 0 && options_.headDots(dpi_) > 0) return {};
    return Problem{(arguments_.queue.empty() ? ppd_ : "the queue " + arguments_.queue) +
                   " is not of this driver: its description names no resolution, or no print head"};
  }

  /// What lpoptions set for this user; an option of the print system's own does not matter here.
  void takeQueueOptions() {
    cups_dest_t* queue = cupsGetNamedDest(CUPS_HTTP_DEFAULT, arguments_.queue.c_str(), nullptr);
    if (queue == nullptr) return;
    for (int i = 0; i < queue->num_options; ++i) {
      const cups_option_t& option = queue->options[i];
      if (options_.choice(option.name).empty()) continue;
      if (!options_.add(std::string(option.name) + "=" + option.value)) continue;
    }
    cupsFreeDests(1, queue);
  }

  [[nodiscard]] std::string stepOption(const std::string& value) const {
    return arguments_.stepped + "=" + value;
  }

  /// A size that the printer has by name goes by that name.
  [[nodiscard]] std::string sizeOption() const {
    std::string custom = pageSizeOf(arguments_.size);
    PrinterOptions trial;
    if (!trial.open(ppd_) || !trial.add("PageSize=" + custom)) return custom;
    const PageArea page = trial.page();
    const std::string name = trial.sizeName(page.width, page.height);
    return name.empty() ? custom : name;
  }

  [[nodiscard]] std::vector<std::string> stepValues() const {
    if (!arguments_.steps.empty()) return arguments_.steps;
    if (arguments_.stepped == "Brightness") return {"-40", "-20", "0", "20", "40"};
    std::istringstream words(options_.values(arguments_.stepped, " "));
    std::vector<std::string> values;
    for (std::string value; words >> value;) values.push_back(value);
    // The check of an empty value lists what there is.
    if (values.empty()) values.emplace_back();
    return values;
  }

  Result<void> make(const std::string& step) {
    std::vector<std::string> job = job_;
    if (!step.empty()) {
      job.push_back(stepOption(step));
      if (Result<void> added = options_.add(job.back()); !added) return added;
    }
    const PageArea page = options_.page();
    const Layout layout = layOut(wanted(step));
    const std::string drawn = directory_.path() + "/label.ps";
    const std::string pdf = directory_.path() + "/testlabel.pdf";
    std::ofstream(drawn) << postScript(layout, page, printedArea(page, dpi_), dpi_);
    const GhostscriptRun run =
        runGhostscript({"-sDEVICE=pdfwrite", "-sOutputFile=" + pdf, drawn}, directory_.path());
    if (!run.problem.empty()) return Problem{run.problem};
    Result<void> done = arguments_.queue.empty() ? write(pdf, step, job) : print(pdf, job);
    if (done) tellWhatIsLeftOut(layout);
    return done;
  }

  /// Points as millimetres with one decimal, none where it is 0.
  static std::string mm(double points) {
    const long tenths = std::lround(points * kMmPerPoint * 10);
    return std::to_string(tenths / 10) +
           (tenths % 10 == 0 ? "" : "." + std::to_string(tenths % 10));
  }

  [[nodiscard]] Wanted wanted(const std::string& step) const {
    const PageArea page = options_.page();
    Wanted wanted;
    wanted.dpi = dpi_;
    const PrintedArea area = printedArea(page, dpi_);
    wanted.width = area.width;
    wanted.height = area.height;
    if (!step.empty()) wanted.step = arguments_.stepped + " " + step;
    wanted.size = mm(page.width) + " x " + mm(page.height) + " mm";
    for (const char* name : kTold) {
      const std::string value = options_.choice(name);
      if (!value.empty()) wanted.options.push_back(name + (" " + value));
    }
    for (const char* name : kToldWhereOn) {
      if (options_.choice(name) == "True") wanted.options.emplace_back(name);
    }
    return wanted;
  }

  [[nodiscard]] Result<void> write(const std::string& pdf, const std::string& step,
                                   const std::vector<std::string>& job) const {
    std::filesystem::path output = arguments_.output;
    if (!step.empty()) {
      output.replace_filename(output.stem().string() + "-" + step + output.extension().string());
    }
    std::error_code ignored;
    if (std::filesystem::exists(output, ignored) && !isPlacedPdf(output.string(), kMark)) {
      return Problem{output.string() + " is there already and is no test label; name another file"};
    }
    if (!placePdf(pdf, output.string(), kMark)) {
      return Problem{output.string() + " cannot be written; name a file in a folder of yours"};
    }
    std::string options;
    for (const std::string& words : job) options += " -o " + words;
    std::printf("%s: print it with lp -d QUEUE%s %s\n", output.c_str(), options.c_str(),
                output.c_str());
    return {};
  }

  [[nodiscard]] Result<void> print(const std::string& pdf,
                                   const std::vector<std::string>& job) const {
    Program lp;
    lp.path = onPath("lp");
    if (lp.path.empty()) {
      return Problem{"the program lp is missing on the PATH; install the package cups-client"};
    }
    lp.words = {"lp", "-d", arguments_.queue, "-t", "Test label"};
    for (const std::string& words : job) {
      lp.words.emplace_back("-o");
      lp.words.push_back(words);
    }
    lp.words.push_back(pdf);
    std::fflush(stdout);
    lp.output = STDOUT_FILENO;
    lp.messages = STDERR_FILENO;
    Child child;
    if (Result<void> started = child.start(lp); !started) return started;
    const int status = child.wait();
    if (status == 0) return {};
    return Problem{"lp ended with " + endWords(status)};
  }

  static void tellWhatIsLeftOut(const Layout& layout) {
    std::string names;
    for (const std::string& name : layout.leftOut) {
      if (names.find(name) == std::string::npos) names += (names.empty() ? "" : ", ") + name;
    }
    if (!names.empty()) std::printf("no room on this label for: %s\n", names.c_str());
  }

  const Arguments& arguments_;
  PrivateDirectory directory_;
  std::string ppd_;
  PrinterOptions options_;
  std::vector<std::string> job_;  // options to print with
  int dpi_ = 0;
};

}  // namespace
}  // namespace kestra::testlabel

int main(int argc, char** argv) {
  kestra::openMissingStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  const auto parsed = kestra::testlabel::parseArguments(words);
  if (!parsed) {
    std::fprintf(stderr, "kestra-testlabel: %s\nTry: kestra-testlabel --help\n",
                 parsed.problem().c_str());
    return 2;
  }
  const kestra::testlabel::Arguments& arguments = *parsed;
  if (arguments.help || arguments.version) {
    std::fputs(
        arguments.help ? kestra::testlabel::helpText() : "kestra-testlabel " KESTRA_VERSION "\n",
        stdout);
    return 0;
  }
  kestra::catchInterrupts();
  int status = 0;
  {
    kestra::testlabel::TestLabel label(arguments);
    status = label.run();
  }
  if (kestra::interruptSignal() != 0) kestra::endByInterrupt();
  return status;
}
