// Each label exactly once, whatever happens at whichever byte.
#include "delivery/core/sender.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <optional>
#include <set>
#include <utility>

#include "delivery/core/digest.h"
#include "delivery/core/file_source.h"
#include "tests/delivery/core/disk_faults.h"
#include "tests/delivery/core/frames.h"
#include "tests/delivery/core/printer_of_bytes.h"

namespace kestra::delivery {
namespace {

using namespace testing_support;

// Labels of 7 + 22 + 4 x 3 bytes; label n has n x 16 in its first row.
constexpr std::size_t kLabels = 3;
constexpr std::size_t kLabelBytes = 41;
constexpr std::size_t kJobBytes = kLabels * kLabelBytes;

class SenderTest : public testing::Test {
 protected:
  SenderTest() {
    for (std::size_t i = 1; i <= kLabels; ++i) {
      paths_.push_back(folder_ / std::to_string(i));
      publish(paths_.back(), frameOf(static_cast<std::uint8_t>(16 * i)));
    }
  }
  Verdict run(BytesSink& sink, Journal& journal, SendRules rules = {}) {
    sink.watch = &watch_;
    FileSource source(paths_, kUsualCommand);
    Sender sender(
        source, sink, journal, watch_, [this](const std::string& line) { told_.push_back(line); },
        rules);
    const Verdict verdict = sender.run();
    leftTorn_ = sender.leftTornPage();
    return verdict;
  }
  // The labels that a line with these words names: "Label 2 ..." or "Labels 2 to 3 ...".
  std::set<int> named(const std::string& words) const {
    std::set<int> labels;
    for (const std::string& line : told_) {
      if (line.find(words) == std::string::npos) continue;
      int first = 0, last = 0;
      if (std::sscanf(line.c_str(), "WARNING: Labels %d to %d", &first, &last) == 2) {
        for (int i = first; i <= last; ++i) labels.insert(i);
      } else if (std::sscanf(line.c_str(), "WARNING: Label %d", &first) == 1) {
        labels.insert(first);
      }
    }
    return labels;
  }
  // How often each label came; fails where a first print is out of order.
  std::vector<int> counts(const PrinterOfBytes& printer) const {
    std::vector<int> counts(kLabels, 0);
    int newest = 0;
    for (const int dots : printer.labels(kLabelBytes)) {
      const int label = dots / 16;
      if (counts.at(static_cast<std::size_t>(label - 1))++ == 0) {
        EXPECT_GT(label, newest) << "out of order";
        newest = label;
      }
    }
    return counts;
  }
  // None lost; twice only what was announced.
  void expectOnce(const PrinterOfBytes& printer, const std::string& when) {
    const std::set<int> twice = named("may come twice");
    const std::vector<int> came = counts(printer);
    for (std::size_t i = 0; i < kLabels; ++i) {
      const int most = 1 + static_cast<int>(twice.count(static_cast<int>(i + 1)));
      EXPECT_GE(came[i], 1) << when << " label " << i + 1;
      EXPECT_LE(came[i], most) << when << " label " << i + 1;
    }
  }

  Folder folder_;
  std::vector<std::string> paths_;
  Watch watch_;
  std::vector<std::string> told_;
  bool leftTorn_ = false;
};

TEST_F(SenderTest, SendsEachLabelOnceInOrder) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  Journal journal;
  EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
  ASSERT_EQ(printer.connections.size(), 1U);
  Bytes wanted;
  for (const std::uint8_t dots : std::initializer_list<std::uint8_t>{16, 32, 48}) {
    const Bytes label = labelOf(frameOf(dots));
    wanted.insert(wanted.end(), label.begin(), label.end());
  }
  EXPECT_EQ(printer.connections[0], wanted);
  EXPECT_EQ(sink.finished, 1);
  EXPECT_EQ(journal.state().rest, Rest::kEnded);
  EXPECT_EQ(journal.state().came(), 3U);
  EXPECT_EQ(std::count(told_.begin(), told_.end(), "PAGE: total 3"), 1);
  EXPECT_EQ(std::count(told_.begin(), told_.end(), "INFO: Printing label 2 of 3"), 1);
  EXPECT_FALSE(leftTorn_);
}

TEST_F(SenderTest, PrintsNothingWhenEverythingHasCome) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  Journal journal;
  ASSERT_EQ(run(sink, journal), Verdict::kPrinted);
  EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
  EXPECT_EQ(counts(printer), (std::vector<int>{1, 1, 1}));
  EXPECT_EQ(printer.connections.size(), 1U);
}

