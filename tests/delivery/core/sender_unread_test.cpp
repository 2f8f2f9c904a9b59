// What a printer has taken and not read when the way to it is given up.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "delivery/core/file_source.h"
#include "delivery/core/sender.h"
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

// Out of paper: it reads so many bytes, has room for some more, and then takes nothing. When it has
// no room left a person cancels, if it has not happened before.
class OutOfPaper : public Sink {
 public:
  OutOfPaper(PrinterOfBytes& printer, Watch& watch) : printer_(printer), watch_(watch) {}

  std::size_t reads = 0, room = 0;
  bool resetsAtTheEnd = false;      // of a connection that is closed in order
  std::size_t leavesAt = SIZE_MAX;  // the sender is asked to leave at so many bytes
  std::vector<Before> opened;

  Progress open(Before before, const Patience& patience) override {
    if (watch_.isStopped(patience)) return Progress::kStopped;
    if (!isOpen_) {
      printer_.connections.emplace_back();
      opened.push_back(before);
    }
    isOpen_ = true;
    return Progress::kDone;
  }
  Progress send(const std::uint8_t* data, std::size_t size, const Patience& patience) override {
    for (std::size_t i = 0; i < size; ++i) {
      if (taken().size() == reads + room) watch_.stop(Stop::kCancel);
      if (watch_.isStopped(patience)) return Progress::kStopped;
      if (taken().size() == reads + room) return Progress::kTimedOut;
      taken().push_back(data[i]);
      if (taken().size() == leavesAt) watch_.stop(Stop::kLeave);
    }
    return Progress::kDone;
  }
  std::uint64_t sent() const override { return isOpen_ ? printer_.connections.back().size() : 0; }
  Progress settle(const std::uint8_t* data, std::size_t size, const Patience& patience) override {
    const Progress progress = send(data, size, patience);
    return progress == Progress::kDone ? prove(patience) : progress;
  }
  Progress prove(const Patience& patience) override {
    return watch_.isStopped(patience) ? Progress::kStopped : Progress::kDone;
  }
  std::uint64_t surelyRead() const override { return std::min<std::uint64_t>(sent(), reads); }
  Progress finish(const Patience& /*patience*/) override {
    if (isOpen_ && resetsAtTheEnd && taken().size() > reads) {
      taken().resize(reads);
      return Progress::kBroken;
    }
    isOpen_ = false;
    return Progress::kDone;
  }
  // A reset: what was not read is gone.
  void drop() override {
    if (isOpen_ && taken().size() > reads) taken().resize(reads);
    isOpen_ = false;
  }
  std::string problem() const override { return "out of paper"; }

 private:
  Bytes& taken() { return printer_.connections.back(); }

  PrinterOfBytes& printer_;
  Watch& watch_;
  bool isOpen_ = false;
};

class SenderUnreadTest : public testing::Test {
 protected:
  SenderUnreadTest() {
    for (std::size_t i = 1; i <= kLabels; ++i) {
      paths_.push_back(folder_ / std::to_string(i));
      publish(paths_.back(), frameOf(static_cast<std::uint8_t>(16 * i)));
    }
  }
  Verdict run(Sink& sink, Journal& journal) {
    FileSource source(paths_, kUsualCommand);
    Sender sender(source, sink, journal, watch_,
                  [this](const std::string& line) { told_.push_back(line); }, {});
    const Verdict verdict = sender.run();
    leftTorn_ = sender.leftTornPage();
    return verdict;
  }
  // The job is started again at a printer that takes everything.
  void runAgain(PrinterOfBytes& printer, Journal& journal) {
    watch_ = Watch();
    BytesSink sink(printer);
    EXPECT_EQ(run(sink, journal), Verdict::kPrinted);
  }
  // None lost, none out of order among those that came first, twice only what was announced.
  void expectOnce(const PrinterOfBytes& printer, const std::string& when) const {
    const std::vector<int> came = printer.labels(kLabelBytes);
    for (int label = 1; label <= static_cast<int>(kLabels); ++label) {
      const auto count = std::count(came.begin(), came.end(), 16 * label);
      EXPECT_GE(count, 1) << when << ", label " << label;
      EXPECT_LE(count, 1 + announced(label)) << when << ", label " << label;
    }
  }
  int announced(int label) const {
    int times = 0;
    for (const std::string& line : told_) {
      int first = 0, last = 0;
      if (line.find("may come twice") == std::string::npos) continue;
      if (std::sscanf(line.c_str(), "WARNING: Labels %d to %d", &first, &last) != 2) {
        std::sscanf(line.c_str(), "WARNING: Label %d", &first);
        last = first;
      }
      if (first <= label && label <= last) ++times;
    }
    return times;
  }

