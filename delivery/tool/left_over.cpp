// Goes by names and kinds of files: what is no frame is none of ours.
#include "delivery/tool/left_over.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>

namespace kestra::delivery {
namespace {

namespace fs = std::filesystem;

bool takeWord(std::string_view& text, std::string_view word) {
  if (text.substr(0, word.size()) != word) return false;
  text.remove_prefix(word.size());
  return true;
}

// The digits at the start of a text, at least so many.
std::string_view takeDigits(std::string_view& text, std::size_t atLeast) {
  const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
  if (end < atLeast) return {};
  const std::string_view digits = text.substr(0, end);
  text.remove_prefix(end);
  return digits;
}

// "page_0001_jobid_000042_0000.dat": 42.
std::optional<int> jobOf(std::string_view name) {
  constexpr std::size_t kMostDigits = 9;  // all such numbers are an int
  if (!takeWord(name, "page_") || takeDigits(name, 4).empty() || !takeWord(name, "_jobid_")) {
    return std::nullopt;
  }
  const std::string_view job = takeDigits(name, 6);
  const bool isFrame = !job.empty() && takeWord(name, "_") && !takeDigits(name, 4).empty() &&
                       name == ".dat" && job.size() <= kMostDigits;
  return isFrame ? std::optional<int>(std::stoi(std::string(job))) : std::nullopt;
}

bool isBefore(const LeftFrame& a, const LeftFrame& b) {
  if (a.made.tv_sec != b.made.tv_sec) return a.made.tv_sec < b.made.tv_sec;
  if (a.made.tv_nsec != b.made.tv_nsec) return a.made.tv_nsec < b.made.tv_nsec;
  return a.path < b.path;
}

}  // namespace

std::uint64_t LeftJob::bytes() const {
  std::uint64_t total = 0;
  for (const LeftFrame& frame : frames) total += frame.bytes;
  return total;
}

long long LeftJob::newest() const { return frames.empty() ? 0 : frames.back().made.tv_sec; }

std::vector<LeftJob> leftOverFrames(const std::string& folder, const CaredFor& caredFor) {
  std::map<int, LeftJob> jobs;
  std::error_code error;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    const std::string path = at->path();
    const std::optional<int> number = jobOf(at->path().filename().string());
    struct stat status = {};
    const bool isOurs = number && caredFor.running.count(*number) == 0 &&
                        lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
                        status.st_uid == geteuid() &&
                        caredFor.kept.count({status.st_dev, status.st_ino}) == 0;
    if (!isOurs) continue;
    LeftJob& job = jobs[*number];
    job.number = *number;
    job.frames.push_back({path, static_cast<std::uint64_t>(status.st_size), status.st_mtim});
  }
  std::vector<LeftJob> result;
  for (auto& [number, job] : jobs) {
    std::sort(job.frames.begin(), job.frames.end(), isBefore);
    result.push_back(std::move(job));
  }
  return result;
}

}  // namespace kestra::delivery