TEST_F(SenderTest, ABreakAtAnyByteLosesNothingAndRepeatsOnlyWhatItAnnounces) {
  for (std::uint64_t at = 0; at <= kJobBytes; ++at) {
    told_.clear();
    PrinterOfBytes printer;
    BytesSink sink(printer);
    sink.breaksAt = at;
    Journal journal;
    EXPECT_EQ(run(sink, journal), Verdict::kPrinted) << at;
    expectOnce(printer, "break at " + std::to_string(at));
    // In doubt is a label only between its last byte and the proof of it.
    const bool isAtAnEnd = at % kLabelBytes == 0 && at > 0;
    EXPECT_EQ(named("may come twice").size(), isAtAnEnd && at < kJobBytes ? 1U : isAtAnEnd) << at;
    EXPECT_FALSE(leftTorn_);
  }
}

// The printer takes 20 bytes that it has not read when it resets; a label has 41.
TEST_F(SenderTest, WhatThePrinterHadTakenAndNotReadComesAgain) {
  for (std::uint64_t at = 0; at <= kJobBytes; ++at) {
    told_.clear();
    PrinterOfBytes printer;
    BytesSink sink(printer);
    sink.breaksAt = at;
    sink.unread = 20;
    Journal journal;
    EXPECT_EQ(run(sink, journal), Verdict::kPrinted) << at;
    expectOnce(printer, "reset at " + std::to_string(at));
    EXPECT_LE(named("may come twice").size(), 1U) << at;
  }
}

TEST_F(SenderTest, WithSkipNoLabelComesTwice) {
  for (const std::uint64_t unread : {0U, 20U}) {
    for (std::uint64_t at = 0; at <= kJobBytes; ++at) {
      told_.clear();
      PrinterOfBytes printer;
      BytesSink sink(printer);
      sink.breaksAt = at;
      sink.unread = unread;
      Journal journal;
      EXPECT_EQ(run(sink, journal, {Doubt::kSkip, false, false, false, {}}), Verdict::kPrinted)
          << at;
      const std::set<int> missing = named("may be missing");
      EXPECT_LE(missing.size(), 1U) << at;
      const std::vector<int> came = counts(printer);
      for (std::size_t i = 0; i < kLabels; ++i) {
        EXPECT_LE(came[i], 1) << at;
        EXPECT_GE(came[i], missing.count(static_cast<int>(i + 1)) > 0 ? 0 : 1) << at;
      }
      EXPECT_EQ(journal.state().came(), kLabels - missing.size());
    }
  }
}

TEST_F(SenderTest, WithHoldAPersonDecides) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  sink.breaksAt = 2 * kLabelBytes;
  Journal journal;
  EXPECT_EQ(run(sink, journal, {Doubt::kHold, false, false, false, {}}), Verdict::kHold);
  EXPECT_EQ(journal.state().rest, Rest::kHeld);
  EXPECT_EQ(counts(printer), (std::vector<int>{1, 1, 0}));
  EXPECT_NE(told_.back().find("ERROR: Label 2 may have come or not"), std::string::npos);
  // Resumed as it is, the label is printed again; with doubt=skip it would not.
  EXPECT_EQ(run(sink, journal, {Doubt::kHold, false, true, false, {}}), Verdict::kPrinted);
  EXPECT_EQ(counts(printer), (std::vector<int>{1, 2, 1}));
}

