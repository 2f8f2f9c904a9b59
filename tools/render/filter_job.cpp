// Runs `runJob` in a child whose current directory holds the relative places of the spool.
//
// A page leaves a frame and two page-sized debug images: they are taken away page by page, so a
// long document needs no more room than a short one.
#include "tools/render/filter_job.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <utility>

#include "filter/job.h"
#include "tools/render/job_log.h"
#include "tools/render/private_directory.h"

namespace kestra {
namespace {

constexpr const char* kSpool = "/var/spool/cups/tmp";  // below the job's directory
constexpr const char* kCommands = "/commands.bin";
constexpr const char* kLog = "/filter.log";
constexpr const char* kPages = "/pages.txt";  // "1 frame", a line for each page that is done
constexpr const char* kQueue = "proof";
constexpr std::size_t kCommandBytes = 7;
constexpr std::size_t kImagesPerPage = 2;
constexpr int kCannotStart = 126;
constexpr mode_t kOwnerOnly = 077;

// Only in the child.
bool redirect(const std::string& path, int target) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  return descriptor >= 0 && dup2(descriptor, target) == target;
}

[[noreturn]] void stopForLackOfMemory() {
  std::fputs("ERROR:There is not enough memory for this page; try a lower resolution.\n", stderr);
  _exit(EXIT_FAILURE);
}

// "origin_2026-1-2_3_4_5_17.bmp" -> 17, the number of the image within its process.
std::size_t imageNumber(const std::string& name) {
  return std::strtoul(name.c_str() + name.rfind('_') + 1, nullptr, 10);
}

std::vector<std::filesystem::path> filesIn(const std::string& directory) {
  std::vector<std::filesystem::path> files;
  std::error_code error;
  for (std::filesystem::directory_iterator at(directory, error), end; !error && at != end;
       at.increment(error)) {
    files.push_back(at->path());
  }
  return files;
}

}  // namespace

FilterJob::FilterJob(FilterRequest request) : request_(std::move(request)) {}

FilterJob::~FilterJob() { endOfPages(); }

int FilterJob::runInChild(const std::vector<int>& others, int pages) const {
  for (const int other : others) close(other);
  if (chdir(request_.directory.c_str()) != 0 || dup2(pages, STDIN_FILENO) != STDIN_FILENO ||
      !redirect(request_.directory + kCommands, STDOUT_FILENO) ||
      !redirect(request_.directory + kLog, STDERR_FILENO)) {
    return kCannotStart;
  }
  close(pages);
  umask(kOwnerOnly);
  std::signal(SIGPIPE, SIG_IGN);
  std::set_new_handler(stopForLackOfMemory);
  std::setvbuf(stdout, nullptr, _IONBF, 0);  // each command is in its file when its page begins
  setenv("PPD", request_.ppd.c_str(), 1);
  setenv("PRINTER", kQueue, 1);
  std::array<std::string, 6> words = {
      kQueue, "1", kQueue, request_.title, std::to_string(request_.copies), request_.options};
  std::array<char*, 7> argv = {};
  for (std::size_t i = 0; i < words.size(); ++i) argv[i] = words[i].data();
  std::ofstream done(request_.directory + kPages);
  const auto note = [&](int page, const std::string& frame) {
    done << page << " " << frame << "\n" << std::flush;  // read while the job goes on
  };
  const int status = runJob(static_cast<int>(words.size()), argv.data(), note);
  std::fflush(nullptr);
  return status;
}

Result<void> FilterJob::start(const std::vector<int>& others) {
  std::error_code error;
  for (const char* place : {"/tmp", kSpool}) {
    std::filesystem::create_directories(request_.directory + place, error);
    if (error) {
      return Problem{request_.directory + place + " cannot be made: " + error.message()};
    }
  }
  std::array<int, 2> ends = {-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    return Problem{std::string("the filter cannot be started: ") + std::strerror(errno)};
  }
  input_ = ends[1];
  std::vector<int> closed = others;
  closed.push_back(input_);
  Result<void> started = child_.run([&] { return runInChild(closed, ends[0]); });
  close(ends[0]);
  return started;
}

bool FilterJob::feed(const std::uint8_t* data, std::size_t size) {
  while (size > 0 && input_ >= 0) {
    const ssize_t written = write(input_, data, size);
    if (written < 0 && errno == EINTR && interruptSignal() == 0) continue;
    if (written < 0) {  // the job has ended; what it had to say is in its log
      endOfPages();
      break;
    }
    data += written;
    size -= static_cast<std::size_t>(written);
  }
  return input_ >= 0;
}

void FilterJob::endOfPages() {
  if (input_ >= 0) close(input_);
  input_ = -1;
}

int FilterJob::wait() {
  endOfPages();
  const int status = child_.wait();
  ended_ = true;
  follow();
  std::ifstream log(request_.directory + kLog);
  errors_ = reportedErrors(log);
  return status;
}

void FilterJob::follow() {
  std::ifstream file(request_.directory + kPages);
  file.seekg(static_cast<std::streamoff>(pagesRead_));
  for (std::string line; std::getline(file, line) && !file.eof(); pagesRead_ += line.size() + 1) {
    frames_[std::strtoul(line.c_str(), nullptr, 10)] = line.substr(line.find(' ') + 1);
  }
}

bool FilterJob::settled(std::size_t page) const { return ended_ || frames_.count(page) != 0; }

std::vector<std::uint8_t> FilterJob::takeFrame(std::size_t page) {
  const auto done = frames_.extract(page);  // a long job's list stays short
  if (done.empty() || done.mapped().empty()) return {};
  const std::string path = request_.directory + "/" + done.mapped();
  std::ifstream file(path, std::ios::binary);
  std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file),
                                  std::istreambuf_iterator<char>()};
  file.close();
  keepFile(path);
  clearImages(++framesTaken_ * kImagesPerPage);
  return bytes;
}

std::vector<std::uint8_t> FilterJob::command(std::size_t page) const {
  std::ifstream file(request_.directory + kCommands, std::ios::binary);
  file.seekg(static_cast<std::streamoff>((page - 1) * kCommandBytes));
  std::vector<std::uint8_t> bytes;
  char byte = 0;
  while (bytes.size() < kCommandBytes && file.get(byte)) {
    bytes.push_back(static_cast<std::uint8_t>(byte));
  }
  return bytes;
}

// Keeps or removes the images before number `finished`; those behind it may still be written to.
void FilterJob::clearImages(std::size_t finished) {
  for (const std::filesystem::path& file : filesIn(request_.directory + kSpool)) {
    if (file.extension() != ".bmp" || (!ended_ && imageNumber(file.filename()) >= finished))
      continue;
    keepFile(file);
  }
}

void FilterJob::keepFile(const std::string& path) const {
  const std::string name = std::filesystem::path(path).filename();
  if (request_.keep.empty() || !moveFile(path, request_.keep + "/" + name)) {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
  }
}

void FilterJob::keepRest() {
  clearImages(0);
  for (const std::filesystem::path& file : filesIn(request_.directory + kSpool + "/kcv6data")) {
    keepFile(file);
  }
  for (const char* file : {kCommands, kLog}) keepFile(request_.directory + file);
}

}  // namespace kestra
