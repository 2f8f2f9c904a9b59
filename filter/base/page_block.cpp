// Takes large blocks from the system, aligned to large memory pages, and small ones from the heap.
#include "filter/base/page_block.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
#define KESTRA_HEAP_ONLY
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KESTRA_HEAP_ONLY
#endif
#endif

namespace kestra {
namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;

// Not under the address sanitizer, which watches only the ends of blocks from the heap.
bool isLarge([[maybe_unused]] std::size_t size) {
#if defined(MADV_HUGEPAGE) && !defined(KESTRA_HEAP_ONLY)
  // Zeroing one large page costs less than the traps of half of it in small ones.
  constexpr std::size_t kWorthLargePages = kLargePage / 2;
  return size >= kWorthLargePages && size <= SIZE_MAX / 2;
#else
  return false;
#endif
}

std::size_t wholePages(std::size_t size) {
  return (size + kLargePage - 1) / kLargePage * kLargePage;
}

#if defined(MADV_HUGEPAGE) && !defined(KESTRA_HEAP_ONLY)

void unmap(std::uintptr_t begin, std::uintptr_t end) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the ends of a mapping are cut off by address
  if (begin < end) static_cast<void>(munmap(reinterpret_cast<void*>(begin), end - begin));
}

// Systems align mappings of their own accord or not; so a large page more is mapped, and what lies
// before and behind the aligned block is given back.
void* mapLarge(std::size_t size) {
  const std::size_t wanted = wholePages(size);
  const std::size_t mapped = wanted + kLargePage;
  void* mapping = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping == MAP_FAILED) return nullptr;
  const auto begin = reinterpret_cast<std::uintptr_t>(mapping);
  const std::uintptr_t aligned = wholePages(begin);
  unmap(begin, aligned);
  unmap(aligned + wanted, begin + mapped);

  void* block = static_cast<unsigned char*>(mapping) + (aligned - begin);
  const int former = errno;  // without large pages the block is as good, only slower
  static_cast<void>(madvise(block, wanted, MADV_HUGEPAGE));
  errno = former;
  return block;
}

#endif

}  // namespace

void* allocatePageBlock(std::size_t size) {
#if defined(MADV_HUGEPAGE) && !defined(KESTRA_HEAP_ONLY)
  if (isLarge(size)) return mapLarge(size);
#endif
  return std::calloc(size == 0 ? 1 : size, 1);
}

void freePageBlock(void* block, std::size_t size) {
  if (block != nullptr && isLarge(size)) {
    static_cast<void>(munmap(block, wholePages(size)));
  } else {
    std::free(block);
  }
}

}  // namespace kestra
