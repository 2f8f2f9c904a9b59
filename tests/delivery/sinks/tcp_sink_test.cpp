// Network printers that read, stall, reset, refuse, talk and never close.
#include "delivery/sinks/tcp_sink.h"

#include <gtest/gtest.h>

#include <net/if.h>
#include <netdb.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <chrono>
#include <future>
#include <memory>
#include <thread>

#include "delivery/sinks/count_lines.h"
#include "tests/delivery/sinks/small_printer.h"

namespace kestra::delivery {
namespace {

using std::chrono::milliseconds;
using test::Bytes;
using test::SmallPrinter;
using test::someBytes;
using test::StopWatch;
using test::Told;

Patience within(long time) { return Patience::forMilliseconds(time); }

// Within this much time whatever a test waits for has happened, on the slowest machine.
constexpr long kLong = 20000;

class TcpSinkTest : public ::testing::Test {
 protected:
  std::unique_ptr<TcpSink> sinkTo(const SmallPrinter& printer, const TcpTimes& times = {},
                                  bool inClass = false) {
    return std::make_unique<TcpSink>("127.0.0.1", printer.portText(), inClass, watch_, told_.tell(),
                                     times);
  }
  // Connects both sides; the printer's side may be used by the test from then on.
  static void connect(TcpSink& sink, SmallPrinter& printer) {
    ASSERT_TRUE(printer.isGood());
    ASSERT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kDone) << sink.problem();
    printer.accept();
  }
  // Hands a page over and has it acknowledged.
  static void deliver(TcpSink& sink, const Bytes& page) {
    ASSERT_EQ(sink.send(page.data(), page.size(), within(kLong)), Progress::kDone);
    ASSERT_EQ(sink.prove(within(kLong)), Progress::kDone);
  }
  // Of two pages, small enough to be acknowledged unread by a printer with a buffer of 8,192 bytes:
  // with a third one 9,000 bytes are unread, of which more than 3,000 show.
  std::unique_ptr<TcpSink> behindTwoPages(SmallPrinter& printer, milliseconds previousPage) {
    TcpTimes times;
    times.previousPage = previousPage;
    auto sink = sinkTo(printer, times);
    connect(*sink, printer);
    for (int i = 0; i < 2; ++i) deliver(*sink, page_);
    return sink;
  }
  const Bytes page_ = someBytes(3000);
  Watch watch_;
  Told told_;
};

TEST_F(TcpSinkTest, BytesArriveUnchangedAndTheJobEndsInOrder) {
  SmallPrinter printer(16384);
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(300001);
  auto got = std::async(std::launch::async, [&] { return printer.read(page.size() + 1); });
  EXPECT_EQ(sink->send(page.data(), page.size() - 1, within(kLong)), Progress::kDone);
  EXPECT_EQ(sink->settle(nullptr, 0, within(kLong)), Progress::kDone);
  EXPECT_EQ(sink->sent(), page.size() - 1);
  EXPECT_EQ(sink->send(&page.back(), 1, within(kLong)), Progress::kDone);
  EXPECT_EQ(sink->prove(within(kLong)), Progress::kDone);
  EXPECT_EQ(sink->sent(), page.size());
  EXPECT_EQ(sink->finish(within(kLong)), Progress::kDone);
  EXPECT_EQ(got.get(), page);
  EXPECT_EQ(printer.lastError(), 0);
  EXPECT_TRUE(told_.lines.empty()) << told_.lines.front();
}

TEST_F(TcpSinkTest, APrinterThatReadsNothingProvesNothing) {
  SmallPrinter printer(4096);
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(60000);
  ASSERT_EQ(sink->send(page.data(), page.size(), within(kLong)), Progress::kDone);
  EXPECT_EQ(sink->settle(nullptr, 0, within(300)), Progress::kTimedOut);
  EXPECT_EQ(sink->prove(within(300)), Progress::kTimedOut);
  EXPECT_EQ(sink->surelyRead(), 0U);
  EXPECT_EQ(printer.read(page.size()), page);
  EXPECT_EQ(sink->prove(within(kLong)), Progress::kDone);
}

TEST_F(TcpSinkTest, AStopEndsAWaitAtOnceAndTheCountIsRight) {
  SmallPrinter printer(4096);
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(4000000);
  std::array<int, 2> cord = {};
  ASSERT_EQ(pipe(cord.data()), 0);
  watch_.add(cord[0], [&] {
    watch_.remove(cord[0]);
    watch_.stop(Stop::kCancel);
  });
  StopWatch time;
  std::thread cancel([&] {
    printer.awaitUnread(1);
    std::this_thread::sleep_for(milliseconds(200));  // until no more is taken
    EXPECT_EQ(write(cord[1], "c", 1), 1);
  });
  const Patience page1 = {Clock::time_point::max(), Stop::kCancel};
  EXPECT_EQ(sink->send(page.data(), page.size(), page1), Progress::kStopped);
  EXPECT_LT(time.seconds(), kLong / 1000.0);
  cancel.join();
  const std::uint64_t sent = sink->sent();
  EXPECT_GT(sent, 0U);
  EXPECT_LT(sent, page.size());
  // What was counted, and not a byte more, is what the printer gets.
  auto got = std::async(std::launch::async, [&] { return printer.read(page.size()); });
  EXPECT_EQ(sink->prove(Patience::forMilliseconds(kLong, Stop::kNone)), Progress::kDone);
  EXPECT_EQ(sink->finish(Patience::forMilliseconds(kLong, Stop::kNone)), Progress::kDone);
  EXPECT_EQ(got.get(), Bytes(page.begin(), page.begin() + static_cast<std::ptrdiff_t>(sent)));
  close(cord[0]);
  close(cord[1]);
}

TEST_F(TcpSinkTest, AResetOverUnreadBytesLeavesThemUnsure) {
  SmallPrinter printer(16384);
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(3000);
  deliver(*sink, page);
  printer.awaitUnread(page.size());
  printer.hangUp();
  // The reset may still be on its way.
  Progress progress = Progress::kDone;
  while (progress == Progress::kDone) progress = sink->prove(within(kLong));
  EXPECT_EQ(progress, Progress::kBroken);
  EXPECT_EQ(sink->sent(), page.size());
  EXPECT_EQ(sink->surelyRead(), 0U);
  EXPECT_EQ(sink->problem(), "connection reset");
  sink->drop();
  EXPECT_EQ(sink->sent(), 0U);
}

TEST_F(TcpSinkTest, WhatAPrinterReadLongBeforeAResetIsSure) {
  SmallPrinter printer(16384);
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(400000);
  constexpr std::size_t kUnread = 5000;
  auto got = std::async(std::launch::async, [&] { return printer.read(page.size() - kUnread); });
  deliver(*sink, page);
  got.wait();
  printer.hangUp();
  // The reset may still be on its way.
  Progress progress = Progress::kDone;
  while (progress == Progress::kDone) progress = sink->settle(nullptr, 0, within(kLong));
  EXPECT_EQ(progress, Progress::kBroken);
  // The bound must not claim what is unread, and a small buffer cannot hold much: the system makes
  // 32768 bytes of it, and the bound allows for it twice.
  EXPECT_LE(sink->surelyRead(), page.size() - kUnread);
  EXPECT_GE(sink->surelyRead(), page.size() - 2 * 32768);
}

TEST_F(TcpSinkTest, APrinterThatClosesInOrderHasReadWhatItAcknowledged) {
  SmallPrinter printer(16384);
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(3000);
  ASSERT_EQ(sink->send(page.data(), page.size(), within(kLong)), Progress::kDone);
  ASSERT_EQ(sink->settle(nullptr, 0, within(kLong)), Progress::kDone);
  ASSERT_EQ(printer.read(page.size()), page);
  printer.hangUp();
  // In the middle of a page it is a break all the same.
  while (sink->settle(nullptr, 0, within(kLong)) == Progress::kDone) {
  }
  EXPECT_EQ(sink->surelyRead(), page.size());
  EXPECT_EQ(sink->problem(), "it closed the connection");
  EXPECT_EQ(sink->send(page.data(), 1, within(kLong)), Progress::kBroken);
}

TEST_F(TcpSinkTest, APrinterThatClosesBetweenPagesIsConnectedAnew) {
  SmallPrinter printer;
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(3000);
  deliver(*sink, page);
  ASSERT_EQ(printer.read(page.size()), page);
  auto again = std::async(std::launch::async, [&] {
    printer.hangUp();
    printer.accept();
    return printer.read(page.size());
  });
  // The end of the first connection is under way: open until it is noticed, as page after page
  // does.
  StopWatch time;
  while (sink->surelyRead() != page.size() && time.seconds() < 10) {
    ASSERT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kDone);
  }
  deliver(*sink, page);
  // The count goes on over both connections.
  EXPECT_EQ(sink->sent(), 2 * page.size());
  EXPECT_EQ(again.get(), page);
}

