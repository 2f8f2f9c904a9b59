// The child notes each page that it changes in a file, before the page leaves.
#include "tools/render/fitting.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

#include "tools/fit/description.h"
#include "tools/fit/fit_stream.h"

namespace kestra {
namespace {

int fitInChild(int from, int to, int notes, double headPoints) {
  std::signal(SIGPIPE, SIG_IGN);
  const auto note = [&](const PageChange& change) {
    const RowFit& fit = change.fit;
    const std::string line = std::to_string(change.page) + " " + std::to_string(fit.skip) + " " +
                             std::to_string(fit.keep) + " " + std::to_string(fit.cutRight) + " " +
                             std::to_string(fit.fill) + "\n";
    // A page without its note is shown as it is, only without a warning.
    static_cast<void>(!write(notes, line.data(), line.size()));
  };
  const FitResult result = fitStream(from, to, headPoints, note);
  return result.state == RelayState::kReadFailed || result.state == RelayState::kWriteFailed ? 1
                                                                                             : 0;
}

}  // namespace

Result<int> Fitting::start(int stream, const std::string& ppd, const std::string& notes) {
  notes_ = notes;
  std::array<int, 2> ends = {-1, -1};
  const int file = open(notes.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (file < 0 || pipe2(ends.data(), O_CLOEXEC) != 0) {
    const Problem problem{std::string("fitting the pages failed: ") + std::strerror(errno)};
    if (file >= 0) close(file);
    return problem;
  }
  const double head = headPoints(ppd.c_str());
  const auto body = [&] {
    close(ends[0]);
    return fitInChild(stream, ends[1], file, head);
  };
  const Result<void> started = child_.run(body);
  close(ends[1]);
  close(file);
  if (started) return ends[0];
  close(ends[0]);
  return Problem{started.problem()};
}

RowFit Fitting::change(std::size_t number) {
  if (notes_.empty()) return {};
  std::ifstream file(notes_);
  file.seekg(static_cast<std::streamoff>(read_));
  for (std::string line; std::getline(file, line) && !file.eof(); read_ += line.size() + 1) {
    std::istringstream words(line);
    std::size_t page = 0;
    RowFit fit;
    if (words >> page >> fit.skip >> fit.keep >> fit.cutRight >> fit.fill) changes_[page] = fit;
  }
  const auto found = changes_.find(number);
  return found == changes_.end() ? RowFit{} : found->second;
}

}  // namespace kestra
