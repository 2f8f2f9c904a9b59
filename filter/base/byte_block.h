// Page-sized blocks of memory whose lack drops a page instead of ending the job.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace kestra {

struct MallocDeleter {
  void operator()(void* block) const { std::free(block); }
};
using ByteBlock = std::unique_ptr<unsigned char, MallocDeleter>;

/// A block of `size` bytes, all 0: bytes that no processing step writes are the same in every job.
/// @return null where there is no such memory; never null for a size of 0
[[nodiscard]] inline ByteBlock allocateBytes(std::size_t size) {
  return ByteBlock(static_cast<unsigned char*>(std::calloc(size == 0 ? 1 : size, 1)));
}

}  // namespace kestra
