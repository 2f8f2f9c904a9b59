// Plain folders and text files: whoever has to help by hand sees everything with ls and cat.
#include "delivery/core/job_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>

#include "delivery/core/digest.h"
#include "delivery/core/lock.h"
#include "filter/base/file.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kOwnerOnlyFolder = 0700;
constexpr std::size_t kLongestKey = 64;
constexpr char kFrameStart[] = "frame-";
constexpr long long kTidyEvery = 3600;

// Gives back its path.
Result<std::string> makeFolder(const std::string& path) {
  if (mkdir(path.c_str(), kOwnerOnlyFolder) != 0 && errno != EEXIST) {
    return Problem{path + ": " + std::strerror(errno)};
  }
  if (!isTrustedFolder(path.c_str())) return Problem{path + ": it is no folder of ours"};
  return path;
}

// The names in a folder that are numbers, rising.
std::vector<int> generationsIn(const std::string& folder) {
  std::vector<int> numbers;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(folder, none)) {
    const std::string name = entry.path().filename();
    const bool isNumber = !name.empty() && name.size() <= 6 &&
                          name.find_first_not_of("0123456789") == std::string::npos;
    if (isNumber) numbers.push_back(std::atoi(name.c_str()));
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

JournalState journalIn(const std::string& folder) {
  constexpr std::size_t kMost = std::size_t{64} << 20;
  const FilePtr file = openRegularFile((folder + "/journal").c_str());
  std::string text;
  std::array<char, 16384> part = {};
  while (file != nullptr && text.size() < kMost) {
    const std::size_t got = std::fread(part.data(), 1, part.size(), file.get());
    if (got == 0) break;
    text.append(part.data(), got);
  }
  return readJournal(text);
}

// "frame-1234-000001.dat": 1234; 0 for any other name.
long processOf(const std::string& name) {
  if (name.rfind(kFrameStart, 0) != 0) return 0;
  return std::atol(name.c_str() + sizeof kFrameStart - 1);
}

}  // namespace

bool isJobKey(const std::string& key) {
  const auto isAllowed = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
  };
  return !key.empty() && key.size() <= kLongestKey &&
         std::all_of(key.begin(), key.end(), isAllowed);
}

std::string jobKey(const std::string& uuid, int number, long long created) {
  constexpr char kStart[] = "urn:uuid:";
  const std::string rest = uuid.rfind(kStart, 0) == 0 ? uuid.substr(sizeof kStart - 1) : uuid;
  std::string key = rest + "-" + std::to_string(number);
  if (isJobKey(rest) && isJobKey(key)) return key;
  return "job-" + std::to_string(number) + "-" + std::to_string(created);
}

Result<void> JobStore::prepare() const {
  for (const char* name : {"", "/jobs", "/open", "/devices"}) {
    const Result<std::string> made = makeFolder(state_ + name);
    if (!made) return Problem{made.problem()};
  }
  return {};
}

Result<std::string> JobStore::jobLock(const std::string& key) const {
  Result<std::string> path = makeFolder(state_ + "/jobs/" + key);
  if (path) *path += "/lock";
  return path;
}

std::string JobStore::deviceLock(const std::string& device) const {
  return state_ + "/devices/" + textDigest(device) + ".lock";
}

Result<std::string> JobStore::printingFolder(const std::string& key, long long completed) const {
  const std::string job = state_ + "/jobs/" + key;
  const std::vector<int> generations = generationsIn(job);
  int generation = generations.empty() ? 0 : generations.back();
  if (!generations.empty()) {
    const JournalState last = journalIn(job + "/" + std::to_string(generation));
    const bool hadEnded = completed != 0 && completed != last.completed;
    if (hadEnded || last.rest == Rest::kChanged) {
      // All labels come anew, those among them that the last printing lacks.
      const std::string before = job + "/" + std::to_string(generation);
      mark(before, false);
      dropKeptFrames(before);
      ++generation;
    }
  }
  return makeFolder(job + "/" + std::to_string(generation));
}

