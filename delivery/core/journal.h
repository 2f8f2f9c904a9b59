// What a job has delivered, kept so that neither a crash nor a power cut makes a label come twice
// or not at all.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "delivery/core/page.h"
#include "filter/base/result.h"

namespace kestra::delivery {

/// How the last start of a job ended, as far as its journal knows.
enum class Rest {
  kNone,     ///< it runs, or was cut off: nobody may ever bring the job again
  kAgain,    ///< it did not come on, and the job comes again at once
  kLeft,     ///< it ended in order and the job comes again
  kStopped,  ///< a person cancelled, held or stopped it
  kHeld,     ///< it was held for a person to decide
  kChanged,  ///< alike, as its pages are not those that had come: the next start prints all anew
  kEnded,    ///< all labels are out
};

/// What a journal says. Pages are counted from 1.
struct JournalState {
  std::vector<std::string> digests;  ///< of the pages that need not be sent, the first one first
  std::vector<std::size_t> skipped;  ///< numbers of those that may not have come, as a person chose
  std::vector<std::string> doubted;  ///< of the pages behind them that may have come or not
  std::size_t triesInVain = 0;       ///< starts that were cut off since the last page that came
  Rest rest = Rest::kNone;
  long long completed = 0;  ///< when the job had ended before this printing of it began; 0: never
  long long begun = 0;      ///< when this printing of it began, seconds since 1970
  int number = 0;           ///< the job's
  std::string queue, device, title;  ///< of the last start
  Command command = kUsualCommand;   ///< of the last label that was closing
  std::size_t validBytes = 0;        ///< the journal up to its last whole line

  [[nodiscard]] std::size_t done() const { return digests.size(); }
  [[nodiscard]] std::size_t came() const { return digests.size() - skipped.size(); }
};

/// Reads a journal's text. A line that was not written to its end counts as not written, and so
/// does all behind it.
[[nodiscard]] JournalState readJournal(const std::string& text);

/// What a start of a job writes down about itself.
struct StartFacts {
  long long completed = 0;
  int number = 0;
  std::string queue, device, title;
};

/// An open journal. Every change is on the disk when the call returns; false means that it is not,
/// and that nothing may be sent that depends on it. Only one process writes a job's journal at a
/// time.
class Journal {
 public:
  /// A journal in memory, for printing without a promise over restarts.
  Journal() = default;
  ~Journal();
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  /// Opens or makes the file at `path`, 0600.
  [[nodiscard]] Result<void> open(const std::string& path);

  [[nodiscard]] const JournalState& state() const { return state_; }

  /// Makes room on the disk for what a page will need, so that no page comes that cannot be noted.
  [[nodiscard]] bool reserve();

  [[nodiscard]] bool start(const StartFacts& facts);
  /// The last byte of the page behind the done ones is about to go: from here on it may be whole.
  [[nodiscard]] bool closing(const std::string& digest, const Command& command);
  /// It is at the printer.
  [[nodiscard]] bool done(const std::string& digest);
  /// Pages from `page` on, done before, may have been lost by the printer: they are in doubt again.
  [[nodiscard]] bool lost(std::size_t page);
  /// The pages in doubt are sent again.
  [[nodiscard]] bool again();
  /// The first page in doubt is not sent again.
  [[nodiscard]] bool skip();
  [[nodiscard]] bool rest(Rest how);

 private:
  [[nodiscard]] bool append(const std::string& words);

  JournalState state_;
  int descriptor_ = -1;       // owned; -1: in memory
  std::size_t reserved_ = 0;  // bytes of the file that have room on the disk
  bool isSpoilt_ = false;     // half a line stands at the end and cannot be taken back
};

}  // namespace kestra::delivery
