// kestra-paper: a label printer without paper, and the judge of what came out of it.
//
// Whether every label was printed exactly once can be seen only where the bytes arrive.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "filter/base/file.h"
#include "tools/base/json.h"
#include "tools/paper/arguments.h"
#include "tools/paper/journal.h"
#include "tools/paper/judge.h"
#include "tools/paper/label_list.h"
#include "tools/paper/printer.h"
#include "tools/paper/recorder.h"

namespace {

using namespace kestra::paper;
using kestra::JsonText;
using kestra::Problem;
using kestra::Result;

constexpr int kAllWell = 0;
constexpr int kFailed = 1;
constexpr int kNotDone = 2;

int notDone(const std::string& problem) {
  std::fprintf(stderr, "kestra-paper: %s\n", problem.c_str());
  return kNotDone;
}

Result<std::string> readFile(const std::string& path) {
  std::string text;
  std::array<char, 65536> piece = {};
  const kestra::FilePtr file(std::fopen(path.c_str(), "rb"));
  while (file != nullptr) {
    const std::size_t got = std::fread(piece.data(), 1, piece.size(), file.get());
    text.append(piece.data(), got);
    if (got == piece.size()) continue;
    if (std::ferror(file.get()) != 0) break;
    return text;
  }
  return Problem{path + " cannot be read: " + std::strerror(errno)};
}

Result<std::vector<ListedLabel>> readList(const std::string& path) {
  const Result<std::string> text = readFile(path);
  if (!text) return Problem{text.problem()};
  Result<std::vector<ListedLabel>> list = parseList(*text);
  if (!list) return Problem{path + ": " + list.problem()};
  return list;
}

// The line of a file whose bytes are one whole frame.
Result<std::string> lineOfFrame(const std::string& path) {
  const Result<std::string> bytes = readFile(path);
  if (!bytes) return Problem{bytes.problem()};
  Journal silent(-1, false);
  Recorder recorder(silent, {}, 1);
  StreamParser parser(recorder, {false, false});
  recorder.read(bytes->size());
  parser.feed(reinterpret_cast<const std::uint8_t*>(bytes->data()), bytes->size());
  parser.end();
  const Counters& counters = recorder.counters();
  if (counters.whole != 1 || counters.torn + counters.faults > 0 || bytes->front() != 'S') {
    return Problem{path + " is no page frame; kestra-proof says what is wrong with it"};
  }
  return listLine({recorder.came()[0], std::filesystem::path(path).filename().string()}) + "\n";
}

int listFrames(const std::vector<std::string>& paths) {
  std::string list;
  for (const std::string& path : paths) {
    const Result<std::string> line = lineOfFrame(path);
    if (!line) return notDone(line.problem());
    list += *line;
  }
  if (writeAll(STDOUT_FILENO, list)) return kAllWell;
  return notDone(std::string("the list cannot be written: ") + std::strerror(errno));
}

std::string inWords(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return names.empty() ? "none" : text;
}

void tell(const Verdict& verdict, const std::vector<std::string>& unknown, const Counters& counters,
          bool good, Journal& journal, const Arguments& arguments) {
  std::string twice;
  JsonLine line("verdict", wallClock());
  line.boolean("good", good).number("whole", counters.whole).texts("lost", verdict.lost);
  JsonText& repeats = line.value("twice").array();
  for (const Repeat& repeat : verdict.twice) {
    twice += (twice.empty() ? "" : ", ") + repeat.name;
    if (repeat.count > 1) twice += " (" + std::to_string(repeat.count) + " times too often)";
    repeats.object().name("name").string(repeat.name).name("count").number(repeat.count);
    repeats.endObject();
  }
  repeats.endArray();
  line.texts("out_of_order", verdict.outOfOrder).texts("unknown", unknown);
  line.number("torn", counters.torn).number("faults", counters.faults);
  line.number("garbage", counters.garbage);
  journal.line(line);
  if (arguments.quiet) return;
  std::fprintf(stderr,
               "%s: %llu whole; lost: %s; twice: %s; out of order: %s; unknown: %s; torn: %llu; "
               "faults: %llu; garbage: %llu bytes\n",
               good ? "GOOD" : "BAD", static_cast<unsigned long long>(counters.whole),
               inWords(verdict.lost).c_str(), twice.empty() ? "none" : twice.c_str(),
               inWords(verdict.outOfOrder).c_str(), inWords(unknown).c_str(),
               static_cast<unsigned long long>(counters.torn),
               static_cast<unsigned long long>(counters.faults),
               static_cast<unsigned long long>(counters.garbage));
}

// The verdict on what came, told; `names` are those of the labels that came.
bool verdictOn(const std::vector<ListedLabel>& wanted, const std::vector<std::string>& came,
               const std::vector<std::string>& names, const Counters& counters,
               const Arguments& arguments, Journal& journal) {
  const Verdict verdict = judge(wanted, came);
  std::vector<std::string> unknown;
  for (const std::size_t which : verdict.unknown) unknown.push_back(names[which]);
  const bool good = verdict.lost.empty() && verdict.repeats() <= arguments.allowTwice &&
                    (arguments.anyOrder || verdict.outOfOrder.empty()) &&
                    unknown.size() <= arguments.allowUnknown &&
                    (arguments.allowTorn || counters.torn == 0) && counters.faults == 0 &&
                    counters.garbage == 0;
  tell(verdict, unknown, counters, good, journal, arguments);
  return good;
}

int judgeLists(const Arguments& arguments, const std::vector<ListedLabel>& wanted,
               Journal& journal) {
  const auto came = readList(arguments.came);
  if (!came) return notDone(came.problem());
  std::vector<std::string> digests;
  std::vector<std::string> names;
  for (const ListedLabel& label : *came) {
    digests.push_back(label.digest);
    names.push_back(label.name);
  }
  Counters counters;
  counters.whole = came->size();
  const bool good = verdictOn(wanted, digests, names, counters, arguments, journal);
  if (!journal.isWhole()) return kNotDone;
  return good ? kAllWell : kFailed;
}

void tellCounters(const Counters& counters, Journal& journal) {
  journal.line(JsonLine("counters", wallClock())
                   .number("whole", counters.whole)
                   .number("torn", counters.torn)
                   .number("faults", counters.faults)
                   .number("garbage", counters.garbage)
                   .number("connections", counters.connections)
                   .number("bytes", counters.bytes));
  journal.say(std::to_string(counters.whole) + " labels whole, " + std::to_string(counters.torn) +
              " torn, " + std::to_string(counters.faults) + " faults, " +
              std::to_string(counters.garbage) + " bytes of garbage");
}

int print(const Arguments& arguments, const std::vector<ListedLabel>& wanted, Journal& journal) {
  Recorder recorder(journal, arguments.output, arguments.printer.dpi);
  Printer printer(arguments.printer, recorder, journal);
  if (const auto done = printer.run(); !done) return notDone(done.problem());
  const Counters& counters = recorder.counters();
  tellCounters(counters, journal);
  std::vector<std::string> names;
  for (const std::uint64_t number : recorder.cameNumbers()) {
    names.push_back("label " + std::to_string(number));
  }
  bool good = counters.faults == 0 && (counters.torn == 0 || arguments.allowTorn);
  if (!arguments.expect.empty()) {
    good = verdictOn(wanted, recorder.came(), names, counters, arguments, journal);
  }
  if (arguments.list) {
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i) {
      list += listLine({recorder.came()[i], names[i]}) + "\n";
    }
    if (!writeAll(STDOUT_FILENO, list)) {
      return notDone(std::string("the list cannot be written: ") + std::strerror(errno));
    }
  }
  if (!journal.isWhole()) return kNotDone;
  return good ? kAllWell : kFailed;
}

