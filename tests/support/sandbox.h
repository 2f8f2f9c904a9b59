// A private directory tree in which one filter process at a time runs, and what came out of it.
// Why: a print job is files and streams in, files and streams out; tests look at exactly those.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/isolation.h"

namespace kestra::testing_support {

enum class Input { kBytes, kDevNull, kClosed };

/// What stands behind the filter's standard output: a reader, nothing at all, or a pipe whose
/// reader has gone.
enum class Listener { kReads, kClosed, kGone };

/// A moment at which the filter waits: it was given so many bytes of the stream and has finished so
/// many pages of them.
struct Milestone {
  std::size_t bytes;
  std::size_t pages;
};

struct Run {
  /// argv[1..]; argv[0] is queueName.
  std::vector<std::string> arguments = {"42", "user", "title", "1", ""};
  std::string queueName = "label";
  std::optional<std::string> ppd;                ///< value of PPD, see Sandbox::Inside
  std::optional<std::string> printer = "label";  ///< value of PRINTER
  Input input = Input::kBytes;
  std::string inputBytes;
  Listener listener = Listener::kReads;
  std::vector<Milestone> milestones;  ///< in order; the filter's memory is measured at each
  bool asNobody = false;    ///< as root: run as another user, who owns nothing in the tree
  long fileSizeLimit = -1;  ///< bytes; files cannot grow beyond it (like a full disk); -1 none
  long memoryLimit = -1;    ///< bytes of address space; -1 none
  bool tinyDisk = false;    // namespace only: 4096 bytes for the frames; its files are not seen
  std::chrono::seconds patience{300};  ///< longer where filter_command.h names a runner
  /// The print system's way to cancel a job: SIGTERM so long after the start.
  std::optional<std::chrono::microseconds> terminateAfter;
};

struct Result {
  std::string problem;  ///< not empty: the filter was not run or had to be killed; the rest is void
  int status = -1;      ///< exit status, -1 after a signal
  int signal = 0;
  std::string output;                        ///< standard output
  std::string messages;                      ///< standard error
  std::map<std::string, std::string> files;  ///< afterwards, path below the tree -> bytes
  /// Resident memory of its own (no program files) at each milestone, -1 where it is not known.
  std::vector<long> residentKilobytes;
};

class Sandbox {
 public:
  enum class Where { kCurrentDirectory, kMemory };
  /// The tree is made below the current directory, with tmp/ and var/spool/cups/tmp/; for jobs of
  /// thousands of files in memory, where the machine offers 100 MB of that.
  explicit Sandbox(Where where = Where::kCurrentDirectory);
  ~Sandbox();
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  /// Runs the filter (which one: filter_command.h). A problem of the test itself (not of the
  /// filter) also fails the current test.
  Result start(const Run& run);

  /// Runs several at once in this one tree; the files of each result are those at the end of all.
  std::vector<Result> startTogether(const std::vector<Run>& runs);

  /// Where the tree is, for what has no function here (links, FIFOs).
  const std::string& root() const { return root_; }

  /// Writes a file, directories included; `path` is below the tree ("tmp/x.ppd").
  void write(const std::string& path, const std::string& bytes);
  void makeDirectory(const std::string& path);
  void remove(const std::string& path);
  /// Permission bits; with 0 for others a job `asNobody` cannot use the directory.
  void permit(const std::string& path, unsigned mode);
  /// Permission bits of what is there.
  unsigned mode(const std::string& path) const;

  /// The same path as the filter must be given it and shows it in messages: "/tmp/x" or "tmp/x".
  static std::string inside(const std::string& path) { return prefix() + path; }
  /// "/" or "".
  static std::string prefix();

 private:
  std::string root_;
};

/// Directory of the debug images and of the frames, below the tree.
inline constexpr char kSpool[] = "var/spool/cups/tmp";
inline constexpr char kData[] = "var/spool/cups/tmp/kcv6data";

}  // namespace kestra::testing_support