// Kills the sender when the printer has `at` bytes, then starts the job anew.
TEST_F(SenderTest, KilledAtAnyByteTheNextStartGoesOnWhereItStopped) {
  for (std::uint64_t at = 0; at <= kJobBytes; ++at) {
    const std::string path = folder_ / ("journal" + std::to_string(at));
    const pid_t child = fork();
    if (child == 0) {
      PrinterOfBytes printer;
      BytesSink sink(printer);
      sink.diesAt = at;
      Journal journal;
      if (!journal.open(path) || !journal.start({})) _exit(2);
      static_cast<void>(run(sink, journal));
      _exit(3);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_EQ(WEXITSTATUS(status), 0) << at;

    told_.clear();
    PrinterOfBytes printer;
    printer.connections.emplace_back();
    for (std::size_t label = 0; label * kLabelBytes < at; ++label) {
      const Bytes whole = labelOf(frameOf(static_cast<std::uint8_t>(16 * (label + 1))));
      const std::size_t size = std::min<std::size_t>(kLabelBytes, at - label * kLabelBytes);
      printer.connections[0].insert(printer.connections[0].end(), whole.begin(),
                                    whole.begin() + static_cast<std::ptrdiff_t>(size));
    }
    BytesSink sink(printer);
    Journal journal;
    ASSERT_EQ(journal.open(path).problem(), "");
    ASSERT_TRUE(journal.start({}));
    EXPECT_EQ(run(sink, journal, {Doubt::kAgain, false, false, true, {}}), Verdict::kPrinted);
    expectOnce(printer, "killed at " + std::to_string(at));
    EXPECT_LE(named("may come twice").size(), 1U) << at;
    EXPECT_EQ(sink.opened.empty() ? Before::kTornPage : sink.opened[0], Before::kTornPage);
  }
}

// Whichever note finds no disk, nothing goes on without it, and the next start goes on from there.
TEST_F(SenderTest, ADiskThatFailsAtAnyNoteStopsTheQueueBeforeTheNextByte) {
  for (int good = 0; good < 8; ++good) {
    const std::string path = folder_ / ("journal" + std::to_string(good));
    told_.clear();
    PrinterOfBytes printer;
    {
      DiskFaults disk;
      BytesSink sink(printer);
      Journal journal;
      ASSERT_EQ(journal.open(path).problem(), "");
      ASSERT_TRUE(journal.start({}));
      disk.goodFlushes = good;
      // Two notes a label, one at the end.
      EXPECT_EQ(run(sink, journal), good < 6 ? Verdict::kStop : Verdict::kPrinted) << good;
      // Without the note that a label closes its last byte does not go; a label that is not noted
      // as printed is not followed by another.
      const std::size_t bytes = static_cast<std::size_t>(good / 2 + 1) * kLabelBytes;
      if (good < 6) {
        EXPECT_EQ(printer.connections.at(0).size(), good % 2 == 0 ? bytes - 1 : bytes);
      }
    }
    BytesSink sink(printer);
    Journal journal;
    ASSERT_EQ(journal.open(path).problem(), "");
    ASSERT_TRUE(journal.start({}));
    EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
    expectOnce(printer, "notes " + std::to_string(good));
    EXPECT_EQ(named("may come twice").size(), good < 6 && good % 2 == 1 ? 1U : 0U) << good;
  }
}

TEST_F(SenderTest, NoLabelIsBegunWhoseNotesHaveNoRoom) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  Journal journal;
  ASSERT_EQ(journal.open(folder_ / "journal").problem(), "");
  DiskFaults disk;
  disk.hasRoom = false;
  SendRules rules;
  rules.journalFolder = "/the/folder";
  EXPECT_EQ(run(sink, journal, rules), Verdict::kStop);
  EXPECT_TRUE(printer.connections.empty() || printer.connections[0].empty());
  EXPECT_NE(told_.back().find("ERROR: Nothing is printed"), std::string::npos);
  EXPECT_NE(told_.back().find("/the/folder"), std::string::npos);
}

// A power loss cuts the journal anywhere in the line that was being written; what the printer had
// then follows from the order of notes and bytes: start, and for each label all but one byte,
// closing, one byte, done.
TEST_F(SenderTest, AfterAPowerLossAtAnyByteOfTheJournalNothingIsLost) {
  const std::string path = folder_ / "journal";
  {
    PrinterOfBytes printer;
    BytesSink sink(printer);
    Journal journal;
    ASSERT_EQ(journal.open(path).problem(), "");
    ASSERT_TRUE(journal.start({}));
    ASSERT_EQ(run(sink, journal), Verdict::kPrinted);
  }
  const Bytes text = bytesOf(path);
  std::size_t line = 0;
  for (std::size_t size = 0; size < text.size(); ++size) {
    if (size > 0 && text[size - 1] == '\n') ++line;
    // Line 0 is the start, 1 the first closing, 2 its done, ... the last the end of the job.
    const std::size_t label = line == 0 ? 0 : (line - 1) / 2;
    const bool isClosing = line % 2 == 1 && label < kLabels;
    const std::size_t at = line == 0   ? 0
                           : isClosing ? (label + 1) * kLabelBytes - 1
                                       : std::min((label + 1) * kLabelBytes, kJobBytes);
    publish(folder_ / "cut", Bytes(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size)));
    told_.clear();
    PrinterOfBytes printer;
    printer.connections.emplace_back();
    for (std::size_t i = 0; (i + 1) * kLabelBytes <= at; ++i) {
      const Bytes whole = labelOf(frameOf(static_cast<std::uint8_t>(16 * (i + 1))));
      printer.connections[0].insert(printer.connections[0].end(), whole.begin(), whole.end());
    }
    BytesSink sink(printer);
    Journal journal;
    ASSERT_EQ(journal.open(folder_ / "cut").problem(), "");
    ASSERT_TRUE(journal.start({}));
    EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
    expectOnce(printer, "journal cut at " + std::to_string(size));
    EXPECT_LE(named("may come twice").size(), 1U) << size;
  }
  EXPECT_EQ(line, 2 * kLabels + 1);
}

