// The system's call under its own name: the program finds this one before the library's.
#include "tests/delivery/sinks/no_memory.h"

#include <sys/socket.h>

#include <cerrno>

namespace kestra::delivery::test {
namespace {

NoMemory* current = nullptr;  // the test's

}  // namespace

NoMemory::NoMemory(Clock::duration length) : time(length) { current = this; }
NoMemory::~NoMemory() { current = nullptr; }

extern "C" ssize_t send(int descriptor, const void* data, std::size_t size, int flags) {
  if (current != nullptr && current->refused == 0) current->first = Clock::now();
  if (current != nullptr && Clock::now() - current->first < current->time) {
    ++current->refused;
    errno = ENOBUFS;
    return -1;
  }
  return sendto(descriptor, data, size, flags, nullptr, 0);
}

}  // namespace kestra::delivery::test
