// A printer's network side, as small as a test needs it: it listens, and does what a test's own
// thread says.
#pragma once

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "delivery/core/sink.h"

namespace kestra::delivery::test {

using Bytes = std::vector<std::uint8_t>;

/// Bytes of which no two places look alike for long.
inline Bytes someBytes(std::size_t size, std::uint32_t seed = 1) {
  Bytes bytes(size);
  for (std::uint8_t& byte : bytes) {
    seed = seed * 1664525U + 1013904223U;
    byte = static_cast<std::uint8_t>(seed >> 24U);
  }
  return bytes;
}

/// Listens at a free port of this machine.
class SmallPrinter {
 public:
  /// @param receiveBuffer  0: the system's own
  explicit SmallPrinter(int receiveBuffer = 0, int port = 0) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (receiveBuffer > 0) {
      setsockopt(listener_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    }
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    socklen_t size = sizeof address;
    keeper_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    setsockopt(keeper_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    isGood_ = bind(listener_, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
              getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
              bind(keeper_, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
              listen(listener_, 4) == 0;
    port_ = ntohs(address.sin_port);
  }
  ~SmallPrinter() {
    hangUp();
    stopListening();
    close(keeper_);
  }
  SmallPrinter(const SmallPrinter&) = delete;
  SmallPrinter& operator=(const SmallPrinter&) = delete;

  [[nodiscard]] bool isGood() const { return isGood_; }
  [[nodiscard]] int port() const { return port_; }
  [[nodiscard]] std::string portText() const { return std::to_string(port_); }

  void accept() { connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC); }

  /// Reads until there are `count` more bytes or the end.
  Bytes read(std::size_t count) {
    Bytes bytes(count);
    std::size_t have = 0;
    while (have < count) {
      const ssize_t size = recv(connection_, bytes.data() + have, count - have, 0);
      lastError_ = size < 0 ? errno : 0;
      if (size <= 0) break;
      have += static_cast<std::size_t>(size);
    }
    bytes.resize(have);
    return bytes;
  }
  /// 0 after an orderly end, the error of the last read else.
  [[nodiscard]] int lastError() const { return lastError_; }

  /// Waits until so many bytes are there, unread.
  void awaitUnread(std::size_t count) {
    Bytes bytes(count);
    while (recv(connection_, bytes.data(), count, MSG_PEEK) < static_cast<ssize_t>(count)) {
      std::array<pollfd, 1> none = {pollfd{-1, 0, 0}};
      poll(none.data(), 1, 1);
    }
  }
  void say(const std::string& text) { send(connection_, text.data(), text.size(), MSG_NOSIGNAL); }
  /// The system resets the connection where bytes are unread.
  void hangUp() {
    if (connection_ >= 0) close(connection_);
    connection_ = -1;
  }
  /// Connections are refused from here on: the port stays this object's, so that nobody else of the
  /// machine gets it meanwhile.
  void stopListening() {
    if (listener_ >= 0) close(listener_);
    listener_ = -1;
  }

 private:
  int listener_ = -1;
  int keeper_ = -1;  // has the port, and never listens
  int connection_ = -1;
  int port_ = 0;
  int lastError_ = 0;
  bool isGood_ = false;
};

/// What a sink told.
struct Told {
  std::vector<std::string> lines;

  Tell tell() {
    return [this](const std::string& line) { lines.push_back(line); };
  }
  [[nodiscard]] int count(const std::string& start) const {
    int found = 0;
    for (const std::string& line : lines) found += line.compare(0, start.size(), start) == 0;
    return found;
  }
};

/// How long something took.
class StopWatch {
 public:
  [[nodiscard]] double seconds() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
  }

 private:
  Clock::time_point start_ = Clock::now();
};

}  // namespace kestra::delivery::test
