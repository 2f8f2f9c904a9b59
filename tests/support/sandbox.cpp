// Starts the filter in its private tree, feeds it, collects everything it leaves.
// Why: nothing may block (full pipes) and a failed start must not look like a failed print.
#include "tests/support/sandbox.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "tests/support/files.h"
#include "tests/support/filter_command.h"

namespace kestra::testing_support {

namespace fs = std::filesystem;

namespace {

constexpr uid_t kNobody = 65534;

struct Pipe {
  int ends[2] = {-1, -1};
  Pipe() {
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  }
  ~Pipe() {
    closeRead();
    closeWrite();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  void closeRead() { close(ends[0]); }
  void closeWrite() { close(ends[1]); }
  static void close(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
  }
};

[[noreturn]] void give(int reportFd, const std::string& problem) {
  const ssize_t ignored = ::write(reportFd, problem.data(), problem.size());
  ::_exit(ignored < 0 ? 125 : 126);
}

std::vector<std::string> environment(const Run& run) {
  std::vector<std::string> list = {"TZ=UTC"};
  if (run.ppd) list.push_back("PPD=" + *run.ppd);
  if (run.printer) list.push_back("PRINTER=" + *run.printer);
  for (const char* name :
       {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "LLVM_PROFILE_FILE", "KESTRA_KERNELS"}) {
    if (const char* value = std::getenv(name)) list.push_back(std::string(name) + "=" + value);
  }
  return list;
}

// In the child: everything between fork and exec.
[[noreturn]] void become(const Run& run, const std::string& root, int report) {
  const bool isolated = currentIsolation() == Isolation::kNamespace;
  const FilterCommand filter(currentIsolation());
  if (!filter.problem().empty()) give(report, filter.problem());
  if (isolated) {
    const std::string problem = enterPrivateTree(root, run.tinyDisk);
    if (!problem.empty()) give(report, problem);
  } else {
    if (run.tinyDisk) give(report, "tinyDisk needs the namespace");
    if (::chdir(root.c_str()) != 0) give(report, "chdir");
  }
  for (const auto& [what, most] :
       {std::pair{RLIMIT_FSIZE, run.fileSizeLimit}, std::pair{RLIMIT_AS, run.memoryLimit}}) {
    const auto bytes = static_cast<rlim_t>(most);
    const rlimit limit = {bytes, bytes};
    if (most >= 0 && ::setrlimit(what, &limit) != 0) give(report, "setrlimit");
  }
  if (run.fileSizeLimit >= 0) std::signal(SIGXFSZ, SIG_IGN);  // the write fails instead
  if (run.asNobody && ::geteuid() == 0) {
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) {
      give(report, "setuid");
    }
  }
  ::umask(0077);
  std::signal(SIGPIPE, SIG_DFL);
  give(report, filter.become(run.queueName, run.arguments, environment(run)));
}

// Moves bytes from a pipe to a text; false at its end.
bool drain(int fd, std::string& text) {
  char buffer[65536];
  const ssize_t got = ::read(fd, buffer, sizeof buffer);
  if (got > 0) text.append(buffer, static_cast<std::size_t>(got));
  return got > 0 || (got < 0 && (errno == EINTR || errno == EAGAIN));
}

// The number behind a name in a list of the process that the system keeps; -1 where there is none.
long kilobytesIn(pid_t process, const char* list, const std::string& name) {
  std::ifstream lines("/proc/" + std::to_string(process) + "/" + list);
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, name.size(), name) == 0) return std::atol(line.c_str() + name.size());
  }
  return -1;
}

// Memory that belongs to the process alone, in kilobytes. Some systems keep the figure of the
// status for each processor apart, and add them up only when there are 128 kB to add.
long residentKilobytes(pid_t process) {
  const long counted = kilobytesIn(process, "smaps_rollup", "Anonymous:");
  return counted >= 0 ? counted : kilobytesIn(process, "status", "RssAnon:");
}

// The bytes for the filter's standard input, held back at each milestone until it is reached.
class Feed {
 public:
  Feed(const Run& run, const std::string& bytes, pid_t child)
      : milestones_(run.milestones), bytes_(bytes), child_(child) {}

