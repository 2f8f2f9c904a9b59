// Runs the renderers one by one; the last one's pages are read while it draws them.
//
// Printer description, options and environment are those of a job; the text between the programs
// is small and goes through files, the raster stream is large and never lies on the disk.
#include "tools/render/chain.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <utility>

#include "tools/fit/description.h"
#include "tools/render/pdf_file.h"
#include "tools/render/search_path.h"

namespace kestra {
namespace {

constexpr std::size_t kLastWords = 5;

struct Renderer {
  const char* name;
  const char* package;  // Debian and Ubuntu
};
constexpr Renderer kGhostscript = {"gs", "ghostscript"};
constexpr Renderer kGhostscriptRaster = {"gstoraster", "cups-filters"};
constexpr Renderer kPages = {"pdftopdf", "cups-filters-core-drivers"};
constexpr Renderer kText = {"texttopdf", "cups-filters"};
constexpr Renderer kImage = {"imagetoraster", "cups-filters"};

// The directory of the print system's filters; tests name another one.
std::string filterDirectory() {
  const char* other = std::getenv("CUPS_FILTER_DIR");
  return other != nullptr && *other != '\0' ? other : KESTRA_CUPS_FILTER_DIR;
}

std::string placeOf(const Renderer& renderer) {
  if (renderer.name == kGhostscript.name) return onPath(renderer.name);
  const std::string file = filterDirectory() + "/" + renderer.name;
  return access(file.c_str(), X_OK) == 0 ? file : std::string();
}

std::vector<Renderer> renderersOf(DocumentType type) {
  switch (type) {
    case DocumentType::kPdf:
    case DocumentType::kPostScript:
      return {kGhostscript, kPages, kGhostscriptRaster};
    case DocumentType::kText:
      return {kGhostscript, kText, kPages, kGhostscriptRaster};
    case DocumentType::kImage:
      return {kImage};
    case DocumentType::kRaster:
    case DocumentType::kFrame:
      break;
  }
  return {};
}

const char* contentType(DocumentType type) {
  switch (type) {
    case DocumentType::kPostScript:
      return "application/postscript";
    case DocumentType::kText:
      return "text/plain";
    case DocumentType::kImage:
      return "image/png";
    default:
      return "application/pdf";
  }
}

// A program of the print system with the arguments and the environment of a job.
Program jobProgram(const ChainRequest& request, const Renderer& renderer, int copies) {
  Program program;
  program.path = placeOf(renderer);
  program.words = {"proof",
                   "1",
                   "proof",
                   std::filesystem::path(request.document).filename(),
                   std::to_string(copies),
                   request.options};
  program.environment = {{"PPD", request.ppd},
                         {"PATH", safePath()},
                         {"PRINTER", "proof"},
                         {"CHARSET", "utf-8"},
                         {"LANG", "en_US.UTF-8"},
                         {"TMPDIR", request.work},
                         {"HOME", request.work},
                         {"CONTENT_TYPE", contentType(request.type)},
                         {"FINAL_CONTENT_TYPE", "application/vnd.cups-raster"}};
  return program;
}

bool isEncapsulated(const std::string& path) {
  std::array<char, 64> first = {};
  std::ifstream file(path, std::ios::binary);
  file.read(first.data(), first.size());
  return std::string(first.data(), first.size()).find("EPSF") != std::string::npos;
}

Program postScriptProgram(const ChainRequest& request, const std::string& output) {
  Program program;
  program.path = placeOf(kGhostscript);
  program.words = {"gs",
                   "-q",
                   "-dBATCH",
                   "-dNOPAUSE",
                   "-dSAFER",
                   "-dAutoRotatePages=/None",
                   "-sDEVICE=pdfwrite"};
  if (isEncapsulated(request.document)) program.words.emplace_back("-dEPSCrop");
  program.words.push_back("-sOutputFile=" + output);
  program.words.emplace_back("-");  // standard input: no name of a file is taken for an option
  program.environment = {{"PATH", safePath()}, {"TMPDIR", request.work}};
  return program;
}

// The last messages of a program that are no mere progress.
std::string lastWords(const std::string& log) {
  std::deque<std::string> lines;
  std::ifstream file(log);
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.rfind("DEBUG", 0) == 0 || line.rfind("INFO", 0) == 0) continue;
    lines.push_back(line);
    if (lines.size() > kLastWords) lines.pop_front();
  }
  std::string text;
  for (const std::string& line : lines) text += "\n    " + line;
  return text;
}

