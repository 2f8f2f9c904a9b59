// Sends the labels of one job to one printer, each exactly once as far as that can be known.
//
// A page goes out but for its last byte; when the printer has that much, the journal notes that the
// page is closing, the last byte follows, and its arrival is noted as done. So only a fault between
// the two notes leaves a page in doubt: at all other times it surely came, or surely did not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "delivery/core/doubt.h"
#include "delivery/core/journal.h"
#include "delivery/core/page_source.h"
#include "delivery/core/sink.h"
#include "delivery/core/watch.h"

namespace kestra::delivery {

/// How a sender ends; the values are what the print system's programs end with.
enum class Verdict {
  kPrinted = 0,       ///< all labels are out
  kFailed = 1,        ///< another printer of the class shall go on
  kAuthenticate = 2,  ///< a wrapped program wants a name and a password
  kHold = 3,          ///< the job is held until a person says otherwise
  kStop = 4,          ///< the queue is stopped until a person has helped
  kCancel = 5,        ///< a wrapped program wants the job cancelled
  kRetry = 7,         ///< the job comes again at once, and goes on where it stopped
};

struct SendRules {
  Doubt doubt = Doubt::kAgain;
  bool inClass = false;
  bool isResumed = false;        ///< the job was held for a doubt, and a person resumed it
  bool isAfterTornPage = false;  ///< whoever used the printer last was cut off
  std::string journalFolder;     ///< where room is wanted when a journal cannot be written
};

class Sender {
 public:
  /// All must outlive the sender.
  Sender(PageSource& source, Sink& sink, Journal& journal, Watch& watch, Tell tell,
         SendRules rules);

  /// Sends what is not yet delivered. The journal says afterwards how it ended.
  [[nodiscard]] Verdict run();

  /// Whether the printer may have been left with part of a page.
  [[nodiscard]] bool leftTornPage() const { return isTorn_; }

 private:
  // One step of the job: it goes on, or has a verdict.
  struct Step {
    bool goesOn = true;
    Verdict verdict = Verdict::kPrinted;
  };
  static Step on() { return {}; }
  static Step end(Verdict verdict) { return {false, verdict}; }

  Step oneItem();
  Step skipDelivered();
  Step settleDoubt();
  Step deliver();
  Step deliverRaw();
  Step rawBroke();
  Step openWay();
  Step sendPage(const Page& page);
  Step afterBreak();
  [[nodiscard]] bool giveUpWay();
  Step afterSink(Progress progress);
  Step endOfJob();
  Step noPage(Next why);
  Step noRoom();
  Step stopped(const std::string& where);
  [[nodiscard]] std::string behindLast() const;
  [[nodiscard]] std::string cutOff() const;
  Step rest(Rest how, Verdict verdict);
  [[nodiscard]] std::string endInWhite(const Page& page, std::uint64_t start);
  void tellProgress();
  void warn(const std::string& words) { tell_("WARNING: " + words); }

  // A page that went out over the way as it is now.
  struct Passed {
    std::size_t number;
    std::uint64_t end;  // in the sink's bytes
  };

  PageSource& source_;
  Sink& sink_;
  Journal& journal_;
  Watch& watch_;
  Tell tell_;
  SendRules rules_;
  std::size_t number_ = 1;      // of the page in hand
  std::vector<Passed> passed_;  // newest last
  bool isOpen_ = false;         // whether `openWay` could
  bool isTorn_;                 // the printer may have part of a page
};

}  // namespace kestra::delivery