// Rows end at 29 + 3 n bytes of a label; what was begun is sent true, the rest without dots.
TEST_F(SenderTest, ACancelEndsThePageInWhiteSoThatTheNextOneIsClean) {
  constexpr std::uint64_t kLastRow = kLabelBytes - 3;
  for (std::uint64_t at = 1; at <= kLastRow; ++at) {
    watch_ = Watch();
    told_.clear();
    PrinterOfBytes printer;
    BytesSink sink(printer);
    sink.stopsAt = at;
    Journal journal;
    EXPECT_EQ(run(sink, journal), Verdict::kRetry) << at;
    EXPECT_EQ(journal.state().rest, Rest::kStopped);
    EXPECT_EQ(journal.state().done(), 0U);
    Bytes wanted = labelOf(frameOf(16));
    const std::size_t row = at <= 29 ? 29 : 29 + (at - 29 + 2) / 3 * 3;
    std::fill(wanted.begin() + static_cast<std::ptrdiff_t>(row), wanted.end(), 0);
    EXPECT_EQ(printer.connections[0], wanted) << at;
    EXPECT_EQ(told_.back(), "INFO: Stopped in label 1; the rest of it stays white.");
    EXPECT_EQ(sink.finished, 1);
    EXPECT_EQ(journal.state().doubted.size(), 0U);
  }
}

TEST_F(SenderTest, ALabelThatWasEndedInWhiteIsPrintedWhenTheJobIsResumed) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  sink.stopsAt = kLabelBytes + 30;
  Journal journal;
  ASSERT_EQ(run(sink, journal), Verdict::kRetry);
  watch_ = Watch();
  sink.stopsAt.reset();
  EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
  // Label 2 began with the row of 32, so its white print counts as well here.
  EXPECT_EQ(printer.labels(kLabelBytes), (std::vector<int>{16, 32, 32, 48}));
  EXPECT_TRUE(named("may come twice").empty());
}

// Label 2 has dots in its first row alone, which ends 32 bytes behind its start.
TEST_F(SenderTest, ALabelWithoutDotsInWhatACancelCutsOffIsWholeAndCounts) {
  Bytes frame = frameOf(32);
  std::fill(frame.begin() + 22 + 3, frame.end(), 0);
  publish(paths_[1], frame);
  for (std::uint64_t at = 1; at < kLabelBytes; ++at) {
    watch_ = Watch();
    PrinterOfBytes printer;
    BytesSink sink(printer);
    sink.stopsAt = kLabelBytes + at;
    Journal journal;
    EXPECT_EQ(run(sink, journal), Verdict::kRetry) << at;
    EXPECT_EQ(journal.state().rest, Rest::kStopped);
    EXPECT_EQ(journal.state().done(), at > 29 ? 2U : 1U) << at;
    EXPECT_EQ(told_.back(), at > 29 ? "INFO: Stopped behind label 2."
                                    : "INFO: Stopped in label 2; the rest of it stays white.");
    watch_ = Watch();
    sink.stopsAt.reset();
    EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
    const auto whole = printer.labels(kLabelBytes);
    EXPECT_EQ(std::count(whole.begin(), whole.end(), 32), 1) << at;
  }
}

// The last byte is missing at the printer, and the note says that it may be there.
TEST_F(SenderTest, ACancelBetweenTheNoteAndTheLastByteLeavesNoByteOut) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  sink.stopsAfterSettle = 1;
  Journal journal;
  EXPECT_EQ(run(sink, journal), Verdict::kRetry);
  Bytes wanted = labelOf(frameOf(16));
  const Bytes second = labelOf(frameOf(32));
  wanted.insert(wanted.end(), second.begin(), second.end());
  EXPECT_EQ(printer.connections.at(0), wanted);
  EXPECT_EQ(journal.state().done(), 2U);
  EXPECT_EQ(journal.state().rest, Rest::kStopped);
}

TEST_F(SenderTest, AskedToLeaveItFinishesThePage) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  sink.stopsAt = kLabelBytes + 5;
  sink.stop = Stop::kLeave;
  Journal journal;
  EXPECT_EQ(run(sink, journal), Verdict::kRetry);
  EXPECT_EQ(counts(printer), (std::vector<int>{1, 1, 0}));
  EXPECT_EQ(journal.state().done(), 2U);
  EXPECT_EQ(journal.state().rest, Rest::kLeft);
}

