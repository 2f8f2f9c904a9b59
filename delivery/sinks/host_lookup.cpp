// The look-up runs in a thread that shares nothing with the job but its result.
#include "delivery/sinks/host_lookup.h"

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace kestra::delivery {

struct HostLookup::Shared {
  std::mutex mutex;
  addrinfo* found = nullptr;  // owned until taken
  int error = EAI_AGAIN;
  int ready = -1;  // owned

  Shared() = default;
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;
  ~Shared() {
    if (found != nullptr) freeaddrinfo(found);
    if (ready >= 0) close(ready);
  }

  void lookUp(const std::string& host, const std::string& port, int flags) {
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* result = nullptr;
    const int code = getaddrinfo(host.c_str(), port.c_str(), &hints, &result);
    const std::lock_guard<std::mutex> lock(mutex);
    error = code;
    found = code == 0 ? result : nullptr;
    if (ready >= 0) static_cast<void>(eventfd_write(ready, 1));
  }
};

HostLookup::HostLookup(const std::string& host, const std::string& port)
    : shared_(std::make_shared<Shared>()) {
  // An address needs nobody's answer.
  shared_->lookUp(host, port, AI_NUMERICHOST);
  if (shared_->error != EAI_NONAME) return;
  shared_->ready = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (shared_->ready < 0) return;
  try {
    std::thread([shared = shared_, host, port] { shared->lookUp(host, port, 0); }).detach();
  } catch (const std::system_error&) {
    // No thread can be had now; the printer counts as away, and the next round tries again.
    close(std::exchange(shared_->ready, -1));
    shared_->error = EAI_AGAIN;
  }
}

HostLookup::~HostLookup() = default;

int HostLookup::descriptor() const { return shared_->ready; }

std::unique_ptr<addrinfo, void (*)(addrinfo*)> HostLookup::take(int& error) {
  const std::lock_guard<std::mutex> lock(shared_->mutex);
  error = shared_->error;
  return {std::exchange(shared_->found, nullptr), freeaddrinfo};
}

}  // namespace kestra::delivery
