// Takes the frames of one job out of the filter's folder in the moment in which they appear.
//
// The filter announces each page before it makes it and stores it before it announces the next, so
// the order of appearance is the printing order; names are not, as a page counter may start again.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace kestra::delivery {

/// A frame of the job.
struct TakenFrame {
  std::string original;  ///< its path in the filter's folder
  std::string kept;      ///< its path in our own, or the original where it could not be kept
  dev_t device = 0;
  ino_t inode = 0;
  timespec made = {};   ///< when the filter stored it; a copy of ours is younger
  bool isGone = false;  ///< it was removed before it could be taken
};

class FrameIntake {
 public:
  using Identity = std::tuple<dev_t, ino_t, time_t, long>;

  /// @param folder  the filter's; need not be there yet
  /// @param job     the job's number as it stands in the names
  /// @param birth   frames older than this are not of this start of the job
  FrameIntake(std::string folder, int job, timespec birth);
  FrameIntake(const FrameIntake&) = delete;
  FrameIntake& operator=(const FrameIntake&) = delete;

  /// From now on each frame is linked, or copied where the folder is on another file system, to a
  /// file of ours: nothing that the print system empties can take it away. Those that are there are
  /// kept now. Without this call the originals are read.
  /// @param folder  0700, on a disk
  void keepIn(const std::string& folder);

  /// Calls `action` after each so many frames that are taken.
  void onEvery(std::size_t frames, std::function<void()> action);

  /// Readable when something may have appeared; -1 where the system has no such thing.
  [[nodiscard]] int descriptor() const { return notices_ == nullptr ? -1 : *notices_; }
  /// That descriptor, closed when nobody holds it any more. It takes the system up to 15 ms to
  /// close it, as it waits for all who look at watches of any folder.
  [[nodiscard]] std::shared_ptr<const int> notices() const { return notices_; }
  /// Whether the folder must be looked at again in a moment, as nothing would tell.
  [[nodiscard]] bool mustBePolled() const { return notices_ == nullptr || watch_ < 0; }

  /// Takes what has appeared.
  void look();

  /// Whether the filter's folder is there.
  [[nodiscard]] bool hasFolder() const;
  [[nodiscard]] timespec birth() const { return birth_; }

  /// The frames so far, in printing order; those too that were gone before they could be taken, as
  /// far as the system tells, so that each stays in its place.
  [[nodiscard]] const std::vector<TakenFrame>& frames() const { return frames_; }

  /// Whether there are frames as old as the job's start: the clock of files is too coarse to tell
  /// whether they are the first of this start or the last of the one before.
  [[nodiscard]] bool hasDoubtful() const { return !doubtful_.empty(); }
  /// Decides on them when it is known how many frames this start has: they are older than all
  /// others.
  void decide(std::size_t frames);

  /// Removes the taken frames, ours and the filter's, and those that an earlier start of this job
  /// left after `since` (seconds since 1970).
  void removeAll(long long since);

 private:
  enum class Told { kNothing, kAll, kNotAll };  // by the system, of what has appeared

  void watchFolder();
  [[nodiscard]] Told drain();
  [[nodiscard]] Told readEvents(std::vector<std::string>& names);
  void scan();
  [[nodiscard]] bool take(const std::string& name, const Identity& file);
  void appeared(const std::string& name, const std::optional<Identity>& file);
  void keep(TakenFrame& frame, std::size_t number) const;

  std::string folder_;
  std::string mark_;  // what stands in the names of the job's frames
  timespec birth_;
  std::string keepFolder_;
  std::shared_ptr<const int> notices_;
  int watch_ = -1;  // among the notices; -1: the folder is not watched
  std::vector<TakenFrame> frames_;
  std::set<Identity> seen_;
  std::unordered_map<ino_t, std::string> names_;  // of those, by the file's number
  std::set<std::string> early_;                   // taken before the system told of them
  std::vector<TakenFrame> older_;
  std::vector<TakenFrame> doubtful_;  // as old as the start
  std::size_t every_ = 0;
  std::function<void()> action_;
};

/// Frames of `job` in the filter's folder that nobody has taken, as whoever took them was ended by
/// force while the filter went on: those behind the last of `kept` (frames of ours, each as old as
/// its original), or from second `since` on where nothing is kept. In printing order.
[[nodiscard]] std::vector<std::string> framesBehind(const std::string& folder, int job,
                                                    const std::vector<std::string>& kept,
                                                    long long since);

/// Removes the filter's frames of a job whose sender was killed, and whose frames were printed from
/// what it had kept: those as large and as old as one of the `kept` files, to the nanosecond.
void removeOriginals(const std::string& folder, int job, const std::vector<std::string>& kept);

}  // namespace kestra::delivery
