// Binds and listens with a receive buffer as small as a printer's.
//
// The buffer belongs on the listening socket, before it listens: only then does the window that is
// announced to a sender follow from it.
#include "tools/paper/source.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace kestra::paper {
namespace {

constexpr const char* kDefaultHost = "127.0.0.1";
constexpr int kBacklog = 16;
constexpr unsigned long kLargestPort = 65535;

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

bool parsePort(const std::string& text, std::uint16_t& port) {
  if (text.empty() || text.size() > 5) return false;
  if (text.find_first_not_of("0123456789") != std::string::npos) return false;
  const unsigned long value = std::stoul(text);
  port = static_cast<std::uint16_t>(value);
  return value <= kLargestPort;
}

// A Unix socket at `path` to which nobody listens any more.
bool isAbandoned(const std::string& path, const sockaddr_un& address) {
  struct stat found = {};
  if (lstat(path.c_str(), &found) != 0 || !S_ISSOCK(found.st_mode)) return false;
  const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool refused =
      connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
      errno == ECONNREFUSED;
  ::close(probe);
  return refused;
}

}  // namespace

Result<Source> parseSource(const std::string& text) {
  Source source;
  if (startsWith(text, "tcp:")) {
    source.kind = SourceKind::kTcp;
    const std::string rest = text.substr(4);
    const std::size_t colon = rest.rfind(':');
    source.host = colon == std::string::npos ? kDefaultHost : rest.substr(0, colon);
    if (source.host.size() > 2 && source.host.front() == '[' && source.host.back() == ']') {
      source.host = source.host.substr(1, source.host.size() - 2);
    }
    const std::string port = colon == std::string::npos ? rest : rest.substr(colon + 1);
    if (source.host.empty() || !parsePort(port, source.port)) {
      return Problem{"\"" + text +
                     "\" is no TCP address; it goes tcp:PORT or tcp:HOST:PORT, with a port "
                     "from 0 (any free one) to 65535"};
    }
    return source;
  }
  if (startsWith(text, "unix:")) {
    source.kind = SourceKind::kUnix;
    source.path = text.substr(5);
    constexpr std::size_t kRoom = sizeof(sockaddr_un::sun_path);
    if (source.path.empty() || source.path.size() >= kRoom) {
      return Problem{"\"" + text + "\" is no Unix socket; its path has 1 to " +
                     std::to_string(kRoom - 1) + " bytes"};
    }
    return source;
  }
  if (text.empty()) return Problem{"the source is empty; it is tcp:PORT, unix:PATH, - or a file"};
  source.path = text;
  return source;
}

Listener::~Listener() {
  close();
  if (named_) unlink(source_.path.c_str());
}

void Listener::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  listening_ = false;
}

Result<void> Listener::bind() { return source_.kind == SourceKind::kTcp ? bindTcp() : bindUnix(); }

Result<void> Listener::bindTcp() {
  addrinfo hints = {};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int failed =
      getaddrinfo(source_.host.c_str(), std::to_string(source_.port).c_str(), &hints, &found);
  if (failed != 0) {
    return Problem{source_.host + " is no address of this machine: " + gai_strerror(failed)};
  }
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, freeaddrinfo);
  descriptor_ = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const int on = 1;
  if (descriptor_ < 0 || setsockopt(descriptor_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUF, &buffer_, sizeof buffer_) != 0 ||
      ::bind(descriptor_, found->ai_addr, found->ai_addrlen) != 0) {
    return cannotListen();
  }
  sockaddr_storage taken = {};
  socklen_t size = sizeof taken;
  if (getsockname(descriptor_, reinterpret_cast<sockaddr*>(&taken), &size) == 0) {
    const in_port_t port = taken.ss_family == AF_INET6
                               ? reinterpret_cast<const sockaddr_in6*>(&taken)->sin6_port
                               : reinterpret_cast<const sockaddr_in*>(&taken)->sin_port;
    source_.port = ntohs(port);
  }
  return {};
}

Result<void> Listener::bindUnix() {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, source_.path.c_str(), source_.path.size());
  if (named_ || isAbandoned(source_.path, address)) unlink(source_.path.c_str());
  descriptor_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor_ < 0 ||
      setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUF, &buffer_, sizeof buffer_) != 0 ||
      ::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return cannotListen();
  }
  named_ = true;
  return {};
}

Result<void> Listener::open() {
  Result<void> done = bind();
  if (done && listen(descriptor_, kBacklog) != 0) done = cannotListen();
  listening_ = bool(done);
  if (!done) close();
  return done;
}

Problem Listener::cannotListen() const {
  return {"cannot listen on " + address() + ": " + std::strerror(errno)};
}

void Listener::refuse() {
  close();
  // Bound but not listening: connections are refused, and nobody else takes the address meanwhile.
  if (!bind()) close();
}

bool Listener::listenAgain() {
  if (descriptor_ >= 0 && listen(descriptor_, kBacklog) == 0) {
    listening_ = true;
    return true;
  }
  close();
  return bool(open());
}

int Listener::accept() const {
  return listening_ ? accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK) : -1;
}

std::string Listener::address() const {
  if (source_.kind != SourceKind::kTcp) return source_.path;
  const bool six = source_.host.find(':') != std::string::npos;
  return (six ? "[" + source_.host + "]" : source_.host) + ":" + std::to_string(source_.port);
}

}  // namespace kestra::paper
