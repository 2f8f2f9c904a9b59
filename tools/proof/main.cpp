// kestra-proof: shows page frames in words and as pictures of their very dots.
//
// What comes out of the print head can be looked at, measured and compared before paper is spent.
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "tools/frame/page_frame.h"
#include "tools/frame/print_setting.h"
#include "tools/proof/arguments.h"
#include "tools/proof/files.h"
#include "tools/proof/png_writer.h"
#include "tools/proof/report.h"

namespace {

constexpr int kAllWell = 0;
constexpr int kSomethingBroken = 1;
constexpr int kWrongUsage = 2;

bool complain(const std::string& path, const std::string& problem) {
  std::fflush(stdout);  // keeps the lines of both streams in the order of the inputs
  std::fprintf(stderr, "kestra-proof: %s: %s\n", path.c_str(), problem.c_str());
  return false;
}

bool proofCommand(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  const kestra::ParsedSettings parsed = kestra::parsePrintSettings(bytes);
  std::size_t page = 0;
  for (const kestra::PrintSetting& setting : parsed.settings) {
    std::printf("%s: command %zu: %s\n", path.c_str(), ++page, describe(setting).c_str());
  }
  return parsed.problem.empty() || complain(path, parsed.problem);
}

bool proofCounter(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::string problem;
  const auto counter = kestra::parsePageCounter(bytes, problem);
  if (!counter) return complain(path, problem);
  std::printf("%s: the next page gets the number %u\n", path.c_str(), unsigned{*counter});
  return true;
}

bool proofFrame(const std::string& path, std::vector<std::uint8_t> bytes,
                const kestra::Arguments& arguments, std::vector<std::string>& written) {
  const kestra::ParsedFrame parsed = kestra::parsePageFrame(std::move(bytes));
  if (!parsed.frame) return complain(path, parsed.problem);
  const kestra::PageFrame& frame = *parsed.frame;
  std::printf("%s:\n%s", path.c_str(), describeFrame(frame, arguments.dpi).c_str());

  const std::string picture = kestra::picturePath(arguments, path);
  std::string problem;
  if (!kestra::mayWrite(picture, arguments.inputs, written, problem) ||
      !kestra::writePng(picture, frame, arguments.dpi, problem)) {
    return complain(path, problem);
  }
  written.push_back(picture);
  std::printf("  picture:     %s, %zu x %u pixels\n", picture.c_str(), frame.drawn_width(),
              unsigned{frame.row_count});
  return true;
}

bool proofInput(const kestra::Input& input, const kestra::Arguments& arguments,
                std::vector<std::string>& written) {
  std::vector<std::uint8_t> bytes;
  std::string problem;
  if (!kestra::readFile(input.path, bytes, problem)) return complain(input.path, problem);
  switch (input.kind) {
    case kestra::InputKind::kCommand:
      return proofCommand(input.path, bytes);
    case kestra::InputKind::kPageCounter:
      return proofCounter(input.path, bytes);
    case kestra::InputKind::kFrame:
      break;
  }
  return proofFrame(input.path, std::move(bytes), arguments, written);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> words;
  for (int i = 1; i < argc; ++i) words.emplace_back(argv[i]);
  kestra::Arguments arguments;
  std::string problem;
  if (!kestra::parseArguments(words, arguments, problem)) {
    std::fprintf(stderr, "kestra-proof: %s\nTry: kestra-proof --help\n", problem.c_str());
    return kWrongUsage;
  }
  if (arguments.help) {
    std::fputs(kestra::helpText(), stdout);
    return kAllWell;
  }
  if (arguments.version) {
    std::puts("kestra-proof " KESTRA_VERSION);
    return kAllWell;
  }

  bool allWell = true;
  std::vector<std::string> written;
  for (const kestra::Input& input : arguments.inputs) {
    if (!proofInput(input, arguments, written)) allWell = false;
  }
  if (std::fflush(stdout) != 0) allWell = complain("standard output", "cannot be written");
  return allWell ? kAllWell : kSomethingBroken;
}
