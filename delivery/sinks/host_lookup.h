// Finds the addresses of a printer's name without holding up the job: a name server that is away
// keeps the system's own look-up busy for half a minute.
#pragma once

#include <netdb.h>

#include <memory>
#include <string>

namespace kestra::delivery {

/// One look-up. It may be given up at any time; what is still under way then ends by itself.
class HostLookup {
 public:
  /// @param port  a number or the name of a service
  HostLookup(const std::string& host, const std::string& port);
  ~HostLookup();
  HostLookup(const HostLookup&) = delete;
  HostLookup& operator=(const HostLookup&) = delete;

  /// Becomes readable when there is a result; -1 where there already is one.
  [[nodiscard]] int descriptor() const;
  /// Takes the result: null if there is none, and `error` is one of getaddrinfo's. To be called
  /// once the descriptor is readable.
  [[nodiscard]] std::unique_ptr<addrinfo, void (*)(addrinfo*)> take(int& error);

 private:
  struct Shared;
  std::shared_ptr<Shared> shared_;
};

}  // namespace kestra::delivery
