// Starts backends side by side, reads their lines in a process without rights, and ends both in
// time.
#include "delivery/backend/discovery.h"

#include <cups/backend.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "delivery/backend/device_line.h"
#include "delivery/backend/time_left.h"
#include "delivery/core/watch.h"
#include "delivery/sinks/count_lines.h"
#include "filter/base/unbroken.h"

namespace kestra::delivery {
namespace {

// They ask the network, or list what others find.
constexpr std::array<std::string_view, 14> kNotLocal = {
    "beh", "bluetooth", "dnssd",  "driverless", "driverless-fax", "http", "https",
    "ipp", "ipps",      "kestra", "lpd",        "mdns",           "smb",  "snmp"};
constexpr std::size_t kLongestLine = 4096;
constexpr int kFirstOwn = STDERR_FILENO + 1;

struct Running {
  pid_t process = -1;
  int output = -1;
};

// In the child: ends with its parent, has nothing but its output, and only the rights it needs.
[[noreturn]] void becomeBackend(const LocalBackend& backend, const Account& account, int output) {
  static_cast<void>(setpgid(0, 0));
  if (!backend.needsRoot && !becomeForGood(account)) _exit(EXIT_FAILURE);
  static_cast<void>(prctl(PR_SET_PDEATHSIG, SIGKILL));
  const int null = open("/dev/null", O_RDWR);
  if (null < 0 || dup2(null, STDIN_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0 ||
      dup2(null, STDERR_FILENO) < 0) {
    _exit(EXIT_FAILURE);
  }
  closefrom(kFirstOwn);
  std::signal(SIGPIPE, SIG_DFL);
  std::string name = backend.name;
  std::array<char*, 2> words = {name.data(), nullptr};
  countLines();
  execv(backend.path.c_str(), words.data());
  _exit(EXIT_FAILURE);
}

std::optional<Running> start(const LocalBackend& backend, const Account& account) {
  std::array<int, 2> ends = {-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
  const pid_t process = fork();
  if (process == 0) becomeBackend(backend, account, ends[1]);
  close(ends[1]);
  if (process > 0) {
    static_cast<void>(setpgid(process, process));  // here too: we may have to end it at once
    return Running{process, ends[0]};
  }
  close(ends[0]);
  return std::nullopt;
}

void print(const std::string& line) {
  const std::optional<DeviceLine> found = readDeviceLine(line);
  const std::optional<DeviceLine> device = found ? deviceThroughUs(*found) : std::nullopt;
  if (!device) return;
  cupsBackendReport(device->kind.c_str(), device->uri.c_str(), device->makeAndModel.c_str(),
                    device->info.c_str(), device->id.c_str(), device->location.c_str());
  std::fflush(stdout);
}

// Cuts what a backend says into lines; one that is too long for any device is passed over.
class Lines {
 public:
  void add(std::string_view text) {
    for (const char c : text) {
      if (c != '\n') {
        if (line_.size() <= kLongestLine) line_ += c;
        continue;
      }
      if (line_.size() <= kLongestLine) print(line_);
      line_.clear();
    }
  }

 private:
  std::string line_;
};

// Reads until all have ended or the time is up.
void readAll(const std::vector<Running>& backends, Clock::time_point until) {
  std::vector<pollfd> outputs;
  outputs.reserve(backends.size());
  for (const Running& one : backends) outputs.push_back({one.output, POLLIN, 0});
  std::vector<Lines> lines(outputs.size());
  std::size_t open = outputs.size();
  while (open > 0) {
    const int ready =
        unbroken([&] { return poll(outputs.data(), outputs.size(), millisecondsTo(until)); });
    if (ready <= 0) return;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
      if (outputs[i].revents == 0) continue;
      std::array<char, kLongestLine> buffer = {};
      const ssize_t size = read(outputs[i].fd, buffer.data(), buffer.size());
      if (size > 0) {
        lines[i].add({buffer.data(), static_cast<std::size_t>(size)});
      } else {
        outputs[i].fd = -1;  // poll passes over it
        --open;
      }
    }
  }
}

// A process without rights that reads; its end closes the returned descriptor's other end.
Running startReader(const std::vector<Running>& backends, const Account& account,
                    const DiscoveryTimes& times) {
  const Clock::time_point until = Clock::now() + times.answers;
  std::array<int, 2> ends = {-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return {};
  std::fflush(stdout);
  const pid_t process = fork();
  if (process == 0) {
    if (!becomeForGood(account)) _exit(EXIT_FAILURE);
    static_cast<void>(prctl(PR_SET_PDEATHSIG, SIGKILL));
    readAll(backends, until);
    std::exit(EXIT_SUCCESS);
  }
  close(ends[1]);
  return {process, ends[0]};
}

}  // namespace

std::vector<LocalBackend> localBackends(const std::string& folder) {
  std::vector<LocalBackend> backends;
  std::error_code problem;
  for (const auto& entry : std::filesystem::directory_iterator(folder, problem)) {
    const std::string name = entry.path().filename();
    if (std::find(kNotLocal.begin(), kNotLocal.end(), name) != kNotLocal.end()) continue;
    struct stat status = {};
    if (stat(entry.path().c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
    if (status.st_uid != 0 && status.st_uid != geteuid()) continue;
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0 || (status.st_mode & S_IXUSR) == 0) continue;
    const bool isForAll = (status.st_mode & (S_IXGRP | S_IXOTH)) != 0;
    backends.push_back({name, entry.path(), !isForAll && geteuid() == 0});
  }
  std::sort(backends.begin(), backends.end(),
            [](const LocalBackend& a, const LocalBackend& b) { return a.name < b.name; });
  return backends;
}

int listDevices(const std::string& folder, const Account& account, const DiscoveryTimes& times) {
  const Clock::time_point until = Clock::now() + times.all;
  cupsBackendReport("network", "kestra", "Unknown",
                    "Label printer, each label exactly once (kestra:socket://ADDRESS)", nullptr,
                    nullptr);
  std::fflush(stdout);
  std::vector<Running> backends;
  for (const LocalBackend& backend : localBackends(folder)) {
    if (const auto running = start(backend, account)) backends.push_back(*running);
  }
  const Running reader = startReader(backends, account, times);
  if (reader.output >= 0) {
    pollfd end = {reader.output, 0, 0};  // the end of the other side is always told
    const int ended = unbroken([&] { return poll(&end, 1, millisecondsTo(until)); });
    if (ended <= 0 && reader.process > 0) kill(reader.process, SIGKILL);
    close(reader.output);
  }
  // Nobody is waited for: a backend that hangs in its device may not end even now.
  for (const Running& one : backends) {
    kill(-one.process, SIGKILL);
    close(one.output);
  }
  return CUPS_BACKEND_OK;
}

}  // namespace kestra::delivery