  bool over() const { return sent_ == bytes_.size() && reached_ == milestones_.size(); }
  bool wants() const { return sent_ < allowed(); }

  // False: nobody reads any more.
  bool send(int fd) {
    const ssize_t put = ::write(fd, bytes_.data() + sent_, allowed() - sent_);
    if (put > 0) sent_ += static_cast<std::size_t>(put);
    return put >= 0 || errno == EAGAIN || errno == EINTR;
  }

  // Looks for the end of pages in what the filter has said so far.
  void follow(Result& result) {
    if (reached_ == milestones_.size()) return;
    const std::string done = "printImage: Image processing completed\n";
    for (std::size_t at = result.messages.find(done, seen_); at != std::string::npos;
         at = result.messages.find(done, seen_)) {
      seen_ = at + done.size();
      ++pages_;
    }
    const Milestone& next = milestones_[reached_];
    if (sent_ < next.bytes || pages_ < next.pages) return;
    result.residentKilobytes.push_back(residentKilobytes(child_));
    ++reached_;
  }

 private:
  std::size_t allowed() const {
    return reached_ < milestones_.size() ? milestones_[reached_].bytes : bytes_.size();
  }

  const std::vector<Milestone>& milestones_;  // the caller's, like the bytes
  const std::string& bytes_;
  pid_t child_;
  std::size_t sent_ = 0;
  std::size_t seen_ = 0;  // bytes of the messages that were searched
  std::size_t pages_ = 0;
  std::size_t reached_ = 0;
};

// Feeds and reads until the child has closed everything; false when the patience is over.
bool converse(Pipe& in, Feed& feed, Pipe& out, Pipe& err, Result& result,
              std::chrono::seconds patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (out.ends[0] >= 0 || err.ends[0] >= 0) {
    if (feed.over()) in.closeWrite();
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    const int feedFd = feed.wants() ? in.ends[1] : -1;
    pollfd fds[3] = {{out.ends[0], POLLIN, 0}, {err.ends[0], POLLIN, 0}, {feedFd, POLLOUT, 0}};
    if (::poll(fds, 3, static_cast<int>(left.count())) < 0 && errno != EINTR) return false;
    if (fds[0].revents != 0 && !drain(out.ends[0], result.output)) out.closeRead();
    if (fds[1].revents != 0 && !drain(err.ends[0], result.messages)) err.closeRead();
    if (fds[2].revents != 0 && !feed.send(feedFd)) in.closeWrite();
    feed.follow(result);
  }
  return true;
}

std::map<std::string, std::string> readTree(const std::string& root) {
  std::map<std::string, std::string> files;
  std::error_code gone;  // other jobs of the same tree may still be at work
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file(gone)) continue;
    files[entry.path().lexically_relative(root)] = readFile(entry.path());
  }
  return files;
}

fs::path base(Sandbox::Where where) {
  const fs::path memory = "/dev/shm";
  constexpr uintmax_t kEnough = 100'000'000;  // bytes
  if (where == Sandbox::Where::kMemory && ::access(memory.c_str(), W_OK | X_OK) == 0) {
    std::error_code unknown;
    const fs::space_info space = fs::space(memory, unknown);
    if (!unknown && space.available >= kEnough) return memory;
  }
  return fs::current_path();
}

// Cancels a running job at its moment, unless it has ended before.
class Cancel {
 public:
  Cancel(pid_t child, std::optional<std::chrono::microseconds> after) {
    if (!after) return;
    thread_ = std::thread([this, child, wait = *after] {
      std::unique_lock<std::mutex> lock(mutex_);
      if (!ended_.wait_for(lock, wait, [this] { return over_; })) ::kill(child, SIGTERM);
    });
  }
  // To be called before the child is waited for: its number may be another process's then.
  void stop() {
    if (!thread_.joinable()) return;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      over_ = true;
    }
    ended_.notify_one();
    thread_.join();
  }

 private:
  std::mutex mutex_;
  std::condition_variable ended_;
  bool over_ = false;
  std::thread thread_;
};

