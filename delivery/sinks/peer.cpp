// The usual reasons in plain words, the others as the system says them.
#include "delivery/sinks/peer.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace kestra::delivery {

std::string nameOfPeer(const std::string& host, const std::string& port) {
  const bool isAddress6 = host.find(':') != std::string::npos;
  return (isAddress6 ? "[" + host + "]" : host) + ":" + port;
}

std::string reasonOf(int error) {
  switch (error) {
    case ECONNREFUSED:
      return "connection refused";
    case ETIMEDOUT:
      return "no answer";
    case EHOSTUNREACH:
      return "no route to this host";
    case ENETUNREACH:
      return "the network cannot be reached";
    case ECONNRESET:
      return "connection reset";
    default:
      return std::strerror(error);  // NOLINT(concurrency-mt-unsafe): one thread
  }
}

bool isOwnEnd(int connection) {
  sockaddr_storage here = {};
  sockaddr_storage there = {};
  socklen_t hereSize = sizeof here;
  socklen_t thereSize = sizeof there;
  // Both are read as the generic type that the calls ask for.
  return getsockname(connection, reinterpret_cast<sockaddr*>(&here), &hereSize) == 0 &&
         getpeername(connection, reinterpret_cast<sockaddr*>(&there), &thereSize) == 0 &&
         hereSize == thereSize && std::memcmp(&here, &there, hereSize) == 0;
}

}  // namespace kestra::delivery