TEST_F(SenderTest, AJobWhosePagesHaveChangedIsNeverGuessedAt) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  Journal journal;
  sink.stopsAt = kLabelBytes + 1;
  ASSERT_TRUE(journal.start({}));
  ASSERT_EQ(run(sink, journal), Verdict::kRetry);
  watch_ = Watch();
  sink.stopsAt.reset();
  publish(paths_[0], frameOf(99));
  const std::size_t before = printer.labels(kLabelBytes).size();
  Verdict verdict = Verdict::kRetry;
  int tries = 0;
  for (; verdict == Verdict::kRetry && tries < 10; ++tries) {
    ASSERT_TRUE(journal.start({}));
    verdict = run(sink, journal);
  }
  EXPECT_EQ(verdict, Verdict::kHold);
  EXPECT_GT(tries, 1);
  EXPECT_LE(tries, 3);
  EXPECT_EQ(journal.state().rest, Rest::kChanged);
  EXPECT_EQ(printer.labels(kLabelBytes).size(), before);
  EXPECT_NE(told_.back().find("ERROR: The job was changed after 1 of its labels came"),
            std::string::npos);
}

TEST_F(SenderTest, AMissingPageIsMadeAnewAFewTimesAndThenHeld) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  Journal journal;
  publish(paths_[1], Bytes(5, 0));
  Verdict verdict = Verdict::kRetry;
  int tries = 0;
  for (; verdict == Verdict::kRetry && tries < 10; ++tries) {
    ASSERT_TRUE(journal.start({}));
    verdict = run(sink, journal);
  }
  EXPECT_EQ(verdict, Verdict::kHold);
  EXPECT_EQ(tries, 3);
  EXPECT_EQ(counts(printer), (std::vector<int>{1, 0, 0}));  // nothing behind the missing one
}

TEST_F(SenderTest, ADocumentWithoutPagesIsMadeAnewOnceAndThenBelieved) {
  paths_.clear();
  PrinterOfBytes printer;
  BytesSink sink(printer);
  Journal journal;
  ASSERT_TRUE(journal.start({}));
  EXPECT_EQ(run(sink, journal), Verdict::kRetry);
  ASSERT_TRUE(journal.start({}));
  EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
  EXPECT_NE(told_.back().find("Nothing was printed"), std::string::npos);
  EXPECT_TRUE(printer.connections.empty());
}

TEST_F(SenderTest, InAClassAnotherPrinterGoesOnAndNothingComesTwice) {
  PrinterOfBytes first, second;
  Journal journal;
  BytesSink dying(first);
  dying.breaksAt = kLabelBytes + 7;
  FileSource source(paths_, kUsualCommand);
  dying.watch = &watch_;
  // The printer is gone for good behind the break.
  struct Gone : BytesSink {
    using BytesSink::BytesSink;
    void drop() override {
      BytesSink::drop();
      opensAs = Progress::kBroken;
    }
  } gone(first);
  gone.breaksAt = kLabelBytes + 7;
  EXPECT_EQ(run(gone, journal, {Doubt::kAgain, true, false, false, {}}), Verdict::kFailed);
  EXPECT_EQ(journal.state().rest, Rest::kLeft);
  BytesSink other(second);
  EXPECT_EQ(run(other, journal, {Doubt::kAgain, true, false, false, {}}), Verdict::kPrinted);
  EXPECT_EQ(counts(first), (std::vector<int>{1, 0, 0}));
  EXPECT_EQ(counts(second), (std::vector<int>{0, 1, 1}));
}

TEST_F(SenderTest, AWayThatIsOfNoUseStopsTheQueue) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  sink.opensAs = Progress::kHopeless;
  Journal journal;
  EXPECT_EQ(run(sink, journal), Verdict::kStop);
  EXPECT_EQ(told_.back(), "ERROR: the test cut it");
}

// The printer has read 41 bytes, one label, of 46 when the connection breaks.
TEST_F(SenderTest, ALabelThatWasReadToItsLastByteIsNotInDoubt) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  sink.breaksAt = kLabelBytes + 5;
  sink.unread = 5;
  Journal journal;
  EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
  EXPECT_EQ(counts(printer), (std::vector<int>{1, 1, 1}));
  EXPECT_TRUE(named("may come twice").empty());
}

