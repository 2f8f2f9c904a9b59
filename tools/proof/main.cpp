// kestra-proof: shows documents and page frames as the print head would print them.
//
// What comes out of the print head can be looked at, measured and compared before paper is spent.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "filter/base/file.h"
#include "tools/proof/arguments.h"
#include "tools/proof/files.h"
#include "tools/proof/proof_crop.h"
#include "tools/proof/proof_document.h"
#include "tools/proof/proof_records.h"
#include "tools/proof/teller.h"
#include "tools/render/child.h"
#include "tools/render/document_type.h"
#include "tools/render/ppd_place.h"

namespace kestra::proof {
namespace {

constexpr int kAllWell = 0;
constexpr int kSomethingBroken = 1;
constexpr int kWrongUsage = 2;

// An input, and what its content says it is.
struct Job {
  Input input;
  std::optional<DocumentType> type;  // none where it cannot be printed
  std::string problem;               // why
};

int wrongUsage(const std::string& problem) {
  std::fprintf(stderr, "kestra-proof: %s\nTry: kestra-proof --help\n", problem.c_str());
  return kWrongUsage;
}

int fail(const std::string& problem) {
  std::fprintf(stderr, "kestra-proof: %s\n", problem.c_str());
  return kSomethingBroken;
}

// Writes a text and nothing else. Exit status.
int print(const std::string& text) {
  if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return kAllWell;
  return fail("standard output: cannot be written");
}

std::vector<Job> lookAt(const std::vector<Input>& inputs) {
  const std::string frameEnd = ".dat";
  std::vector<Job> jobs;
  for (const Input& input : inputs) {
    Job job;
    job.input = input;
    const std::string& path = input.path;
    if (input.kind == InputKind::kDocument) {
      // A damaged frame is still taken for one, and told what is wrong with it.
      const bool named =
          path.size() > frameEnd.size() &&
          path.compare(path.size() - frameEnd.size(), frameEnd.size(), frameEnd) == 0;
      if (named) {
        job.type = DocumentType::kFrame;
      } else if (const auto type = documentType(path); type) {
        job.type = *type;
      } else {
        job.problem = type.problem();
      }
    }
    jobs.push_back(job);
  }
  return jobs;
}

bool isPrinted(const Job& job) { return job.type && *job.type != DocumentType::kFrame; }

// Whether every option has something to act on.
Result<void> optionsHaveUse(const Arguments& arguments, const std::vector<Job>& jobs) {
  bool frames = false;
  bool documents = false;
  for (const Job& job : jobs) {
    if (isPrinted(job)) documents = true;
    if (job.type == DocumentType::kFrame) frames = true;
    if (job.input.kind == InputKind::kDocument && !job.type) documents = frames = true;
  }
  if (arguments.dpiGiven && !frames) {
    return Problem{
        "--dpi is for page frames; a document is printed with -o Resolution=203dpi or 300dpi"};
  }
  const char* option = nullptr;
  if (!arguments.options.empty()) option = "-o";
  if (arguments.compare) option = "--compare";
  if (arguments.crop) option = "--crop";
  if (!arguments.keep.empty()) option = "--keep";
  if (!arguments.ppd.empty()) option = "--ppd";
  if (option == nullptr || documents) return {};
  return Problem{std::string(option) + " is for documents; a page frame is printed already"};
}

// The printer by its description, without the job's options.
Result<Printer> describedPrinter(const Arguments& arguments) {
  Printer printer;
  if (arguments.ppd.empty()) {
    printer.model = arguments.model.empty() ? "label" : arguments.model;
    const Result<std::string> found = findPpd(printer.model);
    if (!found) return Problem{found.problem()};
    printer.ppd = *found;
  } else {
    printer.ppd = std::filesystem::absolute(arguments.ppd).string();
  }
  if (const Result<void> opened = printer.options.open(printer.ppd); !opened) {
    return Problem{opened.problem()};
  }
  return Result<Printer>(std::move(printer));
}

// Holds the job's options against the description.
Result<void> takeOptions(const Arguments& arguments, Printer& printer) {
  for (const std::string& words : arguments.options) {
    if (Result<void> added = printer.options.add(words); !added) return added;
  }
  if (arguments.compare && !printer.options.givenValue("HalftoneType").empty()) {
    return Problem{"--compare shows all ten halftones; leave HalftoneType out"};
  }
  return {};
}

// Lists the values of the options that are asked for. Exit status.
int answer(const Arguments& arguments) {
  Result<Printer> printer = describedPrinter(arguments);
  if (!printer) return fail(printer.problem());
  const Result<void> taken = takeOptions(arguments, *printer);
  if (!taken) return wrongUsage(taken.problem());
  std::string text;
  for (const std::string& name : arguments.asked) {
    const std::string values = printer->options.values(name, "\n  ");
    // An option without a list takes anything, one that is not there nothing at all.
    if (values.empty()) {
      const Result<void> added = printer->options.add(name + "=1");
      if (!added) return wrongUsage(added.problem());
    }
    text.append(name).append(values.empty() ? " has no list of values" : " can be:");
    text.append(values).append("\n");
  }
  return print(text);
}

// Where a document's leavings are kept: in DIR itself where it is the only one.
std::string keepPlace(const Arguments& arguments, const std::string& path) {
  if (arguments.keep.empty() || arguments.inputs.size() == 1) return arguments.keep;
  return arguments.keep + "/" + stem(path);
}

bool proofAll(const Arguments& arguments, const std::vector<Job>& jobs, const Printer& printer) {
  WriteGuard guard(arguments);
  Teller teller(arguments);
  for (const Job& job : jobs) {
    if (interruptSignal() != 0) return false;
    const std::string& path = job.input.path;
    if (job.input.kind == InputKind::kPageCounter) {
      proofCounter(path, teller);
    } else if (job.input.kind == InputKind::kCommand) {
      proofCommands(path, teller);
    } else if (!job.type) {
      teller.begin({path, "unknown", "", "", {}});
      teller.complain(job.problem);
      teller.end({});
    } else if (*job.type == DocumentType::kFrame) {
      proofFrame(path, arguments, guard, teller);
    } else if (arguments.crop) {
      proofCropped(path, *job.type, arguments, printer, keepPlace(arguments, path), guard, teller);
    } else {
      proofDocument(path, *job.type, arguments, printer, keepPlace(arguments, path), guard, teller);
    }
  }
  return teller.finish();
}

int run(const Arguments& arguments) {
  if (!arguments.outputDirectory.empty()) {
    std::error_code ignored;  // the first picture says what is wrong
    std::filesystem::create_directories(arguments.outputDirectory, ignored);
  }
  const std::vector<Job> jobs = lookAt(arguments.inputs);
  const Result<void> useful = optionsHaveUse(arguments, jobs);
  if (!useful) return wrongUsage(useful.problem());
  Result<Printer> printer = Printer();
  if (std::any_of(jobs.begin(), jobs.end(), isPrinted)) {
    printer = describedPrinter(arguments);
    if (!printer) return fail(printer.problem());
    const Result<void> taken = takeOptions(arguments, *printer);
    if (!taken) return wrongUsage(taken.problem());
  }
  return proofAll(arguments, jobs, *printer) ? kAllWell : kSomethingBroken;
}

}  // namespace
}  // namespace kestra::proof

int main(int argc, char** argv) {
  using namespace kestra::proof;
  kestra::openMissingStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);  // a filter or a reader that ends early is a failed write
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  const kestra::Result<Arguments> parsed = parseArguments(words);
  if (!parsed) return wrongUsage(parsed.problem());
  const Arguments& arguments = *parsed;
  if (arguments.help) return print(helpText());
  if (arguments.version) return print("kestra-proof " KESTRA_VERSION "\n");
  if (!arguments.asked.empty()) return answer(arguments);
  kestra::catchInterrupts();
  const int status = run(arguments);
  if (kestra::interruptSignal() != 0) kestra::endByInterrupt();
  return status;
}