TEST_F(TcpSinkTest, APrinterThatRefusesIsWaitedForAndToldOnce) {
  SmallPrinter first;
  const int port = first.port();
  const auto sink = sinkTo(first);
  first.stopListening();
  // It is told of behind a second, however seldom this process can run.
  StopWatch away;
  while (told_.count("INFO: Waiting") == 0 && away.seconds() < kLong / 1000.0) {
    EXPECT_EQ(sink->open(Before::kNothing, within(1500)), Progress::kTimedOut);
  }
  EXPECT_EQ(told_.count("STATE: +connecting-to-device"), 1);
  EXPECT_EQ(told_.count("STATE: +offline-report"), 1);
  EXPECT_EQ(told_.count("INFO: Waiting for the printer at 127.0.0.1:" + std::to_string(port) +
                        ": connection refused"),
            1);
  SmallPrinter second(0, port);
  ASSERT_TRUE(second.isGood());
  StopWatch time;
  EXPECT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kDone);
  EXPECT_LT(time.seconds(), kLong / 2000.0);
  EXPECT_EQ(told_.count("STATE: -connecting-to-device,-offline-report"), 1);
  EXPECT_EQ(told_.count("INFO: Waiting"), 1);
}

TEST_F(TcpSinkTest, AStopEndsTheWaitForAPrinterThatIsAway) {
  SmallPrinter printer;
  const auto sink = sinkTo(printer);
  printer.stopListening();
  watch_.stop(Stop::kLeave);
  EXPECT_EQ(sink->open(Before::kNothing, {}), Progress::kStopped);
}

