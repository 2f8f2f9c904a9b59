// Printers that accept a connection and break it at once, as one does that serves somebody else.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include "delivery/sinks/tcp_sink.h"
#include "tests/delivery/sinks/small_printer.h"

namespace kestra::delivery {
namespace {

using std::chrono::milliseconds;

// Accepts and hangs up until it is told to take a page.
class BusyPrinter {
 public:
  BusyPrinter() : thread_([this] { serve(); }) {}
  ~BusyPrinter() {
    isOver_ = true;
    thread_.join();
  }
  BusyPrinter(const BusyPrinter&) = delete;
  BusyPrinter& operator=(const BusyPrinter&) = delete;

  std::string port() const { return std::to_string(port_); }
  int connections() const { return connections_; }

 private:
  static int listenAnywhere(int& port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(listen(listener, 4), 0);
    EXPECT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
    port = ntohs(address.sin_port);
    return listener;
  }
  void serve() {
    constexpr int kLookMilliseconds = 20;
    while (!isOver_) {
      pollfd someone = {listener_, POLLIN, 0};
      if (poll(&someone, 1, kLookMilliseconds) <= 0) continue;
      const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (connection < 0) continue;
      ++connections_;
      const linger atOnce = {1, 0};
      setsockopt(connection, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
      close(connection);
    }
    close(listener_);
  }

  int port_ = 0;
  int listener_ = listenAnywhere(port_);
  std::atomic<bool> isOver_{false};
  std::atomic<int> connections_{0};
  std::thread thread_;
};

class TcpBusyPrinterTest : public ::testing::Test {
 protected:
  TcpBusyPrinterTest() { times_.farewell = milliseconds(kLong); }

  // Prints a page over a connection that there is. A farewell for want of time is no good end: the
  // printer has not come to hanging up.
  static Progress tryOnce(TcpSink& sink, const Patience& patience) {
    const test::Bytes page = test::someBytes(3000);
    Progress progress = sink.send(page.data(), page.size(), patience);
    if (progress == Progress::kDone) progress = sink.prove(patience);
    if (progress == Progress::kDone) progress = sink.finish(patience);
    const bool isOver = Clock::now() >= patience.until;
    return progress == Progress::kDone && isOver ? Progress::kTimedOut : progress;
  }
  // Tries to print a page until the time is up or the printer is given up; like a sender, anew
  // after each break.
  static Progress tryFor(TcpSink& sink, long time) {
    const Patience patience = Patience::forMilliseconds(time);
    while (true) {
      Progress progress = sink.open(Before::kNothing, patience);
      if (progress != Progress::kDone) return progress;
      progress = tryOnce(sink, patience);
      if (progress != Progress::kBroken) return progress;
      sink.drop();
    }
  }

  static constexpr long kLong = 20000;
  TcpTimes times_;
  BusyPrinter printer_;
  Watch watch_;
  test::Told told_;
};

TEST_F(TcpBusyPrinterTest, IsAskedEverMoreSeldom) {
  TcpSink sink("127.0.0.1", printer_.port(), false, watch_, told_.tell(), times_);
  EXPECT_EQ(tryFor(sink, 3000), Progress::kTimedOut);
  // At 0, 100, 300, 700 and 1,500 milliseconds.
  EXPECT_LE(printer_.connections(), 5);
  // A slow machine comes to them later.
  test::StopWatch time;
  while (printer_.connections() < 3 && time.seconds() < kLong / 1000.0) {
    EXPECT_EQ(tryFor(sink, 1000), Progress::kTimedOut);
  }
  EXPECT_GE(printer_.connections(), 3);
}

TEST_F(TcpBusyPrinterTest, IsNotAskedAnyMoreAfterAStop) {
  times_.firstPause = std::chrono::seconds(60);
  TcpSink sink("127.0.0.1", printer_.port(), false, watch_, told_.tell(), times_);
  const Patience patience = Patience::forMilliseconds(kLong);
  ASSERT_EQ(sink.open(Before::kNothing, patience), Progress::kDone);
  ASSERT_EQ(tryOnce(sink, patience), Progress::kBroken);
  sink.drop();
  EXPECT_EQ(tryFor(sink, 300), Progress::kTimedOut);
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(sink.open(Before::kNothing, {}), Progress::kStopped);
  EXPECT_EQ(printer_.connections(), 1);
}

TEST_F(TcpBusyPrinterTest, IsGivenUpInAClass) {
  times_.awayInClass = milliseconds(400);
  TcpSink sink("127.0.0.1", printer_.port(), true, watch_, told_.tell(), times_);
  test::StopWatch time;
  EXPECT_EQ(tryFor(sink, kLong), Progress::kBroken);
  EXPECT_LT(time.seconds(), kLong / 2000.0);
}

}  // namespace
}  // namespace kestra::delivery
