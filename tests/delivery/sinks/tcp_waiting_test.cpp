// What it costs to wait for a printer that takes nothing, and for a system without memory.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "delivery/sinks/tcp_sink.h"
#include "tests/delivery/sinks/no_memory.h"
#include "tests/delivery/sinks/small_printer.h"

namespace kestra::delivery {
namespace {

using test::Bytes;
using test::SmallPrinter;
using test::someBytes;

constexpr long kLong = 20000;

// How often this thread has gone to sleep.
long sleeps() {
  rusage usage = {};
  EXPECT_EQ(getrusage(RUSAGE_THREAD, &usage), 0);
  return usage.ru_nvcsw;
}

class TcpWaitingTest : public ::testing::Test {
 protected:
  TcpWaitingTest() {
    EXPECT_EQ(sink_.open(Before::kNothing, Patience::forMilliseconds(kLong)), Progress::kDone);
    printer_.accept();
  }
  SmallPrinter printer_{4096};
  Watch watch_;
  TcpSink sink_{"127.0.0.1", printer_.portText(), false, watch_, [](const std::string&) {}};
};

// In the first second at most every 5 ms, then every 50 ms: 200 looks and 20, and a few to get
// there. Every 5 ms throughout would be 400.
TEST_F(TcpWaitingTest, APrinterThatStallsIsLookedAtEverMoreSeldom) {
  const Bytes page = someBytes(60000);
  ASSERT_EQ(sink_.send(page.data(), page.size(), Patience::forMilliseconds(kLong)),
            Progress::kDone);
  // Whatever the printer's system takes it has taken, be it only when it is asked again.
  EXPECT_EQ(sink_.prove(Patience::forMilliseconds(1000)), Progress::kTimedOut);
  const long before = sleeps();
  EXPECT_EQ(sink_.prove(Patience::forMilliseconds(2000)), Progress::kTimedOut);
  EXPECT_LE(sleeps() - before, 280);
  EXPECT_EQ(printer_.read(page.size()), page);
  EXPECT_EQ(sink_.prove(Patience::forMilliseconds(kLong)), Progress::kDone);
}

// A pause of 10 ms behind each refusal: not more than 20 of them in 200 ms, and the first.
TEST_F(TcpWaitingTest, ASystemWithoutMemoryIsAskedAgainAfterAPause) {
  const Bytes page = someBytes(1000);
  const test::NoMemory system{std::chrono::milliseconds(200)};
  ASSERT_EQ(sink_.send(page.data(), page.size(), Patience::forMilliseconds(kLong)),
            Progress::kDone);
  EXPECT_GE(system.refused, 1);
  EXPECT_LE(system.refused, 21);
  EXPECT_EQ(printer_.read(page.size()), page);
}

TEST_F(TcpWaitingTest, AStopEndsTheWaitForMemory) {
  const Bytes page = someBytes(1000);
  const test::NoMemory system{std::chrono::milliseconds(kLong)};
  watch_.stop(Stop::kLeave);
  EXPECT_EQ(sink_.send(page.data(), page.size(), {}), Progress::kStopped);
  EXPECT_EQ(sink_.send(page.data(), page.size(), Patience::forMilliseconds(50, Stop::kCancel)),
            Progress::kTimedOut);
}

}  // namespace
}  // namespace kestra::delivery