std::vector<Printing> JobStore::printings() const {
  std::vector<Printing> found;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(state_ + "/jobs", none)) {
    const std::string key = entry.path().filename();
    if (!isJobKey(key)) continue;
    for (const int generation : generationsIn(entry.path())) {
      const std::string folder = entry.path().string() + "/" + std::to_string(generation);
      found.push_back({key, generation, folder, journalIn(folder)});
    }
  }
  std::sort(found.begin(), found.end(), [](const Printing& a, const Printing& b) {
    return a.key != b.key ? a.key < b.key : a.generation < b.generation;
  });
  return found;
}

std::vector<Printing> JobStore::openPrintings() const {
  std::vector<Printing> found;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(state_ + "/open", none)) {
    const std::string name = entry.path().filename();
    const std::size_t dot = name.find('.');
    if (dot == std::string::npos || !isJobKey(name.substr(0, dot))) continue;
    const int generation = std::atoi(name.c_str() + dot + 1);
    const std::string key = name.substr(0, dot);
    const std::string folder = state_ + "/jobs/" + key + "/" + std::to_string(generation);
    found.push_back({key, generation, folder, journalIn(folder)});
  }
  std::sort(found.begin(), found.end(), [](const Printing& a, const Printing& b) {
    return a.journal.begun != b.journal.begun ? a.journal.begun < b.journal.begun : a.key < b.key;
  });
  return found;
}

void JobStore::mark(const std::string& folder, bool isOpen) const {
  const fs::path path(folder);
  const std::string name = path.parent_path().filename().string() + "." + path.filename().string();
  const std::string mark = state_ + "/open/" + name;
  if (isOpen) {
    static_cast<void>(openPrivateFile(mark.c_str()));
  } else {
    unlink(mark.c_str());
  }
}

void JobStore::forget(const std::string& key) const {
  if (!isJobKey(key)) return;
  std::error_code none;
  for (const int generation : generationsIn(state_ + "/jobs/" + key)) {
    mark(state_ + "/jobs/" + key + "/" + std::to_string(generation), false);
  }
  fs::remove_all(state_ + "/jobs/" + key, none);
}

void JobStore::forgetOld(long long seconds) const {
  const std::string stamp = state_ + "/tidied";
  struct stat status = {};
  const long long now = std::time(nullptr);
  if (lstat(stamp.c_str(), &status) == 0 && now - status.st_mtime < kTidyEvery &&
      status.st_mtime <= now) {
    return;
  }
  if (const FilePtr made = openPrivateFile(stamp.c_str())) std::fputs("1\n", made.get());

  std::map<std::string, long long> newest;
  std::error_code none;
  for (const auto& job : fs::directory_iterator(state_ + "/jobs", none)) {
    const std::string key = job.path().filename();
    if (!isJobKey(key)) continue;
    long long& time = newest[key];
    for (const int generation : generationsIn(job.path())) {
      const std::string journal =
          job.path().string() + "/" + std::to_string(generation) + "/journal";
      if (lstat(journal.c_str(), &status) == 0) time = std::max<long long>(time, status.st_mtime);
    }
    // A job that came no further than its folder.
    if (time == 0 && lstat(job.path().c_str(), &status) == 0) time = status.st_mtime;
  }
  for (const auto& [key, time] : newest) {
    if (now - time < seconds) continue;
    Lock lock;
    const Result<std::string> path = jobLock(key);
    if (path && lock.open(*path) && lock.take()) forget(key);
  }
}

std::vector<std::string> keptFrames(const std::string& folder) {
  std::map<long, std::vector<std::string>> byProcess;
  std::map<long, long long> newest;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(folder, none)) {
    const std::string name = entry.path().filename();
    const long process = processOf(name);
    struct stat status = {};
    if (process == 0 || lstat(entry.path().c_str(), &status) != 0) continue;
    byProcess[process].push_back(entry.path());
    newest[process] = std::max<long long>(newest[process], status.st_ctime);
  }
  if (newest.empty()) return {};
  const auto last =
      std::max_element(newest.begin(), newest.end(),
                       [](const auto& a, const auto& b) { return a.second < b.second; });
  std::vector<std::string> frames = byProcess[last->first];
  std::sort(frames.begin(), frames.end());
  return frames;
}

void dropKeptFrames(const std::string& folder, long exceptProcess) {
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(folder, none)) {
    const long process = processOf(entry.path().filename());
    if (process != 0 && process != exceptProcess) unlink(entry.path().c_str());
  }
}

}  // namespace kestra::delivery
