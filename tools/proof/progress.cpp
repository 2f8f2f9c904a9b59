// Draws the progress bar over itself on one line of the terminal.
//
// Short documents are done before it would appear.
#include "tools/proof/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace kestra::proof {
namespace {

constexpr auto kPatience = std::chrono::milliseconds(500);
constexpr std::size_t kBarWidth = 30;
constexpr std::size_t kUsualColumns = 80;

std::size_t terminalColumns() {
  winsize size = {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return kUsualColumns;
}

}  // namespace

ProgressBar::ProgressBar(bool wanted)
    : on_(wanted && isatty(STDERR_FILENO) == 1), start_(std::chrono::steady_clock::now()) {}

std::string progressText(const std::string& document, std::size_t pages,
                         std::optional<unsigned> expected, std::size_t columns) {
  std::string text;
  if (expected && *expected > 0) {
    const std::size_t done = std::min<std::size_t>(kBarWidth, kBarWidth * pages / *expected);
    text = " [" + std::string(done, '#') + std::string(kBarWidth - done, ' ') + "] page " +
           std::to_string(pages) + " of " + std::to_string(*expected);
  } else {
    text = ": " + std::to_string(pages) + (pages == 1 ? " page" : " pages");
  }
  if (text.size() >= columns) return text.substr(0, columns);
  return document.substr(0, columns - text.size()) + text;
}

void ProgressBar::show(const std::string& document, std::size_t pages,
                       std::optional<unsigned> expected) {
  if (!on_ || std::chrono::steady_clock::now() - start_ < kPatience) return;
  const std::string text = progressText(document, pages, expected, terminalColumns() - 1);
  std::fprintf(stderr, "\r\033[K%s", text.c_str());
  std::fflush(stderr);
  drawn_ = true;
}

void ProgressBar::clear() {
  if (!drawn_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  drawn_ = false;
}

}  // namespace kestra::proof