// The last label is acknowledged; the printer resets while the sender says goodbye.
TEST_F(SenderTest, WhatThePrinterLosesAtTheEndOfTheJobComesAgain) {
  struct LosesTheEnd : BytesSink {
    using BytesSink::BytesSink;
    Progress finish(const Patience& patience) override {
      if (!std::exchange(hasLost, true)) {
        breaksAt = kJobBytes;
        unread = 20;
      }
      return BytesSink::finish(patience);
    }
    bool hasLost = false;
  };
  PrinterOfBytes printer;
  LosesTheEnd sink(printer);
  Journal journal;
  EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
  EXPECT_EQ(counts(printer), (std::vector<int>{1, 1, 1}));
  EXPECT_EQ(named("may come twice"), std::set<int>{3});
  EXPECT_EQ(journal.state().rest, Rest::kEnded);
}

TEST_F(SenderTest, ACancelInTheLastLabelIsNotTakenForTheEndOfTheJob) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  sink.stopsAt = kJobBytes;
  Journal journal;
  EXPECT_EQ(run(sink, journal), Verdict::kRetry);
  EXPECT_EQ(counts(printer), (std::vector<int>{1, 1, 1}));
  EXPECT_EQ(journal.state().done(), 3U);
  EXPECT_EQ(journal.state().rest, Rest::kStopped);
}

// Two breaks in one job: the labels of the first connection were settled with it.
TEST_F(SenderTest, ASecondBreakDoubtsNothingOfTheFirstConnection) {
  for (std::uint64_t at = kLabelBytes + 1; at < kJobBytes; ++at) {
    told_.clear();
    struct Twice : BytesSink {
      using BytesSink::BytesSink;
      void drop() override {
        BytesSink::drop();
        if (second) breaksAt = std::exchange(second, {});
      }
      std::optional<std::uint64_t> second;
    };
    PrinterOfBytes printer;
    Twice sink(printer);
    sink.breaksAt = kLabelBytes + 5;
    sink.second = kLabelBytes + 5 + at;
    Journal journal;
    EXPECT_EQ(run(sink, journal), Verdict::kPrinted) << at;
    expectOnce(printer, "second break at " + std::to_string(at));
    EXPECT_EQ(named("may come twice").count(1), 0U) << at;
  }
}

TEST_F(SenderTest, TellsTheShareOfLabelsThatAreOut) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  Journal journal;
  EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
  std::vector<std::string> shares;
  for (const std::string& line : told_) {
    if (line.rfind("ATTR:", 0) == 0) shares.push_back(line);
  }
  EXPECT_EQ(shares,
            (std::vector<std::string>{"ATTR: job-media-progress=0", "ATTR: job-media-progress=33",
                                      "ATTR: job-media-progress=66"}));
}

// Bytes that are no commands, as a person sends them to the printer as they are.
class RawBytes : public PageSource {
 public:
  Next announced(std::size_t /*number*/, const Patience& /*patience*/) override {
    return Next::kRaw;
  }
  Next page(std::size_t /*number*/, Page& /*page*/, const Patience& /*patience*/) override {
    return Next::kRaw;
  }
  Next raw(std::vector<std::uint8_t>& bytes, const Patience& /*patience*/) override {
    if (left_ == 0) return end;
    --left_;
    bytes = {1, 2, 3};
    return Next::kRaw;
  }
  std::optional<std::size_t> total() const override { return std::nullopt; }
  std::string problem() const override { return ""; }

  Next end = Next::kEnd;  // what follows the six bytes

 private:
  int left_ = 2;
};

TEST_F(SenderTest, ARawJobGoesAsItIsAndOnce) {
  PrinterOfBytes printer;
  Journal journal;
  for (int start = 0; start < 2; ++start) {
    RawBytes source;
    BytesSink sink(printer);
    sink.watch = &watch_;
    Sender sender(source, sink, journal, watch_, [](const std::string&) {}, {});
    ASSERT_TRUE(journal.start({}));
    EXPECT_EQ(sender.run(), Verdict::kPrinted);
    EXPECT_EQ(sink.finished, start == 0 ? 1 : 0);
  }
  EXPECT_EQ(printer.connections, (std::vector<Bytes>{{1, 2, 3, 1, 2, 3}}));
}

TEST_F(SenderTest, ARawJobThatBrokeComesAgainAsAWhole) {
  PrinterOfBytes printer;
  Journal journal;
  for (const bool breaks : {true, false}) {
    RawBytes source;
    BytesSink sink(printer);
    sink.watch = &watch_;
    if (breaks) sink.breaksAt = 4;
    Sender sender(source, sink, journal, watch_, [](const std::string&) {}, {});
    ASSERT_TRUE(journal.start({}));
    EXPECT_EQ(sender.run(), breaks ? Verdict::kRetry : Verdict::kPrinted);
  }
  EXPECT_EQ(printer.connections, (std::vector<Bytes>{{1, 2, 3, 1}, {1, 2, 3, 1, 2, 3}}));
}