TEST_F(TcpSinkTest, InAClassAPrinterThatIsAwayIsGivenUpSoon) {
  SmallPrinter printer;
  TcpTimes times;
  times.awayInClass = milliseconds(400);
  const auto sink = sinkTo(printer, times, true);
  printer.stopListening();
  StopWatch time;
  EXPECT_EQ(sink->open(Before::kNothing, within(kLong)), Progress::kBroken);
  EXPECT_GE(time.seconds(), 0.4);
  EXPECT_LT(time.seconds(), kLong / 2000.0);
  EXPECT_EQ(sink->problem(), "connection refused");
}

TEST_F(TcpSinkTest, AHostNameThatNobodyKnowsIsToldOnce) {
  TcpTimes times;
  times.tellAway = milliseconds(0);
  TcpSink sink("no-such-printer.invalid", "9100", false, watch_, told_.tell(), times);
  StopWatch time;
  while (told_.count("INFO: Waiting") == 0 && time.seconds() < kLong / 1000.0) {
    EXPECT_EQ(sink.open(Before::kNothing, within(1500)), Progress::kTimedOut);
  }
  EXPECT_GE(told_.count("INFO: Waiting for the printer at no-such-printer.invalid:9100: "), 1);
  // A name server that is away in between is another reason, and news.
  for (std::size_t i = 1; i < told_.lines.size(); ++i)
    EXPECT_NE(told_.lines[i], told_.lines[i - 1]);
}

TEST_F(TcpSinkTest, AnEmptyHostIsHopeless) {
  TcpSink sink("", "9100", false, watch_, told_.tell());
  EXPECT_EQ(sink.open(Before::kNothing, within(kLong)), Progress::kHopeless);
  EXPECT_FALSE(sink.problem().empty());
}

TEST_F(TcpSinkTest, APrinterThatNeverClosesCostsHalfASecond) {
  double least = kLong;
  for (int attempt = 0; attempt < 10 && least > 0.6; ++attempt) {  // a busy machine adds to it
    SmallPrinter printer;
    const auto sink = sinkTo(printer);
    connect(*sink, printer);
    const Bytes page = someBytes(3000);
    deliver(*sink, page);
    StopWatch time;
    EXPECT_EQ(sink->finish(within(kLong)), Progress::kDone);
    EXPECT_GE(time.seconds(), 0.49);
    least = std::min(least, time.seconds());
    // The printer loses nothing by that.
    EXPECT_EQ(printer.read(page.size() + 1), page);
    EXPECT_EQ(printer.lastError(), 0);
    EXPECT_EQ(sink->finish(within(kLong)), Progress::kDone);
  }
  EXPECT_LE(least, 0.6);
}

