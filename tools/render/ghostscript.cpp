// One child process with a log, and a mark behind the end of a file.
//
// What follows the end of a PDF is no part of it to any reader.
#include "tools/render/ghostscript.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "tools/render/chain.h"
#include "tools/render/child.h"
#include "tools/render/document_type.h"
#include "tools/render/private_directory.h"
#include "tools/render/search_path.h"

namespace kestra {
namespace {

std::string lineOf(const std::string& mark) { return "%" + mark + "\n"; }

}  // namespace

GhostscriptRun runGhostscript(const std::vector<std::string>& words, const std::string& directory) {
  GhostscriptRun run;
  Program program;
  program.path = onPath("gs");
  if (program.path.empty()) {
    run.problem = missingProgram(DocumentType::kPostScript);
    return run;
  }
  program.words = {"gs", "-q", "-dBATCH", "-dNOPAUSE", "-dSAFER", "-dAutoRotatePages=/None"};
  program.words.insert(program.words.end(), words.begin(), words.end());
  program.environment = {{"TMPDIR", directory}};
  const std::string log = directory + "/gs.log";
  const int messages = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  program.output = messages;
  program.messages = messages;
  Child child;
  const Result<void> started = child.start(program);
  const int status = started ? child.wait() : -1;
  if (messages >= 0) close(messages);
  std::ifstream file(log);
  run.said.assign(std::istreambuf_iterator<char>(file), {});
  run.problem = started.problem();
  if (started && status != 0) {
    run.problem = "drawing the pages failed: gs ended with " + endWords(status);
  }
  return run;
}

bool placePdf(const std::string& from, const std::string& to, const std::string& mark) {
  std::ofstream(from, std::ios::app | std::ios::binary) << lineOf(mark);
  std::error_code ignored;  // moving tells whether there is a way
  std::filesystem::remove(to, ignored);
  return moveFile(from, to);
}

bool isPlacedPdf(const std::string& path, const std::string& mark) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::string line = lineOf(mark);
  const std::streamoff size = file.tellg();
  if (!file || size < static_cast<std::streamoff>(line.size())) return false;
  file.seekg(size - static_cast<std::streamoff>(line.size()));
  std::string last(line.size(), '\0');
  file.read(last.data(), static_cast<std::streamsize>(last.size()));
  return file && last == line;
}

}  // namespace kestra