TEST_F(SenderTest, ARawJobInDoubtIsLeftOutWhereAPersonWantsThat) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  Journal journal;
  RawBytes first;
  sink.breaksAt = 4;
  const Tell tell = [this](const std::string& line) { told_.push_back(line); };
  Sender broken(first, sink, journal, watch_, tell, {});
  EXPECT_EQ(broken.run(), Verdict::kRetry);
  EXPECT_TRUE(broken.leftTornPage());
  RawBytes second;
  Sender skipping(second, sink, journal, watch_, tell, {Doubt::kSkip, false, false, true, {}});
  EXPECT_EQ(skipping.run(), Verdict::kPrinted);
  EXPECT_EQ(printer.connections.size(), 1U);
  EXPECT_EQ(named("may be missing"), std::set<int>{1});
  EXPECT_EQ(journal.state().came(), 0U);
}

TEST_F(SenderTest, WhatAWrappedProgramWantsForItsJobIsPassedOn) {
  struct Holding : BytesSink {
    using BytesSink::BytesSink;
    int innerExit() const override { return 3; }
  };
  PrinterOfBytes printer;
  Holding sink(printer);
  sink.opensAs = Progress::kHopeless;
  Journal journal;
  EXPECT_EQ(run(sink, journal), Verdict::kHold);
}

TEST_F(SenderTest, ARawJobWhoseNotesFindNoDiskStopsTheQueue) {
  // Without room nothing is begun, nor without the note that it begins; the note that it came is
  // the second one, that the job is over the third and not needed.
  for (int good = -1; good < 3; ++good) {
    told_.clear();
    PrinterOfBytes printer;
    BytesSink sink(printer);
    Journal journal;
    ASSERT_EQ(journal.open(folder_ / ("raw" + std::to_string(good))).problem(), "");
    DiskFaults disk;
    disk.hasRoom = good >= 0;
    disk.goodFlushes = std::max(good, 0);
    RawBytes source;
    Sender sender(source, sink, journal, watch_,
                  [this](const std::string& line) { told_.push_back(line); }, {});
    EXPECT_EQ(sender.run(), good < 2 ? Verdict::kStop : Verdict::kPrinted) << good;
    EXPECT_EQ(printer.connections.at(0).size(), good < 1 ? 0U : 6U) << good;
    EXPECT_EQ(told_.empty(), good == 2);
  }
}

TEST_F(SenderTest, ARawJobThatEndsOtherwiseIsNeverCalledPrinted) {
  struct Case {
    Next end;
    Rest rest;
  };
  for (const Case& one : {Case{Next::kStopped, Rest::kLeft}, Case{Next::kMissing, Rest::kAgain},
                          Case{Next::kCut, Rest::kAgain}}) {
    PrinterOfBytes printer;
    BytesSink sink(printer);
    Journal journal;
    RawBytes source;
    source.end = one.end;
    Sender sender(source, sink, journal, watch_, [](const std::string&) {}, {});
    EXPECT_EQ(sender.run(), Verdict::kRetry);
    EXPECT_EQ(journal.state().rest, one.rest);
    EXPECT_TRUE(sender.leftTornPage());
  }
}

// The first way is broken before a byte, the second one is good.
TEST_F(SenderTest, ARawJobWaitsForAPrinterThatIsAway) {
  struct AwayOnce : BytesSink {
    using BytesSink::BytesSink;
    Progress open(Before before, const Patience& patience) override {
      if (std::exchange(isAway, false)) return Progress::kBroken;
      return BytesSink::open(before, patience);
    }
    bool isAway = true;
  };
  PrinterOfBytes printer;
  AwayOnce sink(printer);
  Journal journal;
  RawBytes source;
  Sender sender(source, sink, journal, watch_, [](const std::string&) {}, {});
  EXPECT_EQ(sender.run(), Verdict::kPrinted);
  EXPECT_EQ(printer.connections, (std::vector<Bytes>{{1, 2, 3, 1, 2, 3}}));
  // One that is of no use ends it.
  BytesSink useless(printer);
  useless.opensAs = Progress::kHopeless;
  Journal other;
  RawBytes again;
  Sender stopped(again, useless, other, watch_, [](const std::string&) {}, {});
  EXPECT_EQ(stopped.run(), Verdict::kStop);
}