// Where JSON lines go; -1 nowhere, -2 nowhere by mistake.
int openLog(const Arguments& arguments) {
  if (arguments.log.empty()) {
    return arguments.list || isatty(STDOUT_FILENO) == 1 ? -1 : STDOUT_FILENO;
  }
  const int log = open(arguments.log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC,
                       S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
  return log < 0 ? -2 : log;
}

int run(Arguments& arguments) {
  for (const std::string& path : arguments.scripts) {
    const Result<std::string> text = readFile(path);
    if (!text) return notDone(text.problem());
    const auto faults = parseScript(*text);
    if (!faults) return notDone(path + ", " + faults.problem());
    auto& all = arguments.printer.faults;
    all.insert(all.end(), faults->begin(), faults->end());
  }
  if (arguments.digest) return listFrames(arguments.inputs);

  std::vector<ListedLabel> wanted;
  if (!arguments.expect.empty()) {
    auto list = readList(arguments.expect);
    if (!list) return notDone(list.problem());
    wanted = std::move(*list);
  }
  if (!arguments.output.empty()) {
    std::error_code failed;
    std::filesystem::create_directories(arguments.output, failed);
    if (failed) return notDone(arguments.output + " cannot be made: " + failed.message());
  }
  const int log = openLog(arguments);
  if (log == -2) {
    return notDone(arguments.log + " cannot be written: " + std::strerror(errno));
  }
  Journal journal(log, !arguments.quiet && isatty(STDERR_FILENO) == 1);
  return arguments.came.empty() ? print(arguments, wanted, journal)
                                : judgeLists(arguments, wanted, journal);
}

}  // namespace

int main(int argc, char** argv) {
  kestra::openMissingStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);  // a reader that goes is a failed write
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  Result<Arguments> parsed = parseArguments(words);
  if (!parsed) {
    std::fprintf(stderr, "kestra-paper: %s\nTry: kestra-paper --help\n", parsed.problem().c_str());
    return kNotDone;
  }
  Arguments& arguments = *parsed;
  if (arguments.help || arguments.version) {
    const std::string text =
        arguments.help ? helpText() : "kestra-paper (rastertokestra) " KESTRA_VERSION "\n";
    return writeAll(STDOUT_FILENO, text) ? kAllWell : kNotDone;
  }
  return run(arguments);
}
