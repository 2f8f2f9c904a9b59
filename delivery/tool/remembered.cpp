// Reads journals as data of strangers.
#include "delivery/tool/remembered.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <system_error>
#include <utility>

#include "delivery/core/job_store.h"
#include "delivery/core/lock.h"
#include "filter/base/file.h"

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;

// The notes on about 350,000 labels.
constexpr std::size_t kLongestJournal = std::size_t{64} << 20;

// The names in a folder itself, not behind a link; none where it cannot be read.
std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  if (!fs::is_directory(fs::symlink_status(folder, error))) return names;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    names.push_back(at->path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

int generationOf(const std::string& name) {
  const bool isNumber = !name.empty() && name.size() <= 6 &&
                        name.find_first_not_of("0123456789") == std::string::npos;
  return isNumber ? std::stoi(name) : -1;
}

void readJournalOf(Remembered& one) {
  struct stat status = {};
  const std::string path = one.journalPath();
  if (lstat(one.folder.c_str(), &status) == 0) one.changed = status.st_mtime;
  errno = 0;
  const FilePtr file = openRegularFile(path.c_str());
  if (file == nullptr) {
    one.problem = errno == ENOENT  ? "there is no journal"
                  : errno == ELOOP ? "its journal is a link"
                                   : "its journal cannot be read";
    return;
  }
  if (fstat(fileno(file.get()), &status) == 0) one.changed = status.st_mtime;
  if (status.st_size > static_cast<off_t>(kLongestJournal)) {
    one.problem = "its journal is too large to be one";
    return;
  }
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  one.journal = readJournal(text);
  if (one.journal.validBytes < text.size()) {
    one.problem = "its journal is whole up to byte " + std::to_string(one.journal.validBytes);
  }
}

pid_t holderOf(const std::string& jobFolder) {
  const std::string path = jobFolder + "/lock";
  struct stat status = {};
  Lock lock;
  // A lock that is not there is not made.
  if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  return lock.open(path) ? lock.holder() : 0;
}

// The printings of one job, by number.
std::vector<Remembered> printingsOf(const std::string& key, const std::string& jobFolder) {
  std::vector<Remembered> printings;
  for (const std::string& name : namesIn(jobFolder)) {
    Remembered one;
    one.key = key;
    one.generation = generationOf(name);
    one.folder = jobFolder;
    one.folder += "/" + name;
    struct stat status = {};
    if (one.generation < 0 || lstat(one.folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
      continue;
    }
    readJournalOf(one);
    one.kept = keptFrames(one.folder);
    printings.push_back(std::move(one));
  }
  std::sort(printings.begin(), printings.end(),
            [](const Remembered& a, const Remembered& b) { return a.generation < b.generation; });
  if (!printings.empty()) {
    printings.back().isLast = true;
    printings.back().holder = holderOf(jobFolder);
  }
  return printings;
}

}  // namespace

std::vector<std::size_t> Remembered::inDoubt() const {
  std::vector<std::size_t> numbers;
  for (std::size_t i = 1; i <= journal.doubted.size(); ++i) numbers.push_back(journal.done() + i);
  return numbers;
}

std::vector<Remembered> rememberedJobs(const std::string& stateFolder) {
  std::vector<Remembered> all;
  const std::string jobs = stateFolder + "/jobs/";
  for (const std::string& key : namesIn(stateFolder + "/jobs")) {
    if (!isJobKey(key)) continue;
    std::vector<Remembered> printings = printingsOf(key, jobs + key);
    std::move(printings.begin(), printings.end(), std::back_inserter(all));
  }
  return all;
}

}  // namespace kestra::delivery
