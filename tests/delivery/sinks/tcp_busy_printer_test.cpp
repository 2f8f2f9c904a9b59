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
  // Tries to print a page until the time is up or the printer is given up; like a sender, anew
  // after each break.
  Progress tryFor(TcpSink& sink, long time) {
    const Patience patience = Patience::forMilliseconds(time);
    const test::Bytes page = test::someBytes(3000);
    while (true) {
      Progress progress = sink.open(Before::kNothing, patience);
      if (progress != Progress::kDone) return progress;
      progress = sink.send(page.data(), page.size(), patience);
      if (progress == Progress::kDone) progress = sink.prove(patience);
      if (progress == Progress::kDone) progress = sink.finish(patience);
      if (progress != Progress::kBroken) return progress;
      sink.drop();
    }
  }

  BusyPrinter printer_;
  Watch watch_;
  test::Told told_;
};

TEST_F(TcpBusyPrinterTest, IsAskedEverMoreSeldom) {
  TcpSink sink("127.0.0.1", printer_.port(), false, watch_, told_.tell());
  EXPECT_EQ(tryFor(sink, 3000), Progress::kTimedOut);
  // At 0, 100, 300, 700 and 1,500 milliseconds; a slow machine comes to the last ones too late.
  EXPECT_GE(printer_.connections(), 3);
  EXPECT_LE(printer_.connections(), 5);
}

TEST_F(TcpBusyPrinterTest, IsNotAskedAnyMoreAfterAStop) {
  TcpTimes times;
  times.firstPause = std::chrono::seconds(60);
  TcpSink sink("127.0.0.1", printer_.port(), false, watch_, told_.tell(), times);
  EXPECT_EQ(tryFor(sink, 500), Progress::kTimedOut);
  watch_.stop(Stop::kCancel);
  EXPECT_EQ(sink.open(Before::kNothing, {}), Progress::kStopped);
  EXPECT_EQ(printer_.connections(), 1);
}

TEST_F(TcpBusyPrinterTest, IsGivenUpInAClass) {
  TcpTimes times;
  times.awayInClass = milliseconds(400);
  TcpSink sink("127.0.0.1", printer_.port(), true, watch_, told_.tell(), times);
  test::StopWatch time;
  EXPECT_EQ(tryFor(sink, 20000), Progress::kBroken);
  EXPECT_LT(time.seconds(), 5.0);
}

}  // namespace
}  // namespace kestra::delivery
