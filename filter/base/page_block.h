// Memory blocks as large as a printed page.
//
// The first touch of fresh memory costs a trap into the system for each memory page: at 4 KiB each
// that takes longer than all that is done with a page's pixels. 2 MiB at a time it costs next to
// nothing.
#pragma once

#include <cstddef>
#include <memory>

namespace kestra {

/// A block of `size` bytes, all 0: bytes that no processing step writes are the same in every job.
/// From 1 MiB on it comes straight from the system, in large memory pages where it has them, and
/// takes no memory where nobody touches it.
/// @return null where there is no memory, so that a page is dropped instead of the job; never null
///         for a size of 0
[[nodiscard]] void* allocatePageBlock(std::size_t size);

/// Gives a block back.
/// @param block  from `allocatePageBlock`, or null
/// @param size   what was asked for
void freePageBlock(void* block, std::size_t size);

/// Gives a block back at the end of its owner.
struct PageBlockDeleter {
  std::size_t size = 0;
  void operator()(unsigned char* block) const { freePageBlock(block, size); }
};
using PageBlock = std::unique_ptr<unsigned char[], PageBlockDeleter>;

/// `allocatePageBlock` with an owner; null where there is no memory.
[[nodiscard]] inline PageBlock makePageBlock(std::size_t size) {
  return PageBlock(static_cast<unsigned char*>(allocatePageBlock(size)), PageBlockDeleter{size});
}

/// A block that nobody touches: a page for which there is no room for it is deliberately dropped,
/// although the work is done in other memory. Null where there is none.
[[nodiscard]] inline PageBlock reserveUntouched(std::size_t size) { return makePageBlock(size); }

}  // namespace kestra
