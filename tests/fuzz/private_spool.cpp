// Runs jobs in this process, their paths being relative to a directory of its own.
#include "tests/fuzz/private_spool.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>

#include "filter/job.h"
#include "printer/kestra_printer.h"
#include "tests/fuzz/require.h"
#include "tests/support/files.h"

namespace kestra::fuzz {
namespace {

constexpr const char* kFolders[] = {"tmp", "var", "var/spool", "var/spool/cups",
                                    "var/spool/cups/tmp"};
constexpr const char* kDataFolder = "var/spool/cups/tmp/kcv6data";

std::string& root() {
  static std::string path;
  return path;
}

// Calls `use` with the path of every entry below `folder` that is no directory, then removes it.
void emptyFolder(const std::string& folder, const std::function<void(const std::string&)>& use) {
  DIR* directory = opendir(folder.c_str());
  if (directory == nullptr) return;
  while (const dirent* entry = readdir(directory)) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    const std::string path = folder == "." ? name : folder + "/" + name;
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0) continue;
    if (S_ISDIR(status.st_mode)) {
      emptyFolder(path, use);
    } else {
      use(path);
      unlink(path.c_str());
    }
  }
  closedir(directory);
}

void removeSpool() {
  if (chdir(root().c_str()) != 0) return;
  emptyFolder(".", [](const std::string&) {});
  rmdir(kDataFolder);
  for (std::size_t i = std::size(kFolders); i > 0; --i) rmdir(kFolders[i - 1]);
  if (chdir("/") == 0) rmdir(root().c_str());
}

// Collects what is written to a standard stream while it lives; the process's own stream, to which
// sanitizers and fuzzer report, stays as it is.
class Captured {
 public:
  explicit Captured(std::FILE** stream) : stream_(stream), before_(*stream) {
    *stream_ = open_memstream(&text_, &size_);
    require(*stream_ != nullptr, "no memory for the output of a job");
  }
  ~Captured() {
    finish();
    std::free(text_);
  }
  Captured(const Captured&) = delete;
  Captured& operator=(const Captured&) = delete;
  std::string finish() {
    if (*stream_ != before_) {
      std::fclose(*stream_);
      *stream_ = before_;
    }
    return {text_, size_};
  }

 private:
  std::FILE** stream_;
  std::FILE* before_;
  char* text_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace

void enterPrivateSpool() {
  if (!root().empty()) return;
  const char* parent = std::getenv("TMPDIR");
  std::string path = std::string(parent == nullptr ? "/tmp" : parent) + "/kestra-fuzz-XXXXXX";
  require(mkdtemp(path.data()) != nullptr, "no directory of its own at " + path);
  root() = path;
  std::atexit(removeSpool);
  require(chdir(path.c_str()) == 0, "cannot enter " + path);
  for (const char* folder : kFolders) require(mkdir(folder, 0700) == 0, folder);
}

void putFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

void putCounter(const std::string& name, const std::string& bytes) {
  require(mkdir(kDataFolder, 0700) == 0, "no data directory");
  putFile(std::string(kDataFolder) + "/" + name, bytes);
}

std::map<std::string, std::string> takeFiles() {
  std::map<std::string, std::string> files;
  emptyFolder(".", [&](const std::string& path) { files[path] = testing_support::readFile(path); });
  rmdir(kDataFolder);
  return files;
}

JobResult runJobHere(const std::vector<std::string>& arguments) {
  std::vector<std::string> words = {"queue"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);

  PageNum = 1;
  JobResult result;
  {
    Captured output(&stdout);
    Captured messages(&stderr);
    result.status = runJob(static_cast<int>(words.size()), pointers.data());
    result.output = output.finish();
    result.messages = messages.finish();
  }
  result.files = takeFiles();
  return result;
}

}  // namespace kestra::fuzz
