// Memory blocks as large as a printed page.
//
// The first touch of fresh memory costs a trap into the system for each memory page: at 4 KiB each
// that takes longer than all that is done with a page's pixels. 2 MiB at a time it costs next to
// nothing.
#pragma once

#include <cstddef>

namespace kestra {

/// A block of `size` bytes, all 0; from 2 MiB on in large memory pages where the system has them. A
/// block that nobody touches takes no memory.
/// @return null where there is no memory; never null for a size of 0
[[nodiscard]] void* allocatePageBlock(std::size_t size);

/// Gives a block back.
/// @param block  from `allocatePageBlock`, or null
/// @param size   what was asked for
void freePageBlock(void* block, std::size_t size);

}  // namespace kestra
