// Gives each page zeroed memory: pixels that a stream does not deliver print nothing.
#include "filter/page_buffer.h"

#include <cstdlib>
#include <cstring>

namespace kestra {

PageBuffer::~PageBuffer() { std::free(bytes_); }

bool PageBuffer::reset(std::size_t size) {
  void* grown = std::realloc(bytes_, size);
  if (grown == nullptr) return false;
  bytes_ = static_cast<unsigned char*>(grown);
  std::memset(bytes_, 0, size);
  return true;
}

}  // namespace kestra