TEST_F(SenderTest, ARawJobThatBreaksOrStopsBehindItsLastByteIsNotPrinted) {
  for (const bool breaks : {true, false}) {
    watch_ = Watch();
    PrinterOfBytes printer;
    BytesSink sink(printer);
    sink.watch = &watch_;
    (breaks ? sink.breaksAt : sink.stopsAt) = 6;
    sink.stop = Stop::kLeave;
    Journal journal;
    RawBytes source;
    Sender sender(source, sink, journal, watch_, [](const std::string&) {}, {});
    EXPECT_EQ(sender.run(), Verdict::kRetry);
    EXPECT_EQ(journal.state().rest, breaks ? Rest::kAgain : Rest::kLeft);
    EXPECT_TRUE(sender.leftTornPage());
  }
}

TEST_F(SenderTest, ARawJobWhoseWayBecomesOfNoUseStopsTheQueue) {
  struct Full : BytesSink {
    using BytesSink::BytesSink;
    Progress send(const std::uint8_t* /*data*/, std::size_t /*size*/,
                  const Patience& /*patience*/) override {
      return Progress::kHopeless;
    }
  };
  PrinterOfBytes printer;
  Full sink(printer);
  Journal journal;
  RawBytes source;
  Sender sender(source, sink, journal, watch_, [](const std::string&) {}, {});
  EXPECT_EQ(sender.run(), Verdict::kStop);
}

// Label 1 was on its way to its last byte when all was ended by force.
TEST_F(SenderTest, WithoutRoomToSettleADoubtNothingIsSent) {
  for (const Doubt doubt : {Doubt::kSkip, Doubt::kAgain}) {
    PrinterOfBytes printer;
    BytesSink sink(printer);
    Journal journal;
    const std::string path = folder_ / (doubt == Doubt::kSkip ? "skip" : "again");
    ASSERT_EQ(journal.open(path).problem(), "");
    ASSERT_TRUE(journal.start({}));
    ASSERT_TRUE(journal.closing("digest", kUsualCommand));
    DiskFaults disk;
    disk.goodFlushes = 0;
    SendRules rules;
    rules.doubt = doubt;
    EXPECT_EQ(run(sink, journal, rules), Verdict::kStop);
    EXPECT_TRUE(printer.connections.empty());
    EXPECT_EQ(journal.state().doubted.size(), 1U);
  }
}

// The printer throws away 20 bytes of label 1, which is noted as printed, when label 2 is under
// way.
TEST_F(SenderTest, ALabelThatIsLostAndCannotBeNotedIsNamed) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  sink.unread = 20;
  sink.breaksAt = kLabelBytes + 5;
  Journal journal;
  ASSERT_EQ(journal.open(folder_ / "journal").problem(), "");
  ASSERT_TRUE(journal.start({}));
  DiskFaults disk;
  disk.goodFlushes = 2;  // label 1 closes and is done
  EXPECT_EQ(run(sink, journal), Verdict::kStop);
  EXPECT_EQ(named("may be missing"), std::set<int>{1});
}

TEST_F(SenderTest, ALabelThatCameAndIsNotMadeAgainIsWaitedForNotGuessedAt) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  Journal journal;
  ASSERT_TRUE(journal.start({}));
  sink.stopsAt = kLabelBytes + 1;
  ASSERT_EQ(run(sink, journal), Verdict::kRetry);
  ASSERT_EQ(journal.state().done(), 1U);
  watch_ = Watch();
  publish(paths_[0], {});  // a disk that was full
  BytesSink again(printer);
  const std::size_t came = printer.connections.size();
  ASSERT_TRUE(journal.start({}));
  EXPECT_EQ(run(again, journal), Verdict::kRetry);
  EXPECT_EQ(journal.state().rest, Rest::kAgain);
  EXPECT_EQ(printer.connections.size(), came);
}

TEST_F(SenderTest, AskedToLeaveBehindTheLastLabelItSendsNothingTwice) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  sink.stopsAt = kJobBytes;
  sink.stop = Stop::kLeave;
  Journal journal;
  ASSERT_TRUE(journal.start({}));
  EXPECT_EQ(run(sink, journal), Verdict::kRetry);
  EXPECT_EQ(journal.state().rest, Rest::kLeft);
  watch_ = Watch();
  BytesSink again(printer);
  ASSERT_TRUE(journal.start({}));
  EXPECT_EQ(run(again, journal), Verdict::kPrinted);
  EXPECT_EQ(counts(printer), (std::vector<int>{1, 1, 1}));
}

}  // namespace
}  // namespace kestra::delivery
