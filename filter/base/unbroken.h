// Calls of the system that a signal may break off, done to their end.
//
// A signal must cost no byte of a page, and whoever writes each loop anew forgets it in one.
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <cstddef>

namespace kestra {

/// Makes a call that gives a negative number and `errno` on failure, again and again while signals
/// break it off.
template <typename Call>
[[nodiscard]] auto unbroken(const Call& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

/// Writes all bytes to a descriptor that waits for room. False with `errno` where it cannot.
[[nodiscard]] bool writeAll(int descriptor, const void* data, std::size_t size);

/// Reads as many bytes as there are wanted. False with `errno` where it cannot, or at an earlier
/// end.
[[nodiscard]] bool readAll(int descriptor, void* data, std::size_t size);

}  // namespace kestra