// A file that is closed at the end.
class OpenFile {
 public:
  OpenFile(const std::string& path, int flags)
      : descriptor_(open(path.c_str(), flags | O_CLOEXEC, 0600)) {}
  ~OpenFile() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  int get() const { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace

std::string missingProgram(DocumentType type) {
  for (const Renderer& renderer : renderersOf(type)) {
    if (!placeOf(renderer).empty()) continue;
    const bool onThePath = renderer.name == kGhostscript.name;
    return std::string("the program ") + renderer.name + " is missing " +
           (onThePath ? "on the PATH" : "in " + filterDirectory()) + "; install the package " +
           renderer.package + " (sudo apt-get install " + renderer.package + ")";
  }
  return {};
}

Chain::~Chain() {
  if (stream_ >= 0) ::close(stream_);
}

Result<void> Chain::step(const ChainRequest& request, const std::string& what, Program program,
                         const std::string& input, const std::string& output) {
  const OpenFile in(input, O_RDONLY);
  const OpenFile out(output, O_WRONLY | O_CREAT | O_TRUNC);
  const OpenFile log(log_, O_WRONLY | O_CREAT | O_APPEND);
  if (in.get() < 0 || out.get() < 0 || log.get() < 0) {
    return Problem{what + " failed: " + std::strerror(errno) + " in " + request.work};
  }
  program.input = in.get();
  program.output = out.get();
  program.messages = log.get();
  Child child;
  if (Result<void> started = child.start(program); !started) return started;
  const int status = child.wait();
  if (status == 0) return {};
  const std::string name = std::filesystem::path(program.path).filename();
  return Problem{what + " failed: " + name + " ended with " + endWords(status) + lastWords(log_)};
}

Result<void> Chain::last(const ChainRequest& request, Program program, const std::string& input) {
  std::array<int, 2> ends = {-1, -1};
  const OpenFile in(input.empty() ? "/dev/null" : input, O_RDONLY);
  const OpenFile log(log_, O_WRONLY | O_CREAT | O_APPEND);
  if (in.get() < 0 || log.get() < 0 || pipe2(ends.data(), O_CLOEXEC) != 0) {
    return Problem{std::string("drawing the pages failed: ") + std::strerror(errno) + " in " +
                   request.work};
  }
  program.input = in.get();
  program.output = ends[1];
  program.messages = log.get();
  Result<void> started = renderer_.start(program);
  ::close(ends[1]);
  stream_ = ends[0];
  return started;
}

Result<void> Chain::open(const ChainRequest& request) {
  Result<void> rendered = render(request);
  if (!rendered || !fitsPages(request.ppd.c_str())) return rendered;
  const Result<int> fitted = fitting_.start(stream_, request.ppd, request.work + "/fit.notes");
  ::close(stream_);
  stream_ = fitted ? *fitted : -1;
  if (!fitted) return Problem{fitted.problem()};
  return {};
}

Result<void> Chain::render(const ChainRequest& request) {
  log_ = request.work + "/render.log";
  if (request.type == DocumentType::kRaster) {
    stream_ = ::open(request.document.c_str(), O_RDONLY | O_CLOEXEC);
    if (stream_ < 0) return Problem{std::string("cannot be read: ") + std::strerror(errno)};
    return {};
  }
  const std::string missing = missingProgram(request.type);
  if (!missing.empty()) return Problem{missing};
  if (request.type == DocumentType::kImage) {
    Program program = jobProgram(request, kImage, request.copies);
    program.words.push_back(request.document);
    return last(request, program, "");
  }

  std::string pdf = request.document;
  if (request.type == DocumentType::kPdf) {
    const Result<PdfLook> look = lookAtPdf(pdf);
    if (!look) return Problem{look.problem()};
    damaged_ = look->damaged;
  }
  if (request.type != DocumentType::kPdf) {
    pdf = request.work + "/document.pdf";
    const bool text = request.type == DocumentType::kText;
    // Copies are made once, when the pages are placed.
    const Program program = text ? jobProgram(request, kText, 1) : postScriptProgram(request, pdf);
    const std::string output = text ? pdf : request.work + "/gs.out";
    Result<void> read = step(request, std::string("reading the ") + typeWords(request.type),
                             program, request.document, output);
    if (!read) return read;
  }
  const std::string pages = request.work + "/pages.pdf";
  Program placing = jobProgram(request, kPages, request.copies);
  placing.words.push_back(pdf);
  Result<void> placed = step(request, "placing the pages", placing, "/dev/null", pages);
  if (!placed) return placed;
  scales_ = placedScales(pages);
  return last(request, jobProgram(request, kGhostscriptRaster, request.copies), pages);
}

Result<void> Chain::close() {
  if (stream_ >= 0) ::close(stream_);
  stream_ = -1;
  const int fitted = fitting_.wait();
  if (fitted != 0) {
    return Problem{"fitting the pages failed: it ended with " + endWords(fitted)};
  }
  if (!renderer_.running()) return {};
  const int status = renderer_.wait();
  if (status == 0) return {};
  return Problem{"drawing the pages failed: the renderer ended with " + endWords(status) +
                 lastWords(log_)};
}

}  // namespace kestra