  Folder folder_;
  std::vector<std::string> paths_;
  Watch watch_;
  std::vector<std::string> told_;
  bool leftTorn_ = false;
};

TEST_F(SenderUnreadTest, LabelsInThePrintersMemoryAreNotTakenForPrintedWhenAJobIsStopped) {
  for (const std::size_t room : {std::size_t{20}, std::size_t{41}, std::size_t{100}}) {
    for (std::size_t reads = 0; reads + room < kJobBytes; ++reads) {
      const std::string when = std::to_string(reads) + " read, room for " + std::to_string(room);
      watch_ = Watch();
      told_.clear();
      PrinterOfBytes printer;
      OutOfPaper sink(printer, watch_);
      sink.reads = reads;
      sink.room = room;
      Journal journal;
      EXPECT_EQ(run(sink, journal), Verdict::kRetry) << when;
      EXPECT_EQ(journal.state().rest, Rest::kStopped) << when;
      runAgain(printer, journal);
      expectOnce(printer, when);
    }
  }
}

TEST_F(SenderUnreadTest, APrinterThatTookPartOfALabelIsKnownToHaveIt) {
  for (std::size_t takes = 1; takes < kJobBytes; ++takes) {
    watch_ = Watch();
    PrinterOfBytes printer;
    OutOfPaper sink(printer, watch_);
    sink.reads = takes;
    Journal journal;
    EXPECT_EQ(run(sink, journal), Verdict::kRetry) << takes;
    EXPECT_EQ(leftTorn_, takes % kLabelBytes != 0) << takes;
  }
}

TEST_F(SenderUnreadTest, ALabelThatWasEndedInWhiteLeavesNothingInThePrinter) {
  for (std::size_t cancelled = 1; cancelled < kLabelBytes; ++cancelled) {
    watch_ = Watch();
    PrinterOfBytes printer;
    BytesSink sink(printer);
    sink.watch = &watch_;
    sink.stopsAt = cancelled;
    Journal journal;
    EXPECT_EQ(run(sink, journal), Verdict::kRetry) << cancelled;
    EXPECT_FALSE(leftTorn_) << cancelled;
  }
}

TEST_F(SenderUnreadTest, WhatThePrinterLosesInTheFarewellOfAStoppedJobComesAgain) {
  for (std::size_t reads = 0; reads <= kLabelBytes; ++reads) {
    watch_ = Watch();
    told_.clear();
    PrinterOfBytes printer;
    OutOfPaper sink(printer, watch_);
    sink.reads = reads;
    sink.room = kJobBytes;
    sink.leavesAt = kLabelBytes / 2;
    sink.resetsAtTheEnd = true;
    Journal journal;
    EXPECT_EQ(run(sink, journal), Verdict::kRetry) << reads;
    EXPECT_EQ(journal.state().done(), reads < kLabelBytes ? 0U : 1U) << reads;
    runAgain(printer, journal);
    expectOnce(printer, std::to_string(reads) + " read");
  }
}

TEST_F(SenderUnreadTest, ALabelWhoseNoteFindsNoDiskIsLeftTorn) {
  PrinterOfBytes printer;
  BytesSink sink(printer);
  sink.watch = &watch_;
  Journal journal;
  ASSERT_EQ(journal.open(folder_ / "journal").problem(), "");
  DiskFaults disk;
  disk.goodFlushes = 2;  // those of the first label
  EXPECT_EQ(run(sink, journal), Verdict::kStop);
  EXPECT_EQ(printer.connections.at(0).size(), 2 * kLabelBytes - 1);
  EXPECT_TRUE(leftTorn_);
}

}  // namespace
}  // namespace kestra::delivery
