// Listens to the folder first and looks at it afterwards, so that nothing slips between the two; a
// file that is seen twice is taken once.
#include "delivery/core/frame_intake.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <tuple>

#include "filter/base/file.h"

namespace kestra::delivery {
namespace {

constexpr char kNameStart[] = "page_";
constexpr char kNameEnd[] = ".dat";

bool isEarlier(const timespec& a, const timespec& b) {
  return std::tie(a.tv_sec, a.tv_nsec) < std::tie(b.tv_sec, b.tv_nsec);
}

// "page_0001_jobid_000012_0000.dat" with the mark "_jobid_000012_".
bool isFrameName(const std::string& name, const std::string& mark) {
  constexpr std::size_t kStart = sizeof kNameStart - 1;
  constexpr std::size_t kEnd = sizeof kNameEnd - 1;
  if (name.size() <= kStart + mark.size() + kEnd) return false;
  if (name.compare(0, kStart, kNameStart) != 0) return false;
  if (name.compare(name.size() - kEnd, kEnd, kNameEnd) != 0) return false;
  const std::size_t digits = name.find_first_not_of("0123456789", kStart);
  return digits != kStart && name.compare(digits, mark.size(), mark) == 0;
}

bool copyFile(const std::string& from, const std::string& to) {
  const int source = open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  const int target =
      source < 0 ? -1
                 : open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  bool copied = target >= 0;
  while (copied) {
    constexpr std::size_t kPart = 1 << 20;
    const ssize_t now = sendfile(target, source, nullptr, kPart);
    if (now == 0) break;
    copied = now > 0;
  }
  // The copy is as old as the frame, so that it can be told whose copy it is.
  struct stat status = {};
  if (copied && fstat(source, &status) == 0) {
    const timespec times[] = {status.st_atim, status.st_mtim};
    static_cast<void>(futimens(target, times));
  }
  if (target >= 0) close(target);
  if (source >= 0) close(source);
  if (target >= 0 && !copied) unlink(to.c_str());
  return copied;
}

// What stands in the names of a job's frames.
std::string markOf(int job) {
  std::array<char, 32> mark = {};
  std::snprintf(mark.data(), mark.size(), "_jobid_%06d_", job);
  return mark.data();
}

// The number of a file that was removed is soon another's, so its time belongs to it.
FrameIntake::Identity identityOf(const struct stat& status) {
  return {status.st_dev, status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

struct FolderCloser {
  void operator()(DIR* folder) const { closedir(folder); }
};
using FolderPtr = std::unique_ptr<DIR, FolderCloser>;

std::shared_ptr<const int> openNotices() {
  const int descriptor = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (descriptor < 0) return nullptr;
  return {new int(descriptor), [](const int* owned) {
            close(*owned);
            delete owned;
          }};
}

struct Found {
  timespec time;
  std::string name;
  FrameIntake::Identity file;
};

// Of frames made within one tick of the clock the names decide: within such a time one filter wrote
// them, with rising page and sequence numbers.
bool isBefore(const Found& a, const Found& b) {
  if (isEarlier(a.time, b.time)) return true;
  return !isEarlier(b.time, a.time) && a.name < b.name;
}

}  // namespace

FrameIntake::FrameIntake(std::string folder, int job, timespec birth)
    : folder_(std::move(folder)), mark_(markOf(job)), birth_(birth), notices_(openNotices()) {
  look();
}

void FrameIntake::watchFolder() {
  if (!hasFolder()) return;
  watch_ = inotify_add_watch(descriptor(), folder_.c_str(),
                             IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR);
}

bool FrameIntake::hasFolder() const { return isTrustedFolder(folder_.c_str()); }

// Where nothing was told the folder is read all the same: not every file system tells. Where
// something may have gone untold, a known name can be another file's by now.
void FrameIntake::look() {
  const Told told = drain();
  const bool isNew = mustBePolled();
  if (isNew && notices_ != nullptr) watchFolder();
  if (isNew || told == Told::kNotAll) names_.clear();
  if (isNew || told != Told::kAll) scan();
}

// A name that is free again becomes another frame's, so a file is the one that was told of only if
// nothing was told after it was looked at; and the files of a folder that is gone are gone as well.
FrameIntake::Told FrameIntake::drain() {
  if (notices_ == nullptr) return Told::kNotAll;
  const int watched = watch_;
  std::vector<std::string> names;
  Told told = readEvents(names);
  struct Newest {
    std::size_t place = 0;
    std::optional<Identity> file;
  };
  std::unordered_map<std::string, Newest> newest;
  std::size_t seen = 0;
  do {
    seen = names.size();
    for (std::size_t i = 0; i < seen; ++i) newest[names[i]].place = i;
    for (auto& [name, one] : newest) {
      struct stat status = {};
      const bool isThere = lstat((folder_ + "/" + name).c_str(), &status) == 0;
      one.file = isThere ? std::optional<Identity>(identityOf(status)) : std::nullopt;
    }
    told = std::max(told, readEvents(names));
  } while (names.size() != seen);
  for (std::size_t i = 0; i < seen; ++i) {
    const Newest& one = newest[names[i]];
    appeared(names[i], one.place == i && watch_ == watched ? one.file : std::nullopt);
  }
  return told;
}

// The folder may be removed and made anew while a job runs: then the watch is gone with it.
FrameIntake::Told FrameIntake::readEvents(std::vector<std::string>& names) {
  alignas(inotify_event) std::array<char, 16384> buffer = {};
  Told told = Told::kNothing;
  for (;;) {
    const ssize_t got = read(descriptor(), buffer.data(), buffer.size());
    if (got <= 0) return told;
    for (ssize_t at = 0; at < got;) {
      const auto* event =
          reinterpret_cast<const inotify_event*>(&buffer[static_cast<std::size_t>(at)]);
      at += static_cast<ssize_t>(sizeof *event + event->len);
      if ((event->mask & IN_Q_OVERFLOW) != 0) told = Told::kNotAll;
      if (event->wd != watch_) continue;
      if ((event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
        if ((event->mask & IN_MOVE_SELF) != 0) inotify_rm_watch(descriptor(), watch_);
        watch_ = -1;
      } else if (event->len > 0) {
        told = std::max(told, Told::kAll);
        if (isFrameName(event->name, mark_)) names.emplace_back(event->name);
      }
    }
  }
}

// A long job has thousands of frames: those that are known cost no more than their line.
void FrameIntake::scan() {
  if (!hasFolder()) return;
  const FolderPtr folder(opendir(folder_.c_str()));
  std::vector<Found> found;
  while (const dirent* entry = folder == nullptr ? nullptr : readdir(folder.get())) {
    const auto known = names_.find(entry->d_ino);
    if (known != names_.end() && known->second == entry->d_name) continue;
    const std::string name = entry->d_name;
    struct stat status = {};
    if (!isFrameName(name, mark_) || lstat((folder_ + "/" + name).c_str(), &status) != 0) continue;
    if (seen_.count(identityOf(status)) > 0) continue;
    found.push_back({status.st_mtim, name, identityOf(status)});
  }
  std::sort(found.begin(), found.end(), isBefore);
  for (const Found& one : found) {
    if (take(one.name, one.file) && watch_ >= 0) early_.insert(one.name);
  }
}

// What is gone keeps its place: else the frames behind it would be taken for the pages before them.
void FrameIntake::appeared(const std::string& name, const std::optional<Identity>& file) {
  const bool wasTaken = early_.erase(name) > 0;
  if ((file && take(name, *file)) || wasTaken) return;
  TakenFrame gone;
  gone.original = gone.kept = folder_ + "/" + name;
  gone.isGone = true;
  frames_.push_back(gone);
}

// False where this file is not there.
bool FrameIntake::take(const std::string& name, const Identity& file) {
  TakenFrame frame;
  frame.original = folder_ + "/" + name;
  frame.kept = frame.original;
  struct stat status = {};
  const bool isThere = lstat(frame.original.c_str(), &status) == 0;
  if (!isThere || identityOf(status) != file) return false;
  if (!seen_.insert(identityOf(status)).second) return true;
  names_[status.st_ino] = name;
  if (!S_ISREG(status.st_mode) || (status.st_uid != geteuid() && status.st_uid != 0)) return true;
  frame.device = status.st_dev;
  frame.inode = status.st_ino;
  frame.made = status.st_mtim;
  if (isEarlier(status.st_mtim, birth_)) {
    older_.push_back(frame);
    return true;
  }
  if (!isEarlier(birth_, status.st_mtim) && frames_.empty()) {
    doubtful_.push_back(frame);
    return true;
  }
  frames_.push_back(frame);
  // Kept frames are in the order of their names, and those in doubt may come before this one.
  if (!keepFolder_.empty()) keep(frames_.back(), doubtful_.size() + frames_.size());
  if (every_ > 0 && frames_.size() % every_ == 0) action_();
  return true;
}

void FrameIntake::onEvery(std::size_t frames, std::function<void()> action) {
  every_ = frames;
  action_ = std::move(action);
}

void FrameIntake::keepIn(const std::string& folder) {
  keepFolder_ = folder;
  for (std::size_t i = 0; i < frames_.size(); ++i) {
    if (!frames_[i].isGone) keep(frames_[i], doubtful_.size() + i + 1);
  }
}

void FrameIntake::decide(std::size_t frames) {
  const std::size_t lacking = frames - std::min(frames, frames_.size());
  const std::size_t old = doubtful_.size() - std::min(doubtful_.size(), lacking);
  const auto first = doubtful_.begin() + static_cast<std::ptrdiff_t>(old);
  older_.insert(older_.end(), doubtful_.begin(), first);
  doubtful_.erase(doubtful_.begin(), first);
  for (std::size_t i = 0; i < doubtful_.size() && !keepFolder_.empty(); ++i) {
    keep(doubtful_[i], i + 1);
  }
  frames_.insert(frames_.begin(), doubtful_.begin(), doubtful_.end());
  doubtful_.clear();
}

void FrameIntake::keep(TakenFrame& frame, std::size_t number) const {
  std::array<char, 48> name = {};
  std::snprintf(name.data(), name.size(), "/frame-%ld-%06zu.dat", static_cast<long>(getpid()),
                number);
  const std::string path = keepFolder_ + name.data();
  unlink(path.c_str());  // of a process that had our number
  const bool isLinked = link(frame.original.c_str(), path.c_str()) == 0;
  const bool isKept = isLinked || copyFile(frame.original, path);
  // Since it was taken the frame may have gone, and its name may have become another's.
  struct stat status = {};
  const bool isThere = lstat((isLinked ? path : frame.original).c_str(), &status) == 0;
  const FrameIntake::Identity taken = {frame.device, frame.inode, frame.made.tv_sec,
                                       frame.made.tv_nsec};
  if (isThere && identityOf(status) == taken) {
    if (isKept) frame.kept = path;
    return;
  }
  frame.isGone = true;
  unlink(path.c_str());
}

void FrameIntake::removeAll(long long since) {
  // A name may have been given to another file meanwhile.
  const auto removeIfSame = [](const TakenFrame& frame, long long youngest) {
    struct stat status = {};
    if (lstat(frame.original.c_str(), &status) != 0) return;
    const bool isSame = status.st_dev == frame.device && status.st_ino == frame.inode;
    if (isSame && status.st_mtime >= youngest) unlink(frame.original.c_str());
  };
  for (const TakenFrame& frame : frames_) {
    removeIfSame(frame, 0);
    if (frame.kept != frame.original) unlink(frame.kept.c_str());
  }
  for (const TakenFrame& frame : older_) removeIfSame(frame, since);
  for (const TakenFrame& frame : doubtful_) removeIfSame(frame, since);
}

std::vector<std::string> framesBehind(const std::string& folder, int job,
                                      const std::vector<std::string>& kept, long long since) {
  if (!isTrustedFolder(folder.c_str())) return {};
  timespec last = {static_cast<time_t>(since), -1};
  std::size_t asOld = 0;  // as the last one kept, and kept as well
  struct stat status = {};
  for (const std::string& path : kept) {
    if (lstat(path.c_str(), &status) != 0) continue;
    if (isEarlier(last, status.st_mtim)) asOld = 0;
    if (!isEarlier(status.st_mtim, last)) {
      last = status.st_mtim;
      ++asOld;
    }
  }
  const std::string mark = markOf(job);
  const FolderPtr opened(opendir(folder.c_str()));
  std::vector<Found> found;
  while (const dirent* entry = opened == nullptr ? nullptr : readdir(opened.get())) {
    const std::string name = entry->d_name;
    std::string path = folder;
    path += "/" + name;
    if (!isFrameName(name, mark) || lstat(path.c_str(), &status) != 0) continue;
    if (isEarlier(status.st_mtim, last)) continue;
    found.push_back({status.st_mtim, name, identityOf(status)});
  }
  std::sort(found.begin(), found.end(), isBefore);
  std::vector<std::string> paths;
  for (const Found& one : found) {
    if (!isEarlier(last, one.time) && asOld > 0) {
      --asOld;
    } else {
      paths.push_back(folder + "/" + one.name);
    }
  }
  return paths;
}

void removeOriginals(const std::string& folder, int job, const std::vector<std::string>& kept) {
  if (!isTrustedFolder(folder.c_str())) return;
  using Likeness = std::tuple<off_t, time_t, long>;
  const auto likenessOf = [](const struct stat& status) {
    return Likeness{status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
  };
  std::set<Likeness> ours;
  struct stat status = {};
  for (const std::string& path : kept) {
    if (lstat(path.c_str(), &status) == 0) ours.insert(likenessOf(status));
  }
  const std::string mark = markOf(job);
  const FolderPtr opened(opendir(folder.c_str()));
  while (const dirent* entry = opened == nullptr ? nullptr : readdir(opened.get())) {
    const std::string path = folder + "/" + entry->d_name;
    if (!isFrameName(entry->d_name, mark) || lstat(path.c_str(), &status) != 0) continue;
    if (S_ISREG(status.st_mode) && ours.count(likenessOf(status)) > 0) unlink(path.c_str());
  }
}

}  // namespace kestra::delivery
