// Runs kestra-paper as its users do, and plays the sender.
//
// The log is read as others read it: line by line, strictly as JSON, while the program runs.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/paper/stream_bytes.h"
#include "tests/support/files.h"
#include "tests/tools/json_value.h"

namespace kestra::paper {

/// A temporary folder that vanishes with this object.
class Folder {
 public:
  [[nodiscard]] std::string path(const std::string& name) const {
    return folder_.path() + "/" + name;
  }
  void write(const std::string& name, const Bytes& bytes) const;
  [[nodiscard]] Bytes read(const std::string& name) const;  ///< empty where there is none
  [[nodiscard]] bool exists(const std::string& name) const;

 private:
  testing_support::TemporaryFolder folder_;
};

/// One run of the program, its current folder being the given one.
class Paper {
 public:
  /// Starts it; `input` becomes its standard input.
  Paper(const Folder& folder, std::vector<std::string> words, const Bytes& input = {});
  ~Paper();
  Paper(const Paper&) = delete;
  Paper& operator=(const Paper&) = delete;

  /// Waits for its end, at most half a minute; the exit status, -1 where there is none.
  int finish();
  void signal(int number) const;
  /// SIGTERM, then `finish`.
  int stop();

  [[nodiscard]] std::string output() const { return folder_.read("stdout"); }
  [[nodiscard]] std::string errors() const { return folder_.read("stderr"); }
  /// Lines of standard output (or of the file "log", where there is one) that are events of this
  /// name. Fails the test where a line is no JSON; while the program runs, one without its end is
  /// not yet one.
  [[nodiscard]] std::vector<JsonValue> events(const std::string& name) const;
  /// How connections closed, in order, a comma between them.
  [[nodiscard]] std::string closings() const;
  /// Waits until there are so many of them, at most half a minute; false where they do not come.
  [[nodiscard]] bool await(const std::string& name, std::size_t count) const;
  /// Waits until it listens; the port, 0 where it does not.
  [[nodiscard]] std::uint16_t port() const;

 private:
  const Folder& folder_;
  pid_t child_ = -1;
};

/// Waits until `condition` holds, at most half a minute.
bool awaitThat(const std::function<bool()>& condition);

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A run to its end on these bytes.
struct Result {
  int status = -1;
  std::string output;
  std::string errors;
  std::vector<JsonValue> labels;
  std::vector<JsonValue> faults;
  JsonValue verdict;
  JsonValue counters;
};
Result runOn(const Folder& folder, const Bytes& stream, std::vector<std::string> words = {});

/// The sender's end of a connection.
class Sender {
 public:
  explicit Sender(std::uint16_t port);
  explicit Sender(const std::string& path);
  /// To this machine's own address of the sixth version.
  static Sender toSixthVersion(std::uint16_t port);
  ~Sender();
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;

  [[nodiscard]] bool isConnected() const { return connected_; }
  /// Sends all bytes; false where the connection broke.
  bool send(const Bytes& bytes) const;
  /// Sends what the system takes at once; the number of bytes.
  std::size_t sendWhatFits(const Bytes& bytes) const;
  /// Ends its side in order.
  void endSending() const;
  /// The end of this object resets the connection.
  void resetAtOnce() const;
  /// Waits for the other side: "end" or "reset", behind bytes that came.
  std::string await(Bytes* reply = nullptr) const;
  /// Whether the other side has ended or reset the connection by now.
  [[nodiscard]] bool hasEnded() const;
  /// Bytes sent and not acknowledged.
  [[nodiscard]] int unacknowledged() const;

 private:
  Sender(int socket, const sockaddr* address, socklen_t size);

  int socket_ = -1;
  bool connected_ = false;
};

}  // namespace kestra::paper
