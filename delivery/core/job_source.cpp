// Matches commands and frames: the n-th command belongs to the n-th frame, and at the next command
// or at the end of the input a frame is there or never will be.
#include "delivery/core/job_source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <tuple>

#include "filter/base/unbroken.h"

namespace kestra::delivery {
namespace {

constexpr std::size_t kMostRaw = std::size_t{256} << 10;  // a raw job waits in its pipe
constexpr long kPollMilliseconds = 20;

timespec timeOf(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 ? status.st_mtim : timespec{};
}

bool isBefore(const timespec& a, const timespec& b) {
  return std::tie(a.tv_sec, a.tv_nsec) < std::tie(b.tv_sec, b.tv_nsec);
}

}  // namespace

std::string pageCounterPath(const std::string& framesFolder, const std::string& queue) {
  if (queue.empty() || queue.find('/') != std::string::npos) return "";
  std::string name = queue;
  for (char& c : name) {
    if (c < ' ' || c > '~') c = '_';
  }
  return framesFolder + "/" + name + ".pgc";
}

JobSource::JobSource(int input, FrameIntake& intake, std::string counter, Watch& watch)
    : input_(input), intake_(intake), counter_(std::move(counter)), watch_(watch) {
  watch_.add(input_, [this] { readInput(); });
  if (intake_.descriptor() < 0) return;
  watch_.add(intake_.descriptor(), [this] { intake_.look(); });
  watch_.keep(intake_.notices());
}

JobSource::~JobSource() {
  if (!hasEnded_) watch_.remove(input_);
  if (intake_.descriptor() >= 0) watch_.remove(intake_.descriptor());
}

void JobSource::readInput() {
  std::array<std::uint8_t, 65536> part = {};
  const ssize_t got = unbroken([&] { return read(input_, part.data(), part.size()); });
  if (got < 0 && errno == EAGAIN) return;
  if (got <= 0) {
    endOfInput();
    return;
  }
  unsorted_.insert(unsorted_.end(), part.begin(), part.begin() + got);
  sort();
  // Frames that were stored before these commands are there now.
  intake_.look();
  countFrames();
  if (isRaw_ && unsorted_.size() >= kMostRaw) watch_.remove(input_);
}

// Takes commands off the front until something else stands there. A command that is followed by
// other bytes, and whose page never came, is part of what a person sent to the printer as it is.
void JobSource::sort() {
  if (isRaw_) return;
  std::size_t at = 0;
  while (at < unsorted_.size()) {
    const std::size_t left = unsorted_.size() - at;
    const std::size_t same = commandPrefix(&unsorted_[at], left);
    if (same < std::min(left, kCommandBytes)) {
      isRaw_ = true;
      break;
    }
    if (left < kCommandBytes) break;
    Command command = {};
    std::copy_n(&unsorted_[at], kCommandBytes, command.begin());
    commands_.push_back(command);
    at += kCommandBytes;
  }
  unsorted_.erase(unsorted_.begin(), unsorted_.begin() + static_cast<std::ptrdiff_t>(at));
  if (!isRaw_) return;
  intake_.look();
  const std::size_t pages = std::max(begun_, intake_.frames().size());
  while (commands_.size() > pages) {
    unsorted_.insert(unsorted_.begin(), commands_.back().begin(), commands_.back().end());
    commands_.pop_back();
  }
}

// Frames that appear from now on belong to another start of the same job, which renders beside us
// after the print system died: they are its own, to print and to remove.
void JobSource::endOfInput() {
  intake_.look();
  hasEnded_ = true;
  watch_.remove(input_);
  if (intake_.descriptor() >= 0) watch_.remove(intake_.descriptor());
  if (!unsorted_.empty()) isRaw_ = true;
  // Asked now: the print system may empty the folder before the last label is out.
  endedWell_ = filterEndedWell();
  if (intake_.hasDoubtful()) {
    // A filter that was cut off may have announced a page that it did not store.
    intake_.decide(endedWell_ && !isRaw_ ? commands_.size() : 0);
  }
  countFrames();
}

// The filter has stored a page when it announces the next one. Where one of them is not there,
// nobody can say which frame behind the last count that was right belongs to which command.
void JobSource::countFrames() {
  if (isRaw_ || commands_.empty() || intake_.hasDoubtful()) return;
  const std::size_t stored = commands_.size() - (hasEnded_ ? 0 : 1);
  if (intake_.frames().size() < stored) {
    isShort_ = true;
  } else if (!isShort_) {
    sure_ = stored;
  }
}

std::optional<std::size_t> JobSource::total() const {
  if (!hasEnded_) return std::nullopt;
  return commands_.size();
}

Next JobSource::announced(std::size_t number, const Patience& patience) {
  while (commands_.size() < number) {
    if (isRaw_) return Next::kRaw;
    if (hasEnded_) return endOfPages();
    if (watch_.await(patience) != Woken::kReady) return Next::kStopped;
  }
  return Next::kPage;
}

Next JobSource::page(std::size_t number, Page& page, const Patience& patience) {
  for (;;) {
    const Next there = announced(number, patience);
    if (there != Next::kPage) return there;
    if (isShort_ && number > sure_) {
      problem_ = "page " + std::to_string(sure_ + 1) + " was not stored by the filter";
      return Next::kMissing;
    }
    if (intake_.hasDoubtful()) {
      if (watch_.await(patience) != Woken::kReady) return Next::kStopped;
      continue;
    }
    if (intake_.frames().size() >= number) break;
    if (commands_.size() > number || hasEnded_) {
      if (!hasEnded_) intake_.look();
      if (intake_.frames().size() >= number) break;
      problem_ = "page " + std::to_string(number) + " was not stored by the filter";
      return Next::kMissing;
    }
    Patience moment = patience;
    if (intake_.mustBePolled()) {
      const auto soon = Clock::now() + std::chrono::milliseconds(kPollMilliseconds);
      moment.until = std::min(moment.until, soon);
    }
    const Woken woken = watch_.await(moment);
    if (woken == Woken::kStopped || Clock::now() >= patience.until) return Next::kStopped;
    if (woken == Woken::kTime) intake_.look();
  }
  begun_ = std::max(begun_, number);
  if (intake_.frames()[number - 1].isGone) {
    problem_ = "page " + std::to_string(number) + " was removed before it could be taken";
    return Next::kMissing;
  }
  ReadPage read = readPage(intake_.frames()[number - 1].kept, commands_[number - 1]);
  if (!read.problem.empty()) {
    problem_ = std::move(read.problem);
    return Next::kBad;
  }
  page = std::move(read.page);
  return Next::kPage;
}

// A filter that was killed leaves an input that ends like any other; but only one that has printed
// its document to the end stores the page counter behind its last frame.
bool JobSource::filterEndedWell() const {
  const auto& frames = intake_.frames();
  if (counter_.empty() || (frames.empty() && !intake_.hasFolder())) return true;
  const timespec last = frames.empty() ? intake_.birth() : frames.back().made;
  return !isBefore(timeOf(counter_), last);
}

Next JobSource::endOfPages() {
  if (intake_.frames().size() > commands_.size()) {
    problem_ = "the filter stored more pages than it announced";
    return Next::kMissing;
  }
  if (!endedWell_) {
    problem_ = "the filter ended before the end of the document";
    return Next::kCut;
  }
  return Next::kEnd;
}

Next JobSource::raw(std::vector<std::uint8_t>& bytes, const Patience& patience) {
  while (unsorted_.empty() && !hasEnded_) {
    if (watch_.await(patience) != Woken::kReady) return Next::kStopped;
  }
  const bool wasFull = unsorted_.size() >= kMostRaw;
  bytes = std::move(unsorted_);
  unsorted_.clear();
  if (wasFull && !hasEnded_) watch_.add(input_, [this] { readInput(); });
  if (!bytes.empty()) return Next::kRaw;
  return intake_.frames().size() > commands_.size() ? endOfPages() : Next::kEnd;
}

}  // namespace kestra::delivery
