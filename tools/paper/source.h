// Where the bytes come from: a TCP port, a Unix socket, standard input or a file.
//
// A label printer listens; a file is the same stream without anybody at its other end.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "filter/base/result.h"

namespace kestra::paper {

enum class SourceKind { kTcp, kUnix, kFile };

struct Source {
  SourceKind kind = SourceKind::kFile;
  std::string host;        ///< numeric IPv4 or IPv6 address, or a name
  std::uint16_t port = 0;  ///< 0: any free one
  std::string path;        ///< "-" is standard input

  [[nodiscard]] bool isSocket() const { return kind != SourceKind::kFile; }
};

/// "tcp:9100", "tcp:HOST:PORT", "tcp:[::1]:PORT", "unix:PATH", "-" or a path.
/// @return one sentence where the text makes no sense
[[nodiscard]] Result<Source> parseSource(const std::string& text);

/// A printer's ear. Owns its sockets, and the name of a Unix socket.
class Listener {
 public:
  Listener(Source source, int buffer) : source_(std::move(source)), buffer_(buffer) {}
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  /// Takes the address and listens; after that `source().port` is the real one.
  [[nodiscard]] Result<void> open();
  /// Nobody can connect, who waits to be accepted is refused; the address stays taken.
  void refuse();
  /// After `refuse`: listens again. False for as long as the system does not give the address back.
  [[nodiscard]] bool listenAgain();

  [[nodiscard]] bool isListening() const { return listening_; }
  /// To wait on; -1 while nobody can connect.
  [[nodiscard]] int descriptor() const { return listening_ ? descriptor_ : -1; }
  /// The next connection, not blocking; -1 where nobody waits.
  [[nodiscard]] int accept() const;
  [[nodiscard]] const Source& source() const { return source_; }
  /// "127.0.0.1:9100", or the path.
  [[nodiscard]] std::string address() const;

 private:
  [[nodiscard]] Result<void> bind();
  [[nodiscard]] Result<void> bindTcp();
  [[nodiscard]] Result<void> bindUnix();
  [[nodiscard]] Problem cannotListen() const;  // by errno
  void close();

  Source source_;
  int buffer_;
  int descriptor_ = -1;
  bool listening_ = false;
  bool named_ = false;  // whether the Unix socket's name is ours to remove
};

}  // namespace kestra::paper
