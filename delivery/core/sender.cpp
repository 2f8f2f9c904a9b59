// The order of sending, proving and noting down. Whatever is not proven and noted is sent again.
#include "delivery/core/sender.h"

#include <algorithm>
#include <utility>

namespace kestra::delivery {
namespace {

// A page that has begun is finished unless the job is cancelled: what the printer lacks of it, it
// would take from the next one.
constexpr Patience kWithinPage = {Clock::time_point::max(), Stop::kCancel};
constexpr Patience kBetweenPages = {Clock::time_point::max(), Stop::kLeave};
constexpr long kWhiteMilliseconds = 4000;
constexpr long kFarewellMilliseconds = 500;
constexpr long kRawPauseMilliseconds = 1000;
constexpr std::size_t kTriesInVain = 3;
constexpr std::size_t kTriesOfOtherPages = 2;
constexpr char kRawDigest[] = "raw";
constexpr char kWithinRaw[] = "in the middle of what is printed as it came";

Command commandOf(const Page& page) {
  Command command = {};
  std::copy_n(page.bytes.begin(), command.size(), command.begin());
  return command;
}

// Whether a page has no dots from byte `from` on.
bool isWhite(const Page& page, std::size_t from) {
  return std::all_of(page.bytes.begin() + static_cast<std::ptrdiff_t>(from), page.bytes.end(),
                     [](std::uint8_t byte) { return byte == 0; });
}

std::string labels(std::size_t first, std::size_t last) {
  if (first == last) return "Label " + std::to_string(first);
  return "Labels " + std::to_string(first) + " to " + std::to_string(last);
}

}  // namespace

Sender::Sender(PageSource& source, Sink& sink, Journal& journal, Watch& watch, Tell tell,
               SendRules rules)
    : source_(source),
      sink_(sink),
      journal_(journal),
      watch_(watch),
      tell_(std::move(tell)),
      rules_(std::move(rules)),
      isTorn_(rules_.isAfterTornPage) {}

Verdict Sender::run() {
  const std::size_t came = journal_.state().came();
  if (came > 0) tell_("PAGE: total " + std::to_string(came));
  Step step;
  while (step.goesOn) step = oneItem();
  // However it ended, the printer gets the time to read what it has taken.
  const Patience farewell = Patience::forMilliseconds(kFarewellMilliseconds, Stop::kNone);
  if (sink_.finish(farewell) == Progress::kBroken) static_cast<void>(giveUpWay());
  return step.verdict;
}

Sender::Step Sender::oneItem() {
  const Next next = source_.announced(number_, kBetweenPages);
  if (next == Next::kEnd) return endOfJob();
  if (next != Next::kPage && next != Next::kRaw) return noPage(next);
  const bool isRaw = next == Next::kRaw;
  if (number_ <= journal_.state().done()) return isRaw ? deliverRaw() : skipDelivered();
  if (!journal_.state().doubted.empty()) return settleDoubt();
  return isRaw ? deliverRaw() : deliver();
}

// The pages of a job that is started again must be those that came: a job that was changed while it
// was held has others, and nobody can guess which of them are wanted.
Sender::Step Sender::skipDelivered() {
  Page page;
  const Next next = source_.page(number_, page, kBetweenPages);
  if (next == Next::kRaw) return on();
  if (next != Next::kPage) return noPage(next);
  if (page.digest == journal_.state().digests[number_ - 1]) {
    ++number_;
    return on();
  }
  if (journal_.state().triesInVain <= kTriesOfOtherPages) {
    warn("Label " + std::to_string(number_) + " is not the one that came; the job is made anew");
    return rest(Rest::kAgain, Verdict::kRetry);
  }
  tell_("ERROR: The job was changed after " + std::to_string(journal_.state().done()) +
        " of its labels came. Resume it to print all labels anew, or cancel it.");
  return rest(Rest::kChanged, Verdict::kHold);
}

Sender::Step Sender::settleDoubt() {
  const std::size_t count = journal_.state().doubted.size();
  const std::string which = labels(number_, number_ + count - 1);
  if (rules_.doubt == Doubt::kSkip) {
    warn(which + " may be missing: the printer was cut off when it was nearly out");
    for (std::size_t i = 0; i < count; ++i, ++number_) {
      if (!journal_.skip()) return noRoom();
    }
    return on();
  }
  const bool isResumed = std::exchange(rules_.isResumed, false);
  if (rules_.doubt == Doubt::kHold && !isResumed) {
    tell_(
        "ERROR: " + which +
        " may have come or not: the printer was cut off. Look at the printer, then resume the job "
        "to print again what is in doubt, or with the option doubt=skip to leave it out.");
    return rest(Rest::kHeld, Verdict::kHold);
  }
  warn(which + " may come twice: the printer was cut off when it was nearly out");
  return journal_.again() ? on() : noRoom();
}

Sender::Step Sender::deliver() {
  // The way is made ready while the page is still being drawn.
  Step step = openWay();
  if (!step.goesOn || !isOpen_) return step;
  Page page;
  const Next next = source_.page(number_, page, kBetweenPages);
  if (next == Next::kRaw) return on();
  if (next != Next::kPage) return noPage(next);
  step = openWay();
  if (!step.goesOn || !isOpen_) return step;
  if (!journal_.reserve()) return noRoom();

  tellProgress();
  return sendPage(page);
}

Sender::Step Sender::openWay() {
  const Progress progress =
      sink_.open(isTorn_ ? Before::kTornPage : Before::kNothing, kBetweenPages);
  isOpen_ = progress == Progress::kDone;
  if (isOpen_) return on();
  return progress == Progress::kBroken && !passed_.empty() ? afterBreak() : afterSink(progress);
}

Sender::Step Sender::sendPage(const Page& page) {
  const std::uint64_t start = sink_.sent();
  const auto sent = [&] { return static_cast<std::size_t>(sink_.sent() - start); };
  const auto rest = [&] { return page.bytes.size() - sent(); };
  const auto settle = [&](const Patience& patience) {
    return sink_.settle(&page.bytes[sent()], rest() - 1, patience);
  };
  const auto close = [&](const Patience& patience) {
    const Progress progress = sink_.send(page.bytes.data() + sent(), rest(), patience);
    return progress == Progress::kDone ? sink_.prove(patience) : progress;
  };
  Patience patience = kWithinPage;
  Progress progress = settle(patience);
  if (progress == Progress::kStopped) {
    if (sent() == 0 || !isWhite(page, page.endOfRow(sent()))) {
      return stopped(endInWhite(page, start));
    }
    // Ended in white it is whole, and counts.
    patience = Patience::forMilliseconds(kWhiteMilliseconds, Stop::kNone);
    progress = settle(patience);
  }
  const bool isClosing = progress == Progress::kDone;
  if (isClosing) {
    // From here on the page may be whole.
    if (!journal_.closing(page.digest, commandOf(page))) {
      isTorn_ = true;
      static_cast<void>(giveUpWay());
      return noRoom();
    }
    progress = close(patience);
    if (progress == Progress::kStopped) {
      // Only the last byte or its proof is missing: it comes soon or never.
      patience = Patience::forMilliseconds(kWhiteMilliseconds, Stop::kNone);
      progress = close(patience);
    }
  }
  if (isClosing && progress == Progress::kDone) {
    isTorn_ = false;
    if (!journal_.done(page.digest)) return noRoom();
    passed_.push_back({number_++, sink_.sent()});
    tell_("PAGE: total " + std::to_string(journal_.state().came()));
    return watch_.isStopped(kWithinPage) ? stopped(behindLast()) : on();
  }
  isTorn_ = isClosing || sink_.sent() != start;
  if (watch_.isStopped(kWithinPage)) {
    const std::string where = isTorn_ ? cutOff() : behindLast();
    static_cast<void>(giveUpWay());
    return stopped(where);
  }
  return progress == Progress::kBroken ? afterBreak() : afterSink(progress);
}

// Rows that are left are sent without dots, and the printer is ready for the next job. Says what
// became of the page.
std::string Sender::endInWhite(const Page& page, std::uint64_t start) {
  const Patience moment = Patience::forMilliseconds(kWhiteMilliseconds, Stop::kNone);
  const auto sent = static_cast<std::size_t>(sink_.sent() - start);
  if (sent == 0) return behindLast();
  const std::size_t row = page.endOfRow(sent);
  Progress progress = sink_.send(&page.bytes[sent], row - sent, moment);
  constexpr std::size_t kPart = 65536;
  const std::vector<std::uint8_t> white(kPart, 0);
  for (std::size_t at = row; progress == Progress::kDone && at < page.bytes.size(); at += kPart) {
    progress = sink_.send(white.data(), std::min(kPart, page.bytes.size() - at), moment);
  }
  if (progress == Progress::kDone) progress = sink_.prove(moment);
  isTorn_ = progress != Progress::kDone;
  std::string where =
      isTorn_ ? cutOff() : "in label " + std::to_string(number_) + "; the rest of it stays white";
  if (progress == Progress::kDone) progress = sink_.finish(moment);
  if (progress != Progress::kDone) static_cast<void>(giveUpWay());
  return where;
}

Sender::Step Sender::afterBreak() {
  warn("The connection to the printer broke: " + sink_.problem());
  return giveUpWay() ? on() : noRoom();
}

// Pages that the printer had taken and perhaps not read are in doubt again, besides one that was
// closing: whatever it has not read is gone with the way.
bool Sender::giveUpWay() {
  const std::uint64_t read = sink_.surelyRead();
  sink_.drop();
  const auto unsure = std::find_if(passed_.begin(), passed_.end(),
                                   [read](const Passed& one) { return one.end > read; });
  if (unsure == passed_.end()) {
    passed_.clear();
    return true;
  }
  number_ = unsure->number;
  const std::size_t last = passed_.back().number;
  passed_.clear();
  if (journal_.lost(number_)) return true;
  warn(labels(number_, last) +
       " may be missing: the printer was cut off, and there is no room to "
       "remember it");
  return false;
}

Sender::Step Sender::deliverRaw() {
  const std::vector<std::string>& digests = journal_.state().digests;
  const bool isDone = !digests.empty() && digests.back() == kRawDigest;
  if (!isDone) {
    const Step step = openWay();
    if (!step.goesOn || !isOpen_) return step;
    if (!journal_.reserve() || !journal_.closing(kRawDigest, kUsualCommand)) return noRoom();
    isTorn_ = true;  // nobody knows where its labels end
  }
  std::vector<std::uint8_t> bytes;
  for (;;) {
    const Next next = source_.raw(bytes, kBetweenPages);
    if (next == Next::kStopped) return stopped(kWithinRaw);
    if (next != Next::kRaw && next != Next::kEnd) return noPage(next);
    if (next == Next::kEnd) break;
    if (isDone) continue;
    const Progress progress = sink_.send(bytes.data(), bytes.size(), kBetweenPages);
    if (progress == Progress::kDone) continue;
    if (progress == Progress::kStopped) return stopped(kWithinRaw);
    return progress == Progress::kBroken ? rawBroke() : afterSink(progress);
  }
  if (!isDone) {
    Progress progress = sink_.prove(kBetweenPages);
    if (progress == Progress::kDone) progress = sink_.finish(kBetweenPages);
    if (progress == Progress::kStopped) return stopped(kWithinRaw);
    if (progress == Progress::kBroken) return rawBroke();
    if (progress != Progress::kDone) return afterSink(progress);
    isTorn_ = false;
    if (!journal_.done(kRawDigest)) return noRoom();
  }
  return rest(Rest::kEnded, Verdict::kPrinted);
}

// What a person sends as it is cannot be told apart into labels: it comes again as a whole.
Sender::Step Sender::rawBroke() {
  warn("The connection to the printer broke: " + sink_.problem());
  sink_.drop();
  // The print system starts the job anew at once, for ever: a printer that breaks each connection
  // must not keep the machine busy.
  static_cast<void>(watch_.pause(Patience::forMilliseconds(kRawPauseMilliseconds)));
  return rest(Rest::kAgain, Verdict::kRetry);
}

Sender::Step Sender::endOfJob() {
  if (number_ == 1) {
    // A renderer that was killed early leaves a document without pages; twice it is the document.
    if (journal_.state().triesInVain == 1) {
      warn("The document gave no label; it is made anew");
      return rest(Rest::kAgain, Verdict::kRetry);
    }
    warn("Nothing was printed: the document has no page, or none of those that were asked for");
  }
  if (!passed_.empty()) {
    const Progress progress = sink_.finish(kBetweenPages);
    if (progress == Progress::kBroken) return afterBreak();
    if (progress == Progress::kStopped) return stopped(behindLast());
    if (progress != Progress::kDone) return afterSink(progress);
  }
  return rest(Rest::kEnded, Verdict::kPrinted);
}

Sender::Step Sender::afterSink(Progress progress) {
  switch (progress) {
    case Progress::kDone:
      return on();
    case Progress::kStopped:
      return stopped(behindLast());
    case Progress::kBroken:
    case Progress::kTimedOut:
      if (!rules_.inClass) return on();
      warn("This printer is away, another one of the class goes on: " + sink_.problem());
      return rest(Rest::kLeft, Verdict::kFailed);
    case Progress::kHopeless:
      break;
  }
  tell_("ERROR: " + sink_.problem());
  const int inner = sink_.innerExit();
  return rest(Rest::kLeft, inner == 0 ? Verdict::kStop : static_cast<Verdict>(inner));
}

// A label that is missing must not pass as printed. Made anew it may be there; if not, a person
// must look.
Sender::Step Sender::noPage(Next why) {
  if (why == Next::kStopped) return stopped(behindLast());
  if (journal_.state().triesInVain < kTriesInVain) {
    warn("The job is made anew: " + source_.problem());
    return rest(Rest::kAgain, Verdict::kRetry);
  }
  tell_("ERROR: Not all labels of this job could be made: " + source_.problem() +
        ". The log of the print system says why; resume the job to try again, or cancel it.");
  return rest(Rest::kHeld, Verdict::kHold);
}

Sender::Step Sender::noRoom() {
  tell_("ERROR: Nothing is printed, as what was printed could not be remembered: make room in " +
        rules_.journalFolder + ", then enable the printer again.");
  return rest(Rest::kLeft, Verdict::kStop);
}

// The print system's own restart needs no words: the job goes on by itself.
Sender::Step Sender::stopped(const std::string& where) {
  const bool byPerson = watch_.stopped() == Stop::kCancel;
  if (byPerson) tell_("INFO: Stopped " + where + '.');
  return rest(byPerson ? Rest::kStopped : Rest::kLeft, Verdict::kRetry);
}

std::string Sender::behindLast() const {
  return number_ > 1 ? "behind label " + std::to_string(number_ - 1) : "before the first label";
}

std::string Sender::cutOff() const {
  return "in label " + std::to_string(number_) + ", which is cut off: the printer takes no more";
}

// A note that finds no room is not needed: the next start finds a job that was cut off.
Sender::Step Sender::rest(Rest how, Verdict verdict) {
  static_cast<void>(journal_.rest(how));
  return end(verdict);
}

void Sender::tellProgress() {
  std::string words = "INFO: Printing label " + std::to_string(number_);
  if (const auto total = source_.total()) {
    words += " of " + std::to_string(*total);
    if (*total > 0) {
      tell_("ATTR: job-media-progress=" + std::to_string(100 * (number_ - 1) / *total));
    }
  }
  tell_(words);
}

}  // namespace kestra::delivery