// After `end` at the latest the child is gone; returns its wait status.
int waitFor(pid_t child, bool kill) {
  int status = 0;
  if (kill) ::kill(child, SIGKILL);
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

Sandbox::Sandbox(Where where) : root_(base(where) / "kestra-sandbox-XXXXXX") {
  if (::mkdtemp(root_.data()) == nullptr) throw std::runtime_error("cannot make " + root_);
  ::chmod(root_.c_str(), 0755);
  for (const char* name : {"tmp", "var", "var/spool", "var/spool/cups", "var/spool/cups/tmp"}) {
    makeDirectory(name);
    permit(name, 0777);
  }
}

Sandbox::~Sandbox() {
  std::error_code ignored;
  // A directory that a test has closed must be opened again before it can be emptied.
  for (const char* name : {"var/spool/cups/tmp", "var/spool/cups/tmp/kcv6data", "tmp"}) {
    fs::permissions(root_ + "/" + name, fs::perms::owner_all, fs::perm_options::add, ignored);
  }
  fs::remove_all(root_, ignored);
}

std::string Sandbox::prefix() { return currentIsolation() == Isolation::kNamespace ? "/" : ""; }

void Sandbox::write(const std::string& path, const std::string& bytes) {
  const fs::path full = fs::path(root_) / path;
  fs::create_directories(full.parent_path());
  std::ofstream out(full, std::ios::binary);
  out << bytes;
  if (!out.flush().good()) throw std::runtime_error("cannot write " + full.string());
}

void Sandbox::makeDirectory(const std::string& path) { fs::create_directories(root_ + "/" + path); }

void Sandbox::remove(const std::string& path) { fs::remove_all(root_ + "/" + path); }

void Sandbox::permit(const std::string& path, unsigned mode) {
  fs::permissions(root_ + "/" + path, fs::perms(mode), fs::perm_options::replace);
}

unsigned Sandbox::mode(const std::string& path) const {
  return static_cast<unsigned>(fs::status(root_ + "/" + path).permissions());
}

std::vector<Result> Sandbox::startTogether(const std::vector<Run>& runs) {
  currentIsolation();  // decided before the threads
  // For all of them: the first one that ends must not leave the others the usual handler.
  const auto formerHandler = std::signal(SIGPIPE, SIG_IGN);
  std::vector<Result> results(runs.size());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    threads.emplace_back([&, i] { results[i] = start(runs[i]); });
  }
  for (std::thread& thread : threads) thread.join();
  std::signal(SIGPIPE, formerHandler);
  for (Result& result : results) result.files = readTree(root_);
  return results;
}

Result Sandbox::start(const Run& run) {
  Result result;
  Pipe in;
  Pipe out;
  Pipe err;
  Pipe report;
  currentIsolation();  // decided before the fork
  const auto formerHandler = std::signal(SIGPIPE, SIG_IGN);
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child == 0) {
    const int zero = run.input == Input::kDevNull ? ::open("/dev/null", O_RDONLY) : in.ends[0];
    ::dup2(zero, 0);
    ::dup2(out.ends[1], 1);
    ::dup2(err.ends[1], 2);
    if (run.input == Input::kClosed) ::close(0);
    if (run.listener == Listener::kClosed) ::close(1);
    become(run, root_, report.ends[1]);
  }
  in.closeRead();
  out.closeWrite();
  err.closeWrite();
  report.closeWrite();
  ::fcntl(in.ends[1], F_SETFL, O_NONBLOCK);
  const std::string nothing;
  const std::string& bytes = run.input == Input::kBytes ? run.inputBytes : nothing;
  if (run.listener == Listener::kGone) out.closeRead();
  Feed feed(run, bytes, child);
  Cancel cancel(child, run.terminateAfter);
  const bool ended = converse(in, feed, out, err, result, run.patience * patienceFactor());
  cancel.stop();
  const int status = waitFor(child, !ended);
  std::signal(SIGPIPE, formerHandler);
  while (drain(report.ends[0], result.problem)) {
  }
  if (!result.problem.empty()) result.problem = "the filter was not started: " + result.problem;
  if (!ended) result.problem = "the filter did not end in time and was killed";
  if (!result.problem.empty()) ADD_FAILURE() << result.problem;
  if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.files = readTree(root_);
  return result;
}

}  // namespace kestra::testing_support