TEST_F(TcpSinkTest, AResetDuringTheFarewellIsABreak) {
  SmallPrinter printer(16384);
  TcpTimes times;
  times.farewell = milliseconds(kLong);
  const auto sink = sinkTo(printer, times);
  connect(*sink, printer);
  const Bytes page = someBytes(3000);
  deliver(*sink, page);
  printer.awaitUnread(page.size());
  auto reset = std::async(std::launch::async, [&] { printer.hangUp(); });
  EXPECT_EQ(sink->finish(within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink->surelyRead(), 0U);
}

TEST_F(TcpSinkTest, WhatAPrinterSaysDisturbsNothing) {
  SmallPrinter printer;
  TcpTimes times;
  times.farewell = milliseconds(kLong);  // it says on while it reads, and closes at its end
  const auto sink = sinkTo(printer, times);
  connect(*sink, printer);
  const Bytes page = someBytes(500000);
  auto got = std::async(std::launch::async, [&] {
    printer.say("\x1B[31mpaper\nERROR: is\x07 low\n");
    Bytes all;
    while (true) {
      printer.say(std::string(50, '?'));
      const Bytes part = printer.read(5000);
      all.insert(all.end(), part.begin(), part.end());
      if (part.size() < 5000) break;
    }
    printer.hangUp();
    return all;
  });
  deliver(*sink, page);
  EXPECT_EQ(sink->finish(within(kLong)), Progress::kDone);
  // A reset would have cut the printer's reading short.
  EXPECT_EQ(got.get(), page);
  EXPECT_EQ(printer.lastError(), 0);
  EXPECT_GE(told_.count("DEBUG: the printer says "), 1);
  EXPECT_LE(told_.count("DEBUG: the printer says "), 3);
  EXPECT_EQ(told_.lines.front().find_first_of("\x1B\n\x07"), std::string::npos);
  EXPECT_EQ(told_.count("ERROR"), 0);
}

TEST_F(TcpSinkTest, APrinterThatTakesNothingIsToldOnceAndSoIsItsReturn) {
  SmallPrinter printer(4096);
  TcpTimes times;
  times.noProgress = milliseconds(300);
  const auto sink = sinkTo(printer, times);
  connect(*sink, printer);
  const Bytes page = someBytes(60000);
  ASSERT_EQ(sink->send(page.data(), page.size(), within(kLong)), Progress::kDone);
  StopWatch time;
  while (told_.count("STATE: +offline-report") == 0 && time.seconds() < kLong / 1000.0) {
    EXPECT_EQ(sink->settle(nullptr, 0, within(1500)), Progress::kTimedOut);
  }
  EXPECT_EQ(told_.count("INFO: The printer takes no more data; is it out of paper or paused?"), 1);
  EXPECT_EQ(told_.count("STATE: +offline-report"), 1);
  auto got = std::async(std::launch::async, [&] { return printer.read(page.size()); });
  EXPECT_EQ(sink->settle(nullptr, 0, within(kLong)), Progress::kDone);
  EXPECT_EQ(told_.count("STATE: -offline-report"), 1);
  EXPECT_EQ(told_.count("INFO: The printer takes no more data"), 1);
  EXPECT_EQ(got.get(), page);
}

TEST_F(TcpSinkTest, SettlingWaitsForThePageBeforeToBeRead) {
  double least = kLong;
  for (int attempt = 0; attempt < 5 && least >= 1.2; ++attempt) {  // a busy machine adds to it
    SmallPrinter printer(8192);
    const auto sink = behindTwoPages(printer, milliseconds(1500));
    StopWatch time;
    ASSERT_EQ(sink->settle(page_.data(), page_.size(), within(kLong)), Progress::kDone);
    EXPECT_GE(time.seconds(), 1.5);
    EXPECT_LT(time.seconds(), kLong / 2000.0);
    // A printer that has read everything shows it, and nothing is waited for.
    EXPECT_EQ(printer.read(3 * page_.size()).size(), 3 * page_.size());
    StopWatch quick;
    ASSERT_EQ(sink->settle(page_.data(), page_.size(), within(kLong)), Progress::kDone);
    least = std::min(least, quick.seconds());
  }
  EXPECT_LT(least, 1.2);
}

TEST_F(TcpSinkTest, SettlingAsksForTheRoomByteByByte) {
  SmallPrinter printer(8192);
  const auto sink = behindTwoPages(printer, milliseconds(3200));
  // 32 bytes are kept back; a question each tenth of a second.
  // On a machine that does not let it ask in its second it has another one.
  std::size_t rest = page_.size();
  StopWatch time;
  while (rest >= 32 && time.seconds() < kLong / 1000.0) {
    EXPECT_EQ(sink->settle(&page_[page_.size() - rest], rest, within(1000)), Progress::kTimedOut);
    rest = 9000 - sink->sent();
  }
  EXPECT_LT(rest, 32U);
  EXPECT_GE(rest, 32U - 10U);
  EXPECT_EQ(printer.read(sink->sent()).size(), sink->sent());
  EXPECT_EQ(sink->settle(&page_[page_.size() - rest], rest, within(kLong)), Progress::kDone);
  EXPECT_EQ(printer.read(rest),
            Bytes(page_.end() - static_cast<std::ptrdiff_t>(rest), page_.end()));
}

// The second page is longer than the room that is offered, so that most of it being read shows that
// all of the first one is.
TEST_F(TcpSinkTest, SettlingALongEnoughPageLeavesNoDoubtAboutTheOneBefore) {
  SmallPrinter printer(16384);
  TcpTimes times;
  times.previousPage = milliseconds(kLong);
  const auto sink = sinkTo(printer, times);
  connect(*sink, printer);
  const Bytes before = someBytes(500);
  deliver(*sink, before);
  const Bytes page = someBytes(21500, 2);
  StopWatch time;
  auto settled = std::async(std::launch::async,
                            [&] { return sink->settle(page.data(), page.size(), within(kLong)); });
  EXPECT_EQ(settled.wait_for(milliseconds(300)), std::future_status::timeout);
  EXPECT_EQ(printer.read(before.size()), before);
  EXPECT_EQ(printer.read(page.size()), page);
  EXPECT_EQ(settled.get(), Progress::kDone);
  EXPECT_LT(time.seconds(), kLong / 2000.0);
  EXPECT_GE(sink->surelyRead(), before.size());
  EXPECT_EQ(sink->sent(), before.size() + page.size());
}

TEST_F(TcpSinkTest, ADroppedPageReachesThePrinterAsAReset) {
  SmallPrinter printer;
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(3000);
  ASSERT_EQ(sink->send(page.data(), page.size(), within(kLong)), Progress::kDone);
  ASSERT_EQ(sink->settle(nullptr, 0, within(kLong)), Progress::kDone);
  sink->drop();
  static_cast<void>(printer.read(page.size() + 1));
  EXPECT_EQ(printer.lastError(), ECONNRESET);
  EXPECT_EQ(sink->send(page.data(), 1, within(kLong)), Progress::kBroken);
}

TEST_F(TcpSinkTest, APrinterThatResetsBetweenPagesHasLostWhatItHadNotRead) {
  SmallPrinter printer(16384);
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(3000);
  deliver(*sink, page);
  printer.awaitUnread(page.size());
  printer.hangUp();
  Progress progress = Progress::kDone;
  StopWatch time;
  while (progress == Progress::kDone && time.seconds() < 10) {
    progress = sink->open(Before::kNothing, within(kLong));
  }
  EXPECT_EQ(progress, Progress::kBroken);
  EXPECT_EQ(sink->surelyRead(), 0U);
}

TEST_F(TcpSinkTest, OutsideOfAClassAPrinterThatIsAwayIsWaitedFor) {
  SmallPrinter printer;
  TcpTimes times;
  times.awayInClass = milliseconds(100);
  const auto sink = sinkTo(printer, times);
  printer.stopListening();
  EXPECT_EQ(sink->open(Before::kNothing, within(600)), Progress::kTimedOut);
}

TEST_F(TcpSinkTest, NothingGoesWithoutAConnection) {
  TcpSink sink("127.0.0.1", "9100", false, watch_, told_.tell());
  const Bytes page = someBytes(10);
  EXPECT_EQ(sink.send(page.data(), page.size(), within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink.settle(nullptr, 0, within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink.prove(within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink.finish(within(kLong)), Progress::kDone);
}

TEST_F(TcpSinkTest, AServiceThatNobodyKnowsIsToldInTheSystemsWords) {
  TcpTimes times;
  times.tellAway = milliseconds(0);
  TcpSink sink("127.0.0.1", "no-such-service", false, watch_, told_.tell(), times);
  // Before the system's answer it is told that the name is being looked up.
  const std::string words = "INFO: Waiting for the printer at 127.0.0.1:no-such-service: ";
  const std::string known = words + gai_strerror(EAI_SERVICE);
  StopWatch time;
  while (told_.count(known) == 0 && time.seconds() < kLong / 1000.0) {
    EXPECT_EQ(sink.open(Before::kNothing, within(1500)), Progress::kTimedOut);
  }
  EXPECT_EQ(sink.problem(), gai_strerror(EAI_SERVICE));
  EXPECT_EQ(told_.count(known), 1);
}

// It takes no more connections than wait already: who asks gets no answer at all.
TEST_F(TcpSinkTest, APrinterThatDoesNotAnswerIsWaitedForWithPatience) {
  SmallPrinter printer;
  std::vector<int> waiting;
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(printer.port()));
  for (int i = 0; i < 12; ++i) {
    waiting.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    static_cast<void>(
        ::connect(waiting.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
  }
  {
    const auto sink = sinkTo(printer);
    EXPECT_EQ(sink->open(Before::kNothing, within(1000)), Progress::kTimedOut);
    EXPECT_EQ(sink->problem(), "no answer");
  }
  TcpTimes times;
  times.connect = milliseconds(100);
  times.tellAway = milliseconds(0);
  const auto sink = sinkTo(printer, times);
  StopWatch time;
  while (told_.count("INFO: Waiting") == 0 && time.seconds() < kLong / 1000.0) {
    EXPECT_EQ(sink->open(Before::kNothing, within(500)), Progress::kTimedOut);
  }
  EXPECT_EQ(
      told_.count("INFO: Waiting for the printer at 127.0.0.1:" + printer.portText() + ": no"), 1);
  for (const int one : waiting) close(one);
}

TEST_F(TcpSinkTest, APageThatAPrinterClosesBeforeItsProofIsABreak) {
  SmallPrinter printer;
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(1000);
  ASSERT_EQ(sink->send(page.data(), page.size(), within(kLong)), Progress::kDone);
  ASSERT_EQ(printer.read(page.size()), page);
  printer.hangUp();
  Progress progress = Progress::kDone;
  StopWatch time;
  while (progress == Progress::kDone && time.seconds() < 10) {
    progress = sink->open(Before::kNothing, within(kLong));
  }
  EXPECT_EQ(progress, Progress::kBroken);
}

TEST_F(TcpSinkTest, AResetWhileAPageIsOnItsWayIsABreak) {
  SmallPrinter printer(4096);
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(4000000);
  auto reset = std::async(std::launch::async, [&] {
    static_cast<void>(printer.read(1000));
    printer.awaitUnread(1000);
    printer.hangUp();
  });
  EXPECT_EQ(sink->send(page.data(), page.size(), within(kLong)), Progress::kBroken);
  EXPECT_EQ(sink->problem(), "connection reset");
  EXPECT_LT(sink->sent(), page.size());
}

TEST_F(TcpSinkTest, AFullPrinterIsWaitedForWithPatience) {
  SmallPrinter printer(4096);
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  const Bytes page = someBytes(4000000);
  EXPECT_EQ(sink->send(page.data(), page.size(), within(700)), Progress::kTimedOut);
  const std::uint64_t sent = sink->sent();
  EXPECT_LT(sent, page.size());
  // More of it, while nothing of what was sent is out.
  EXPECT_EQ(sink->send(page.data() + sent, 1000000, within(100)), Progress::kTimedOut);
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(sink->prove({}), Progress::kStopped);
}

TEST_F(TcpSinkTest, APrinterThatResetsWhileItIsOutOfPaperIsNotLeftOffline) {
  SmallPrinter printer(4096);
  TcpTimes times;
  times.noProgress = milliseconds(200);
  const auto sink = sinkTo(printer, times);
  connect(*sink, printer);
  const Bytes page = someBytes(60000);
  ASSERT_EQ(sink->send(page.data(), page.size(), within(kLong)), Progress::kDone);
  StopWatch time;
  while (told_.count("STATE: +offline-report") == 0 && time.seconds() < kLong / 1000.0) {
    ASSERT_EQ(sink->prove(within(1000)), Progress::kTimedOut);
  }
  ASSERT_EQ(told_.count("STATE: +offline-report"), 1);
  printer.hangUp();
  EXPECT_EQ(sink->prove(within(kLong)), Progress::kBroken);
  EXPECT_EQ(told_.count("STATE: -offline-report"), 1);
}

TEST_F(TcpSinkTest, SettlingEndsWithPatienceAStopOrABreak) {
  SmallPrinter printer(8192);
  const auto sink = behindTwoPages(printer, milliseconds(kLong));
  EXPECT_EQ(sink->settle(page_.data(), page_.size(), within(100)), Progress::kTimedOut);
  watch_.stop(Stop::kLeave);
  EXPECT_EQ(sink->settle(nullptr, 0, {}), Progress::kStopped);
  auto reset = std::async(std::launch::async, [&] {
    std::this_thread::sleep_for(milliseconds(100));  // while it is being waited for
    printer.hangUp();
  });
  EXPECT_EQ(sink->settle(nullptr, 0, Patience::forMilliseconds(kLong, Stop::kNone)),
            Progress::kBroken);
}

TEST_F(TcpSinkTest, AStopEndsTheFarewell) {
  SmallPrinter printer;
  TcpTimes times;
  times.farewell = milliseconds(kLong);
  const auto sink = sinkTo(printer, times);
  connect(*sink, printer);
  const Bytes page = someBytes(10);
  deliver(*sink, page);
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(sink->finish({}), Progress::kStopped);
}

// More words than are heard at once.
TEST_F(TcpSinkTest, AChattererIsSentItsPage) {
  SmallPrinter printer;
  const auto sink = sinkTo(printer);
  connect(*sink, printer);
  printer.say(std::string(100000, '?'));
  const Bytes page = someBytes(10);
  deliver(*sink, page);
  EXPECT_EQ(printer.read(page.size()), page);
  EXPECT_EQ(told_.count("DEBUG: the printer says "), 3);
}

// In a network of the process's own, whose only way is cut under a connection as a cable is.
void setLoopback(bool isUp) {
  const int any = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request = {};
  request.ifr_name[0] = 'l';
  request.ifr_name[1] = 'o';
  request.ifr_flags = static_cast<short>(isUp ? IFF_UP | IFF_RUNNING : 0);
  if (ioctl(any, SIOCSIFFLAGS, &request) != 0) _exit(9);
  close(any);
}

// Exit status 0: the printer was given up; 1: it was said not to answer, and waited for until a
// person had read that; 2: neither.
int loseThePrinter(bool inClass) {
  if (unshare(CLONE_NEWNET) != 0) return 9;
  setLoopback(true);
  SmallPrinter printer;
  Watch watch;
  Told told;
  TcpTimes times;
  times.noProgress = milliseconds(1500);
  const std::string words =
      "INFO: The printer at 127.0.0.1:" + printer.portText() + " does not answer";
  const Tell tell = [&](const std::string& line) {
    told.lines.push_back(line);
    if (line == words) watch.stop(Stop::kCancel);
  };
  TcpSink sink("127.0.0.1", printer.portText(), inClass, watch, tell, times);
  if (sink.open(Before::kNothing, within(kLong)) != Progress::kDone) return 8;
  printer.accept();
  const Bytes page = someBytes(3000);
  if (sink.send(page.data(), page.size(), within(kLong)) != Progress::kDone) return 7;
  if (sink.prove(within(kLong)) != Progress::kDone) return 6;
  setLoopback(false);
  if (sink.send(page.data(), page.size(), within(kLong)) != Progress::kDone) return 5;
  const Progress progress = sink.settle(nullptr, 0, within(kLong));
  if (progress == Progress::kBroken) return sink.problem() == "it does not answer" ? 0 : 4;
  return progress == Progress::kStopped && told.count(words) == 1 ? 1 : 2;
}

TEST(TcpSinkWithoutACable, APrinterThatIsGoneIsGivenUpInAClassAndToldElsewhere) {
  if (geteuid() != 0) GTEST_SKIP() << "only root has networks of its own";
  for (const bool inClass : {true, false}) {
    const pid_t child = fork();
    if (child == 0) {
      const int outcome = loseThePrinter(inClass);
      countLines();
      _exit(outcome);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WEXITSTATUS(status) == 9) GTEST_SKIP() << "no network of its own can be had";
    EXPECT_EQ(WEXITSTATUS(status), inClass ? 0 : 1) << inClass;
  }
}

}  // namespace
}  // namespace kestra::delivery
